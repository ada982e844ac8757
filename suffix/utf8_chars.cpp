#include "suffix/utf8_chars.h"

namespace ferrox::utf8 {

namespace {

// Length of the sequence starting at text[i] and its code point, or 0 when the
// bytes there are not a well-formed sequence.
std::size_t Sequence(std::string_view text, std::size_t i, char32_t& c) {
  const auto b0 = static_cast<unsigned char>(text[i]);
  std::size_t len = 0;
  char32_t min = 0;
  if (b0 < 0x80) {
    c = b0;
    return 1;
  }
  if ((b0 & 0xE0) == 0xC0) {
    len = 2, c = b0 & 0x1F, min = 0x80;
  } else if ((b0 & 0xF0) == 0xE0) {
    len = 3, c = b0 & 0x0F, min = 0x800;
  } else if ((b0 & 0xF8) == 0xF0) {
    len = 4, c = b0 & 0x07, min = 0x10000;
  } else {
    return 0;
  }
  if (i + len > text.size()) return 0;
  for (std::size_t k = 1; k < len; ++k) {
    const auto b = static_cast<unsigned char>(text[i + k]);
    if ((b & 0xC0) != 0x80) return 0;
    c = (c << 6) | (b & 0x3F);
  }
  if (c < min || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return 0;
  return len;
}

}  // namespace

std::u32string Decode(std::string_view text) {
  std::u32string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    char32_t c = 0;
    const std::size_t len = Sequence(text, i, c);
    if (len == 0) {
      out.push_back(U'\uFFFD');
      ++i;
    } else {
      out.push_back(c);
      i += len;
    }
  }
  return out;
}

void Append(std::string& out, char32_t c) {
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (c >> 12)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (c >> 18)));
    out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

std::string Encode(std::u32string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char32_t c : text) Append(out, c);
  return out;
}

}  // namespace ferrox::utf8
