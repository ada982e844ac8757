// Number and date texts of the survey report.

#include "analysis/report_format.h"

// std
#include <cstdio>

namespace ferrox {

std::string FormatDateTime(const DateTime& t) {
  // One UTF-8 character per weekday, Sunday first.
  static constexpr const char* kWeekdays[7] = {"日", "月", "火", "水", "木", "金", "土"};
  const int w = t.Weekday >= 0 && t.Weekday < 7 ? t.Weekday : 0;
  char head[32];
  char tail[32];
  std::snprintf(head, sizeof head, "%04d/%02d/%02d(", t.Year, t.Month, t.Day);
  std::snprintf(tail, sizeof tail, ") %02d:%02d:%02d", t.Hour, t.Minute, t.Second);
  return std::string(head) + kWeekdays[w] + tail;
}

std::string FormatThousands(std::int64_t n) {
  const bool negative = n < 0;
  // Work on the magnitude as unsigned so the most negative value is safe.
  std::uint64_t m = negative ? 0 - static_cast<std::uint64_t>(n) : static_cast<std::uint64_t>(n);
  std::string digits;
  int group = 0;
  do {
    if (group == 3) {
      digits.push_back(',');
      group = 0;
    }
    digits.push_back(static_cast<char>('0' + m % 10));
    m /= 10;
    ++group;
  } while (m != 0);
  if (negative) {
    digits.push_back('-');
  }
  return {digits.rbegin(), digits.rend()};
}

std::string FormatOneDecimal(double x) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.1f", x);
  return buf;
}

std::size_t CountChars(std::string_view utf8) noexcept {
  std::size_t n = 0;
  for (const char c : utf8) {
    // Continuation bytes 10xxxxxx belong to the character before them.
    if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) {
      ++n;
    }
  }
  return n;
}

}  // namespace ferrox
