#pragma once
// One UTF-8 sequence, read as the Unicode standard defines well-formed UTF-8:
// no overlong forms, no surrogates, nothing above U+10FFFF. Shared by the
// survey and the converter so that both accept exactly the same bytes.

#include <cstddef>
#include <cstdint>

namespace ferrox::utf8 {

enum class Read : std::uint8_t {
  kChar,   // a whole character of `length` bytes
  kBad,    // not UTF-8: the first `length` bytes (at least 1) form the faulty part
  kShort,  // well formed so far, but cut after `length` bytes
};

struct Sequence {
  Read read = Read::kBad;
  std::uint8_t length = 1;
  char32_t cp = 0;
};

// The bytes a lead byte announces; 0 for a byte that cannot start a sequence.
[[nodiscard]] constexpr int LengthOf(std::uint8_t lead) noexcept {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

// Reads the sequence at p, of which `available` bytes (at least 1) may be read.
[[nodiscard]] constexpr Sequence ReadSequence(const std::uint8_t* p, std::size_t available) noexcept {
  const std::uint8_t lead = p[0];
  const int n = LengthOf(lead);
  if (n == 1) return {Read::kChar, 1, lead};
  if (n == 0) return {Read::kBad, 1, 0};
  // The second byte's range narrows after E0, ED, F0 and F4.
  std::uint8_t lo = 0x80;
  std::uint8_t hi = 0xBF;
  if (lead == 0xE0) lo = 0xA0;
  if (lead == 0xED) hi = 0x9F;
  if (lead == 0xF0) lo = 0x90;
  if (lead == 0xF4) hi = 0x8F;
  char32_t cp = lead & (n == 2 ? 0x1F : n == 3 ? 0x0F : 0x07);
  for (int k = 1; k < n; ++k) {
    if (static_cast<std::size_t>(k) >= available) {
      return {Read::kShort, static_cast<std::uint8_t>(k), 0};
    }
    const std::uint8_t b = p[k];
    if (b < lo || b > hi) return {Read::kBad, static_cast<std::uint8_t>(k), 0};
    cp = cp << 6 | (b & 0x3F);
    lo = 0x80;
    hi = 0xBF;
  }
  return {Read::kChar, static_cast<std::uint8_t>(n), cp};
}

}  // namespace ferrox::utf8
