#pragma once
// Apple's extensions of Shift JIS (Mac Japanese): the codes in the gaiji rows
// and the single bytes 0x80, 0xA0, 0xFD, 0xFE and 0xFF, each with the CP932
// bytes it becomes on Windows.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace ferrox {

struct MacCode {
  std::uint16_t code = 0;  // one byte (below 0x100) or lead * 256 + trail
  std::uint8_t kind = 0;   // 0 = CP932 has the same character, 1 = fallback, 2 = neither
  std::string_view cp932;  // empty with kind 2
};

// Every code of the mapping, sorted by code.
[[nodiscard]] std::span<const MacCode> MacCodes() noexcept;

// The Mac code that starts at p (which may look one byte ahead), or null.
[[nodiscard]] const MacCode* MacCodeAt(const std::uint8_t* p) noexcept;

// Whether the bytes, read as Shift JIS, hold a Mac code that is not a plain
// Shift JIS character (the survey's question; 0xA0 alone does not count).
[[nodiscard]] bool HoldsMacCodes(const std::uint8_t* p, std::size_t n) noexcept;

// The longest CP932 text of the mapping.
inline constexpr std::size_t kMacLongest = 12;

}  // namespace ferrox
