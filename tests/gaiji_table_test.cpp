// The gaiji table: user files (bad ones never fail), searching, the shipped Mac table.

#include "convert/gaiji_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "convert/transcoders.h"
#include "helpers/scratch_dir.h"
#include "text/code_ranges.h"
#include "text/cp932.h"

namespace ferrox {
namespace {

using namespace std::string_literals;
using Entries = std::vector<std::pair<int, std::string>>;  // code -> replacement, record 0 left out

const std::string kGeta = "\x81\xac";

Entries EntriesOf(const GaijiTable& t) {
  Entries e;
  for (std::size_t k = 1; k < t.Records().size(); ++k) {
    const auto& r = t.Records()[k];
    e.emplace_back(r.first << 8 | r.second, r.replacement);
  }
  return e;
}

std::size_t Load(GaijiTable& t, const std::string& bytes) {
  return t.LoadGaijiTable(testing::ScratchDir().Write("GaiTbl.txt", bytes));
}

std::string Replacement(const GaijiTable& t, std::uint8_t a, std::uint8_t b) {
  std::uint8_t out[64];
  const std::size_t n = t.GaijiSet(t.GaijiTableSearch(a, b), out, 3);
  return std::string(out + 3, out + 3 + n);
}

TEST(GaijiTable, MissingOrEmptyFileLeavesTheDefaultAndReloadStartsAfresh) {
  GaijiTable t;
  EXPECT_EQ(Replacement(t, 0x87, 0x40), kGeta);
  for (const std::string& path : {""s, ::testing::TempDir() + "no_such_gaiji.txt", ::testing::TempDir()}) {
    EXPECT_EQ(t.LoadGaijiTable(path), 0u) << path;
  }
  EXPECT_EQ(Load(t, ""), 0u);
  EXPECT_EQ(t.Records().size(), 1u);
  EXPECT_EQ(Replacement(t, 0x87, 0x40), kGeta);
  Load(t, "Default=x\r\nPunct=;\r\nCode=JIS\r\n2D21;a\r\n");
  EXPECT_EQ(Load(t, "2D21,b\r\n"), 1u);
  EXPECT_EQ(EntriesOf(t), (Entries{{0x2D21, "b"}}));  // Shift JIS and "," again
  EXPECT_EQ(t.Records()[0].replacement, kGeta);
  t.LoadGaijiTable("");
  EXPECT_EQ(t.Records().size(), 1u);
}

TEST(GaijiTable, ReadsKeyWordsCommentsAndDataLines) {
  struct { const char* name; std::string file; Entries entries; std::string fallback = kGeta; } const cases[] = {
      {"no final line end, lower-case hex", "874a,x", {{0x874A, "x"}}},
      {"sorted by code", "8741,b\r\n8540,a\r\nEB40,c\r\n8740,\r\n",
       {{0x8540, "a"}, {0x8740, ""}, {0x8741, "b"}, {0xEB40, "c"}}},
      {"comment lines", "/8740,x\r\n// notes\r\n8741,y\r\n", {{0x8741, "y"}}},
      {"Default= takes the rest of the line", "Default=[?] \r\n", {}, "[?] "},
      {"tab separator", "Punct=\t\r\n8540\tABC\r\n", {{0x8540, "ABC"}}},
      {"separator of two characters", "Punct=->\r\n8540->a,b\r\n", {{0x8540, "a,b"}}},
      {"empty Punct= keeps the comma", "Punct=\r\n8540,a\r\n", {{0x8540, "a"}}},
      {"JIS codes stored as Shift JIS", "Code=JIS\r\n2D21,Z\r\n7521,W\r\n", {{0x8740, "Z"}, {0xEB40, "W"}}},
      {"code= and euc in small letters", "code=euc\r\nADA1,Z\r\n", {{0x8740, "Z"}}},
      {"an unknown code keeps the previous one", "Code=EUC\r\nCode=UTF8\r\nADA2,Y\r\n", {{0x8741, "Y"}}},
      {"codes change inside a file", "Code=JIS\r\n2D21,a\r\nCode=SJIS\r\n8540,b\r\n",
       {{0x8540, "b"}, {0x8740, "a"}}},
      {"key words in any case", "PUNCT=;\r\ndefault=?\r\n8540;x\r\n", {{0x8540, "x"}}, "?"},
      {"blanks trimmed around the code only", " 8740 , y \r\n", {{0x8740, " y "}}},
      {"LF and lone CR end lines", "8740,a\n8741,b\r8742,c\r\n", {{0x8740, "a"}, {0x8741, "b"}, {0x8742, "c"}}},
      // Several replacements fill the following codes: 0x7F is no trail byte,
      // and a row ends at 0xFC (Shift JIS), 0x7E (JIS) or 0xFE (EUC).
      {"several replacements skip 0x7F", "857E,a,b,c\r\n", {{0x857E, "a"}, {0x8580, "b"}, {0x8581, "c"}}},
      {"several replacements cross a Shift JIS row", "85FC,a,b\r\n9FFC,c,d\r\n",
       {{0x85FC, "a"}, {0x8640, "b"}, {0x9FFC, "c"}, {0xE040, "d"}}},
      {"several replacements cross a JIS row", "Code=JIS\r\n2D7E,a,b\r\n", {{0x879E, "a"}, {0x879F, "b"}}},
      {"empty replacements between separators", "8540,,x\r\n", {{0x8540, ""}, {0x8541, "x"}}},
      // 表 is 0x95 0x5C: its trail byte is no separator "\".
      {"separator never matches a trail byte", "Punct=\\\r\n8740\\\x95\x5c\\\x95\x5c\r\n",
       {{0x8740, "\x95\x5c"}, {0x8741, "\x95\x5c"}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    GaijiTable t;
    EXPECT_EQ(Load(t, c.file), c.entries.size());
    EXPECT_EQ(EntriesOf(t), c.entries);
    EXPECT_EQ(t.Records()[0].replacement, c.fallback);
  }
}

TEST(GaijiTable, BadLinesAreSkippedAndTheRestStays) {
  GaijiTable t;
  EXPECT_EQ(Load(t, "8740,kept\r\n87G0,bad hex\r\n874,three digits\r\n87400,five digits\r\n"
                    "8741 no separator\r\n\r\nCode=JIS\r\nA1A1,not a JIS code\r\nCode=EUC\r\n"
                    "2D21,not an EUC code\r\n\xff\xfe\x00garbage\r\n"s "ADA3,also kept\r\n"),
            2u);
  EXPECT_EQ(EntriesOf(t), (Entries{{0x8740, "kept"}, {0x8742, "also kept"}}));
}

TEST(GaijiTable, SearchFindsTheFirstOfTwoLinesForOneCode) {
  GaijiTable t;
  Load(t, "Default=-\r\n8740,first\r\n8540,\r\n8740,second\r\n8741,yy\r\n");
  EXPECT_EQ(EntriesOf(t), (Entries{{0x8540, ""}, {0x8740, "first"}, {0x8740, "second"}, {0x8741, "yy"}}));
  const std::pair<int, std::string> searches[] = {  // an empty replacement makes the gaiji disappear
      {0x8740, "first"}, {0x8540, ""}, {0x8741, "yy"}, {0x8742, "-"}, {0x84FF, "-"}, {0xFCFC, "-"}};
  for (const auto& [code, replacement] : searches) {
    EXPECT_EQ(Replacement(t, static_cast<std::uint8_t>(code >> 8), static_cast<std::uint8_t>(code)), replacement);
  }
  std::uint8_t out[4];
  EXPECT_EQ(t.GaijiSet(99, out, 0), 1u);  // out of range: the default
  EXPECT_EQ(t.LongestReplacement(), 6u);
  EXPECT_EQ(GaijiTable().LongestReplacement(), 2u);
}

// The shipped table for Macintosh files: CP932 with CR LF, a comment first,
// only gaiji codes, each once, none empty; Mac text comes out as Windows text.
TEST(MacGaiji, MapsMacGaijiToWindowsText) {
  const std::string path = FERROX_SOURCE_DIR "/data/MacGaiji.txt";
  const std::string text = testing::ReadAll(path);
  ASSERT_FALSE(text.empty());
  EXPECT_EQ(text.front(), '/');
  EXPECT_EQ(text.substr(text.size() - 2), "\r\n");
  std::ptrdiff_t pairs = 0;
  for (std::size_t p = text.find("\r\n"); p != std::string::npos; p = text.find("\r\n", p + 2)) ++pairs;
  EXPECT_EQ(std::count(text.begin(), text.end(), '\r'), pairs);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), pairs);
  EXPECT_EQ(cp932::ToUtf8(text).find("\xef\xbf\xbd"), std::string::npos) << "not CP932";

  GaijiTable t;
  ASSERT_GT(t.LoadGaijiTable(path), 200u);
  std::set<int> seen;
  for (std::size_t k = 1; k < t.Records().size(); ++k) {
    const auto& r = t.Records()[k];
    SCOPED_TRACE(::testing::Message() << std::hex << (r.first << 8 | r.second));
    EXPECT_EQ(code_ranges::SjisLead(r.first, r.second), code_ranges::Lead::kGaiji);
    EXPECT_TRUE(seen.insert(r.first << 8 | r.second).second) << "twice";
    EXPECT_FALSE(r.replacement.empty());
  }
  EXPECT_EQ(t.Records()[0].replacement, kGeta);

  // Mac ① (0x8540), (1) (0x855E, no CP932 form), a Mac code with neither, Ⅰ (0x859F).
  const std::string mac = "\x85\x40\x85\x5e\x85\x7c\x85\x9f"s "\0\0";
  std::uint8_t out[64];
  BufIndex o = 0, i = 0, consumed = 0;
  SjisCopy(out, reinterpret_cast<const std::uint8_t*>(mac.data()), o, i, 7, consumed,
           GaijiPolicy{GaijiPolicy::Mode::kReplace, &t});
  EXPECT_EQ(consumed, 8);
  EXPECT_EQ(cp932::ToUtf8(std::string(out, out + o)), "①(1)〓Ⅰ");
}

}  // namespace
}  // namespace ferrox
