#pragma once
// Canonical composition (NFC) of short stretches of text. Text is cut into
// segments that start where a character cannot change with what precedes it;
// only a segment that holds such a character needs the slow work here.

#include <cstddef>
#include <cstdint>

namespace ferrox::nfc {

// True when NFC may change `cp` or join it to the character before it: a
// combining mark, a character that is not NFC itself, or the second half of a
// pair that composes.
[[nodiscard]] bool NeedsAttention(char32_t cp) noexcept;

// The same answer for the BMP as a bitmap, one bit per code point (bit
// cp % 64 of word cp / 64), for loops that ask for every character.
[[nodiscard]] const std::uint64_t* AttentionBits() noexcept;

// Composes text[0..count) to NFC in place and returns the new count. `text`
// must have room for `capacity` code points: decomposition may grow a
// segment before it is composed again; what does not fit is left as it was.
[[nodiscard]] std::size_t Compose(char32_t* text, std::size_t count, std::size_t capacity) noexcept;

// The character that `first` followed by `second` composes into, else 0.
[[nodiscard]] char32_t Composite(char32_t first, char32_t second) noexcept;

// The canonical decomposition of `cp` when it is one other code point (the
// Angstrom sign is the letter Å), else 0.
[[nodiscard]] char32_t SingletonOf(char32_t cp) noexcept;

}  // namespace ferrox::nfc
