// Keeps the helper library non-empty before any helper exists.
