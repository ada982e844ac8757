#include "text/cp932.h"

#include <iconv.h>

#include <cerrno>
#include <cstdint>

#include "text/code_ranges.h"
#include "text/nfc.h"

namespace ferrox::cp932 {
namespace {

// One iconv descriptor per direction and thread, opened on first use: opening
// costs far more than converting a short text.
class Converter {
 public:
  Converter(const char* to, const char* from) noexcept : cd_(iconv_open(to, from)) {}
  ~Converter() {
    if (Ok()) iconv_close(cd_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  [[nodiscard]] bool Ok() const noexcept { return cd_ != reinterpret_cast<iconv_t>(-1); }

  // Converts as much of [in, in + left) as it can into `out`. Returns 0 when
  // all was converted, else the errno that stopped it (EILSEQ or EINVAL); `in`
  // and `left` then point at the offending bytes.
  int Run(const char*& in, std::size_t& left, std::string& out) {
    iconv(cd_, nullptr, nullptr, nullptr, nullptr);
    char buffer[1024];
    while (left > 0) {
      char* dst = buffer;
      std::size_t room = sizeof buffer;
      char* src = const_cast<char*>(in);
      const std::size_t rc = iconv(cd_, &src, &left, &dst, &room);
      const int err = rc == static_cast<std::size_t>(-1) ? errno : 0;
      in = src;
      out.append(buffer, static_cast<std::size_t>(dst - buffer));
      if (err == E2BIG) continue;
      if (err != 0) return err;
    }
    return 0;
  }

 private:
  iconv_t cd_;
};

Converter& Decoder() {
  thread_local Converter c("UTF-8", "CP932");
  return c;
}

Converter& Encoder() {
  thread_local Converter c("CP932", "UTF-8");
  return c;
}

// Length of the UTF-8 sequence that starts with `lead`; 1 for a stray byte.
std::size_t Utf8Length(unsigned char lead) noexcept {
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  return 1;
}

// Without iconv only ASCII can be shown faithfully; every other byte is a '?'.
std::string AsciiOnly(std::string_view text) {
  std::string out(text);
  for (char& ch : out) {
    if (static_cast<unsigned char>(ch) >= 0x80) ch = '?';
  }
  return out;
}

}  // namespace

bool Available() {
  if (!Decoder().Ok() || !Encoder().Ok()) return false;
  // "日本" both ways, with a CP932-only character (①, 0x87 0x40).
  const std::string sjis = "\x93\xfa\x96\x7b\x87\x40";
  const std::string utf8 = "\xe6\x97\xa5\xe6\x9c\xac\xe2\x91\xa0";
  const auto back = FromUtf8(utf8);
  return ToUtf8(sjis) == utf8 && back && *back == sjis;
}

std::string ToUtf8(std::string_view cp932) {
  Converter& c = Decoder();
  if (!c.Ok()) return AsciiOnly(cp932);
  std::string out;
  out.reserve(cp932.size() * 3 / 2);
  const char* in = cp932.data();
  std::size_t left = cp932.size();
  while (c.Run(in, left, out) != 0) {
    out += "\xef\xbf\xbd";
    // A refused lead takes its trail with it when the trail is plausible, so
    // one bad character gives one U+FFFD.
    std::size_t skip = 1;
    if (left >= 2 && code_ranges::IsSjisLead(static_cast<std::uint8_t>(in[0])) &&
        code_ranges::IsSjisTrail(static_cast<std::uint8_t>(in[1]))) {
      skip = 2;
    }
    in += skip;
    left -= skip;
  }
  return out;
}

std::optional<std::string> FromUtf8(std::string_view utf8) {
  Converter& c = Encoder();
  if (!c.Ok()) return std::nullopt;
  std::string out;
  out.reserve(utf8.size());
  const char* in = utf8.data();
  std::size_t left = utf8.size();
  if (c.Run(in, left, out) != 0) return std::nullopt;
  return out;
}

std::string FromUtf8Lossy(std::string_view utf8) {
  Converter& c = Encoder();
  if (!c.Ok()) return AsciiOnly(utf8);
  std::string out;
  out.reserve(utf8.size());
  const char* in = utf8.data();
  std::size_t left = utf8.size();
  while (c.Run(in, left, out) != 0) {
    out += '?';
    // Skip the lead and only the continuation bytes that really follow it.
    const std::size_t want = Utf8Length(static_cast<unsigned char>(in[0]));
    std::size_t skip = 1;
    while (skip < want && skip < left && (static_cast<unsigned char>(in[skip]) & 0xC0) == 0x80) ++skip;
    in += skip;
    left -= skip;
  }
  return out;
}

std::size_t SjisWidth(std::string_view utf8) { return FromUtf8Lossy(utf8).size(); }

namespace {

UnicodeTable BuildTable() {
  UnicodeTable table{};
  for (std::uint16_t b = 1; b < 0x80; ++b) table[b] = b;
  const iconv_t cd = iconv_open("CP932", "UTF-32LE");
  if (cd == reinterpret_cast<iconv_t>(-1)) return table;
  for (char32_t cp = 0x80; cp < 0x10000; ++cp) {
    if (cp >= 0xD800 && cp <= 0xDFFF) continue;
    char in[4] = {static_cast<char>(cp & 0xFF), static_cast<char>(cp >> 8), 0, 0};
    char out[8];
    char* src = in;
    char* dst = out;
    std::size_t left = sizeof in;
    std::size_t room = sizeof out;
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    if (iconv(cd, &src, &left, &dst, &room) == static_cast<std::size_t>(-1)) continue;
    const auto n = dst - out;
    const auto b0 = static_cast<std::uint8_t>(out[0]);
    if (n == 1) table[cp] = b0;
    if (n == 2) table[cp] = static_cast<std::uint16_t>(b0 << 8 | static_cast<std::uint8_t>(out[1]));
  }
  iconv_close(cd);
  for (char32_t cp = 0x80; cp < 0x10000; ++cp) {
    const char32_t to = nfc::SingletonOf(cp);
    if (table[cp] != 0 && to != 0 && to < 0x10000 && table[to] == 0) table[to] = table[cp];
  }
  return table;
}

}  // namespace

const UnicodeTable& FromUnicodeTable() {
  static const UnicodeTable table = BuildTable();
  return table;
}

}  // namespace ferrox::cp932
