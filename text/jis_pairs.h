#pragma once
// One JIS X 0208 or EUC-JP pair to its Shift JIS pair: the arithmetic shared
// by the run copiers and the gaiji table's code columns.

#include <cstdint>

namespace ferrox {

// Odd rows take the trail bytes 0x40..0x9E (skipping 0x7F), even rows
// 0x9F..0xFC; two rows share one lead byte.
constexpr std::uint8_t SjisFirst(int j1) noexcept {
  int t1 = (j1 - 33) / 2 + 129;
  if (t1 > 159) t1 += 64;
  return static_cast<std::uint8_t>(t1);
}

constexpr std::uint8_t SjisSecond(int j1, int j2) noexcept {
  int t2 = (j1 & 1) ? j2 + 31 : j2 + 125;
  if (t2 >= 127) ++t2;
  return static_cast<std::uint8_t>(t2);
}

// One JIS pair to one Shift JIS pair; returns 2.
constexpr int JisToSjis(std::uint8_t& s1, std::uint8_t& s2, std::uint8_t j1, std::uint8_t j2) noexcept {
  s1 = SjisFirst(j1);
  s2 = SjisSecond(j1, j2);
  return 2;
}

// One EUC pair (or SS2 kana) to Shift JIS; returns the bytes written, 1 or 2.
constexpr int EucToSjis(std::uint8_t& s1, std::uint8_t& s2, std::uint8_t e1, std::uint8_t e2) noexcept {
  if (e1 == 0x8E) {
    s1 = e2;
    return 1;
  }
  return JisToSjis(s1, s2, static_cast<std::uint8_t>(e1 & 0x7F), static_cast<std::uint8_t>(e2 & 0x7F));
}

}  // namespace ferrox
