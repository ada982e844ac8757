#pragma once
// Walking UTF-8 text one character at a time, for the rules that count and
// compare characters rather than bytes.

#include <string>
#include <string_view>

namespace ferrox::utf8 {

// Code points of `text`; a byte that does not start a valid sequence becomes
// U+FFFD on its own, so every byte is accounted for.
[[nodiscard]] std::u32string Decode(std::string_view text);

void Append(std::string& out, char32_t c);

[[nodiscard]] std::string Encode(std::u32string_view text);

}  // namespace ferrox::utf8
