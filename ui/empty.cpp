// Keeps the window library non-empty before any window exists.
