// CP932 text through iconv: decoding, encoding and widths in Shift JIS bytes.

#include "text/cp932.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace ferrox {
namespace {

TEST(Cp932, DecodesToUtf8) {
  ASSERT_TRUE(cp932::Available());
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"\x93\xfa\x96\x7b\x8c\xea", "日本語"},
      {"\xb1\xb2", "ｱｲ"},                   // half-width katakana
      {"\x87\x40\xed\x40", "①纊"},          // NEC and NEC-selected IBM rows
      {"\x81\x60", "～"},                    // the CP932 wave dash is U+FF5E
      {"a\x85\x40z", "a\xef\xbf\xbdz"},      // an undefined pair is one U+FFFD
      {"a\xff" "b", "a\xef\xbf\xbd" "b"},    // a stray byte
      {"ab\x82", "ab\xef\xbf\xbd"},          // a cut-off lead at the end
  };
  for (const auto& [cp932, utf8] : cases) EXPECT_EQ(cp932::ToUtf8(cp932), utf8) << utf8;
}

TEST(Cp932, EncodesFromUtf8AndCountsShiftJisBytes) {
  EXPECT_EQ(cp932::FromUtf8("日本語\r\n"), std::optional<std::string>("\x93\xfa\x96\x7b\x8c\xea\r\n"));
  EXPECT_EQ(cp932::FromUtf8("①"), std::optional<std::string>("\x87\x40"));
  EXPECT_EQ(cp932::FromUtf8(""), std::optional<std::string>(""));
  EXPECT_EQ(cp932::FromUtf8("a😀b"), std::nullopt);   // no CP932 form
  EXPECT_EQ(cp932::FromUtf8("a\xc3"), std::nullopt);   // broken UTF-8
  EXPECT_EQ(cp932::FromUtf8Lossy("a😀b€c"), "a?b?c");
  EXPECT_EQ(cp932::FromUtf8Lossy("x\xe3\x41y"), "x?Ay");  // a cut sequence does not eat 'A'
  EXPECT_EQ(cp932::SjisWidth(""), 0u);
  EXPECT_EQ(cp932::SjisWidth("abc日本ｱｲｳ"), 10u);  // half-width kana are one byte
  EXPECT_EQ(cp932::SjisWidth("A😀"), 2u);         // no CP932 form: written as "?"
}

}  // namespace
}  // namespace ferrox
