// The suffix editor's rules: validation, pattern length and list layout.

#include <gtest/gtest.h>

#include "convert/cp932.h"
#include "suffix/suffix_edit_rules.h"

namespace ferrox {
namespace {

TEST(SuffixEditRules, CharacterTests) {
  EXPECT_TRUE(IsAlpha(" ~AZaz09?*\\"));
  EXPECT_TRUE(IsAlpha(""));
  EXPECT_FALSE(IsAlpha("é"));
  EXPECT_FALSE(IsAlpha("ＡＢ"));
  EXPECT_FALSE(IsAlpha("A\tB"));
  EXPECT_FALSE(IsAlpha("\x7f"));
  EXPECT_TRUE(IsSuffixName("txt"));
  EXPECT_TRUE(IsSuffixName("テキスト"));
  for (const char* bad : {"a\\", "a/", "a:", "a*", "a?", "a<", "a>", "a|", "a\"", ".a"}) {
    EXPECT_FALSE(IsSuffixName(bad)) << bad;
  }
}

TEST(SuffixEditRules, PatternLength) {
  EXPECT_EQ(SuffixPatternLength("XLS*"), 3u);
  EXPECT_EQ(SuffixPatternLength("W?BN"), 4u);
  EXPECT_EQ(SuffixPatternLength("A\\*BC"), 4u);
  EXPECT_EQ(SuffixPatternLength("ABCDE"), 5u);
  EXPECT_EQ(SuffixPatternLength("A\\\\"), 2u);
  EXPECT_EQ(SuffixPatternLength("AB\\"), 2u);
  EXPECT_EQ(SuffixPatternLength("***"), 0u);
}

TEST(SuffixEditRules, LeftFormatIsExactlyWidthShiftJisBytes) {
  struct Case {
    const char* text;
    std::size_t width;
    const char* expected;
  } cases[] = {
      {"txt", 8, "txt     "},       {"", 8, "        "},          {"12345678", 8, "12345678"},
      {"123456789", 8, "1234567~"}, {"あいうえ", 8, "あいうえ"},  {"あいうえお", 8, "あいう～"},
      {"aあいうえ", 8, "aあいう~"}, {"ｱｲｳｴｵｶｷｸｹ", 8, "ｱｲｳｴｵｶｷ~"}, {"abc", 1, "abc"[0] ? "~" : ""},
  };
  for (const Case& c : cases) {
    const std::string out = LeftFormat(c.text, c.width);
    EXPECT_EQ(out, c.expected) << c.text;
    EXPECT_EQ(cp932::SjisWidth(out), c.width) << c.text;
  }
}

TEST(SuffixEditRules, ListLine) {
  EXPECT_EQ(SuffixListLine({"doc", "W?BN", "MSWD", "Microsoft Word Docment"}),
            " doc      W?BN     MSWD     Microsoft Word Docment");
  EXPECT_EQ(SuffixListLine({"", "TEXT", "", ""}), "          TEXT              ");
}

TEST(SuffixEditRules, Validation) {
  using Kind = SuffixEditResult::Kind;
  struct Case {
    const char* ext;
    const char* type;
    const char* creator;
    const char* message;  // nullptr: accepted
  } cases[] = {
      {"BAK", "TEXT", "", "拡張子が不正です。"},
      {"bak  ", "TEXT", "", "拡張子が不正です。"},
      {".bak", "TEXT", "", "拡張子が不正です。"},
      {"   ", "TEXT", "", "拡張子が不正です。"},
      {"a/b", "TEXT", "", "拡張子が不正です。"},
      {"bak2", "TEXT", "", nullptr},
      {" bak", "TEXT", "", nullptr},  // only trailing spaces are removed for the check
      {"", "TEXT", "", nullptr},
      {"bmp", "BMP", "", nullptr},
      {"x", "ÉTXT", "", "タイプが不正です。"},
      {"x", "ＴＥＸＴ", "", "タイプが不正です。"},
      {"x", "ABCDE", "", "タイプが不正です。"},
      {"x", "  ABCD  ", "", nullptr},
      {"xls", "XLS*", "", nullptr},
      {"x", "A\\*BC", "", nullptr},
      {"x", "TEXT", "ABCDE", "クリエーターが不正です。"},
      {"x", "TEXT", "日本", "クリエーターが不正です。"},
      {"bak", "ABCDE", "ABCDE", "拡張子が不正です。"},  // checked in order
      {"x", "   ", "", "タイプかクリエーター何れかの設定が必要です。"},
      {"x", "", "", "タイプかクリエーター何れかの設定が必要です。"},
  };
  for (const Case& c : cases) {
    const SuffixEditResult r = ValidateSuffixEdit(c.ext, c.type, c.creator, "");
    if (c.message == nullptr) {
      EXPECT_EQ(r.kind, Kind::kAccepted) << c.ext << "/" << c.type << ": " << r.message;
    } else {
      EXPECT_EQ(r.kind, Kind::kRefused) << c.ext << "/" << c.type;
      EXPECT_EQ(r.message, c.message) << c.ext << "/" << c.type;
    }
  }
  EXPECT_EQ(ValidateSuffixEdit("", "", "", "").kind, Kind::kNothing);
  EXPECT_EQ(ValidateSuffixEdit("", "", "", " ").kind, Kind::kRefused);

  const SuffixEditResult r = ValidateSuffixEdit(" txt ", " TEXT ", " ttxt", "  Text  ");
  ASSERT_EQ(r.kind, Kind::kAccepted);
  EXPECT_EQ(r.row, (SuffixEntry{" txt ", "TEXT", "ttxt", "Text"}));
}

}  // namespace
}  // namespace ferrox
