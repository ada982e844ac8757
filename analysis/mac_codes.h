#pragma once
// Whether a file's text holds Apple's extension codes of Shift JIS, so the
// survey can say so before a conversion maps them.

#include <cstdint>
#include <string>

namespace ferrox {

// Reads `limit` bytes (0 = to the end) of the file from `start` as Shift JIS.
// False when the file cannot be read.
[[nodiscard]] bool FileHoldsMacCodes(const std::string& path, std::int64_t start,
                                     std::int64_t limit);

// The survey flag word reads as Shift JIS text (not EUC, JIS or UTF-8).
[[nodiscard]] bool ReadsAsShiftJis(std::uint16_t flags) noexcept;

}  // namespace ferrox
