#pragma once
// ASCII-only text helpers: trimming and case folding. Names, keys and
// extensions are compared by ASCII letter case only; other bytes (Shift JIS
// trail bytes included) never change.

#include <algorithm>
#include <string>
#include <string_view>

namespace ferrox::ascii {

inline constexpr std::string_view kSpace = " ";
inline constexpr std::string_view kBlanks = " \t";

[[nodiscard]] constexpr std::string_view TrimLeft(std::string_view s, std::string_view chars = kSpace) noexcept {
  const std::size_t first = s.find_first_not_of(chars);
  return first == std::string_view::npos ? std::string_view{} : s.substr(first);
}

[[nodiscard]] constexpr std::string_view TrimRight(std::string_view s, std::string_view chars = kSpace) noexcept {
  const std::size_t last = s.find_last_not_of(chars);
  return last == std::string_view::npos ? std::string_view{} : s.substr(0, last + 1);
}

[[nodiscard]] constexpr std::string_view Trim(std::string_view s, std::string_view chars = kSpace) noexcept {
  return TrimRight(TrimLeft(s, chars), chars);
}

[[nodiscard]] constexpr char Lower(char c) noexcept {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

[[nodiscard]] inline std::string Lower(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = Lower(c);
  return out;
}

[[nodiscard]] constexpr bool EqualNoCase(std::string_view a, std::string_view b) noexcept {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return Lower(x) == Lower(y); });
}

[[nodiscard]] constexpr bool StartsWithNoCase(std::string_view s, std::string_view prefix) noexcept {
  return s.size() >= prefix.size() && EqualNoCase(s.substr(0, prefix.size()), prefix);
}

}  // namespace ferrox::ascii
