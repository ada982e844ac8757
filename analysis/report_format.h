#pragma once
// Number and date texts of the survey report.

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/file_times.h"

namespace ferrox {

// "yyyy/mm/dd(曜) hh:mm:ss" with the weekday one of "日月火水木金土".
[[nodiscard]] std::string FormatDateTime(const DateTime& t);

// Thousands grouped with commas, at least one digit: 0, 1,234, -5,000.
[[nodiscard]] std::string FormatThousands(std::int64_t n);

// One decimal, at least one whole digit: 0.5, 50.0, 100.0.
[[nodiscard]] std::string FormatOneDecimal(double x);

// Number of characters (code points) of a UTF-8 text.
[[nodiscard]] std::size_t CountChars(std::string_view utf8) noexcept;

}  // namespace ferrox
