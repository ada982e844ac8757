#pragma once
// Lead and trail byte ranges of Shift JIS, EUC-JP and JIS, shared by the
// classifiers and the transcoders so that both agree on what a gaiji is.
// Gaiji are the JIS X 0208 rows 9-15 and 85-94 (and the Shift JIS codes
// beyond them).

#include <array>
#include <cstdint>

namespace ferrox::code_ranges {

enum class Lead : std::uint8_t { kNone, kStandard, kGaiji };

namespace detail {

// kSplit marks 0x88, whose row is half standard, half gaiji.
inline constexpr std::uint8_t kSplit = 3;

constexpr std::array<std::uint8_t, 256> MakeSjisLeads() {
  std::array<std::uint8_t, 256> t{};
  for (int b = 0x81; b <= 0x9F; ++b) t[static_cast<std::size_t>(b)] = 1;
  for (int b = 0xE0; b <= 0xEA; ++b) t[static_cast<std::size_t>(b)] = 1;
  for (int b = 0x85; b <= 0x87; ++b) t[static_cast<std::size_t>(b)] = 2;
  for (int b = 0xEB; b <= 0xFC; ++b) t[static_cast<std::size_t>(b)] = 2;
  t[0x88] = kSplit;
  return t;
}

constexpr std::array<std::uint8_t, 256> MakeEucLeads() {
  std::array<std::uint8_t, 256> t{};
  for (int b = 0xA1; b <= 0xFE; ++b) t[static_cast<std::size_t>(b)] = 1;
  for (int b = 0xA9; b <= 0xAF; ++b) t[static_cast<std::size_t>(b)] = 2;
  for (int b = 0xF5; b <= 0xFE; ++b) t[static_cast<std::size_t>(b)] = 2;
  return t;
}

inline constexpr auto kSjisLeads = MakeSjisLeads();
inline constexpr auto kEucLeads = MakeEucLeads();

}  // namespace detail

// Any Shift JIS lead byte, standard or gaiji.
[[nodiscard]] constexpr bool IsSjisLead(std::uint8_t b) noexcept {
  return (b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xFC);
}

[[nodiscard]] constexpr bool IsSjisTrail(std::uint8_t b) noexcept {
  return b >= 0x40 && b <= 0xFC && b != 0x7F;
}

[[nodiscard]] constexpr bool IsEucByte(std::uint8_t b) noexcept { return b >= 0xA1 && b <= 0xFE; }

// Shift JIS lead `b0` with a valid trail `b1`. The split after 0x88 0x9E is one
// short of the JIS row boundary on purpose: 0x88 0x9E counts as standard.
[[nodiscard]] constexpr Lead SjisLead(std::uint8_t b0, std::uint8_t b1) noexcept {
  const std::uint8_t k = detail::kSjisLeads[b0];
  if (k == detail::kSplit) return b1 >= 0x9E ? Lead::kStandard : Lead::kGaiji;
  return static_cast<Lead>(k);
}

[[nodiscard]] constexpr Lead EucLead(std::uint8_t b0) noexcept {
  return static_cast<Lead>(detail::kEucLeads[b0]);
}

// First byte of a 7-bit JIS pair; the second byte must be in 0x21..0x7E.
[[nodiscard]] constexpr Lead JisLead(std::uint8_t j1) noexcept {
  return j1 >= 0x80 ? Lead::kNone : EucLead(static_cast<std::uint8_t>(j1 | 0x80));
}

}  // namespace ferrox::code_ranges
