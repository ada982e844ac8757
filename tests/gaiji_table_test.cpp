#include "convert/gaiji_table.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace ferrox {
namespace {

using namespace std::string_literals;

const std::string kGeta = "\x81\xac";

// Code -> replacement pairs, in table order (record 0 left out).
using Entries = std::vector<std::pair<int, std::string>>;

Entries EntriesOf(const GaijiTable& t) {
  Entries e;
  for (std::size_t k = 1; k < t.Records().size(); ++k) {
    const auto& r = t.Records()[k];
    e.emplace_back(r.first << 8 | r.second, r.replacement);
  }
  return e;
}

// CTest runs the tests of this file in parallel processes: each writes its own files.
std::string WriteFile(const std::string& name, const std::string& bytes) {
  const std::string path = testing::TempDir() + std::to_string(getpid()) + "_" + name;
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

GaijiTable Load(const std::string& bytes, std::size_t* count = nullptr) {
  GaijiTable t;
  const std::string path = WriteFile("gaiji_table_test.txt", bytes);
  const std::size_t n = t.LoadGaijiTable(path);
  std::remove(path.c_str());
  if (count) *count = n;
  return t;
}

std::string Replacement(const GaijiTable& t, std::uint8_t a, std::uint8_t b) {
  std::uint8_t out[64];
  const std::size_t n = t.GaijiSet(t.GaijiTableSearch(a, b), out, 3);
  return std::string(out + 3, out + 3 + n);
}

TEST(GaijiTable, NoFileLeavesTheDefault) {
  GaijiTable t;
  EXPECT_EQ(Replacement(t, 0x87, 0x40), kGeta);
  EXPECT_EQ(t.LoadGaijiTable(""), 0u);
  EXPECT_EQ(t.LoadGaijiTable(testing::TempDir() + "no_such_gaiji_table.txt"), 0u);
  EXPECT_EQ(t.LoadGaijiTable(testing::TempDir()), 0u);  // a folder
  EXPECT_EQ(t.Records().size(), 1u);
  EXPECT_EQ(Replacement(t, 0x87, 0x40), kGeta);
  std::size_t n = 9;
  const GaijiTable empty = Load("", &n);
  EXPECT_EQ(n, 0u);
  EXPECT_EQ(Replacement(empty, 0x87, 0x40), kGeta);
}

TEST(GaijiTable, ReadsKeyWordsCommentsAndDataLines) {
  struct Case {
    const char* name;
    std::string file;
    Entries entries;
    std::string fallback;  // record 0 afterwards
  } const cases[] = {
      {"one line", "8740,(1)\r\n", {{0x8740, "(1)"}}, kGeta},
      {"no final line end, lower-case hex", "874a,x", {{0x874A, "x"}}, kGeta},
      {"sorted by code", "8741,b\r\n8540,a\r\nEB40,c\r\n8740,\r\n",
       {{0x8540, "a"}, {0x8740, ""}, {0x8741, "b"}, {0xEB40, "c"}}, kGeta},
      {"comment lines", "/8740,x\r\n// notes\r\n8741,y\r\n", {{0x8741, "y"}}, kGeta},
      {"Default= takes the rest of the line", "Default=[?] \r\n", {}, "[?] "},
      {"tab separator", "Punct=\t\r\n8540\tABC\r\n", {{0x8540, "ABC"}}, kGeta},
      {"separator of two characters", "Punct=->\r\n8540->a,b\r\n", {{0x8540, "a,b"}}, kGeta},
      {"empty Punct= keeps the comma", "Punct=\r\n8540,a\r\n", {{0x8540, "a"}}, kGeta},
      {"JIS codes are stored as Shift JIS", "Code=JIS\r\n2D21,Z\r\n7521,W\r\n",
       {{0x8740, "Z"}, {0xEB40, "W"}}, kGeta},
      {"code= and euc in small letters", "code=euc\r\nADA1,Z\r\n", {{0x8740, "Z"}}, kGeta},
      {"an unknown code keeps the previous one", "Code=EUC\r\nCode=UTF8\r\nADA2,Y\r\n",
       {{0x8741, "Y"}}, kGeta},
      {"codes can change inside a file", "Code=JIS\r\n2D21,a\r\nCode=SJIS\r\n8540,b\r\n",
       {{0x8540, "b"}, {0x8740, "a"}}, kGeta},
      {"key words in any case", "PUNCT=;\r\ndefault=?\r\n8540;x\r\n", {{0x8540, "x"}}, "?"},
      {"blanks around the code are trimmed, not in the replacement", " 8740 , y \r\n",
       {{0x8740, " y "}}, kGeta},
      {"LF and lone CR also end lines", "8740,a\n8741,b\r8742,c\r\n",
       {{0x8740, "a"}, {0x8741, "b"}, {0x8742, "c"}}, kGeta},
      // Several replacements fill the following codes: 0x7F is no trail byte,
      // and a row ends at 0xFC (Shift JIS), 0x7E (JIS) or 0xFE (EUC).
      {"several replacements skip 0x7F", "857E,a,b,c\r\n",
       {{0x857E, "a"}, {0x8580, "b"}, {0x8581, "c"}}, kGeta},
      {"several replacements cross a Shift JIS row", "85FC,a,b\r\n9FFC,c,d\r\n",
       {{0x85FC, "a"}, {0x8640, "b"}, {0x9FFC, "c"}, {0xE040, "d"}}, kGeta},
      {"several replacements cross a JIS row", "Code=JIS\r\n2D7E,a,b\r\n",
       {{0x879E, "a"}, {0x879F, "b"}}, kGeta},
      {"empty replacements between separators", "8540,,x\r\n", {{0x8540, ""}, {0x8541, "x"}},
       kGeta},
      // 表 is 0x95 0x5C: its trail byte is no separator "\".
      {"separator never matches a trail byte", "Punct=\\\r\n8740\\\x95\x5c\\\x95\x5c\r\n",
       {{0x8740, "\x95\x5c"}, {0x8741, "\x95\x5c"}}, kGeta},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::size_t n = 0;
    const GaijiTable t = Load(c.file, &n);
    EXPECT_EQ(EntriesOf(t), c.entries);
    EXPECT_EQ(n, c.entries.size());
    EXPECT_EQ(t.Records()[0].replacement, c.fallback);
  }
}

TEST(GaijiTable, BadLinesAreSkippedAndTheRestStays) {
  const std::string file =
      "8740,kept\r\n"
      "87G0,bad hex\r\n"
      "874,three digits\r\n"
      "87400,five digits\r\n"
      "8741 no separator\r\n"
      "\r\n"
      "Code=JIS\r\n"
      "A1A1,not a JIS code\r\n"
      "Code=EUC\r\n"
      "2D21,not an EUC code\r\n"
      "\xff\xfe\x00garbage\r\n"s
      "ADA3,also kept\r\n";
  std::size_t n = 0;
  const GaijiTable t = Load(file, &n);
  EXPECT_EQ(n, 2u);
  EXPECT_EQ(EntriesOf(t), (Entries{{0x8740, "kept"}, {0x8742, "also kept"}}));
}

TEST(GaijiTable, SearchFindsTheFirstOfTwoLinesForOneCode) {
  const GaijiTable t = Load("8740,first\r\n8540,x\r\n8740,second\r\n8741,y\r\n");
  EXPECT_EQ(EntriesOf(t),
            (Entries{{0x8540, "x"}, {0x8740, "first"}, {0x8740, "second"}, {0x8741, "y"}}));
  EXPECT_EQ(t.GaijiTableSearch(0x87, 0x40), 2u);
  EXPECT_EQ(t.GaijiTableSearch(0x85, 0x40), 1u);
  EXPECT_EQ(t.GaijiTableSearch(0x87, 0x41), 4u);
  EXPECT_EQ(t.GaijiTableSearch(0x87, 0x42), 0u);  // between and after records
  EXPECT_EQ(t.GaijiTableSearch(0x84, 0xFF), 0u);
  EXPECT_EQ(t.GaijiTableSearch(0xFC, 0xFC), 0u);
  EXPECT_EQ(Replacement(t, 0x87, 0x40), "first");
  EXPECT_EQ(Replacement(t, 0xEB, 0x40), kGeta);
}

TEST(GaijiTable, ReloadStartsAfresh) {
  GaijiTable t = Load("Default=x\r\nPunct=;\r\nCode=JIS\r\n2D21;a\r\n");
  const std::string second = WriteFile("gaiji_table_second.txt", "2D21,b\r\n");
  EXPECT_EQ(t.LoadGaijiTable(second), 1u);
  std::remove(second.c_str());
  EXPECT_EQ(EntriesOf(t), (Entries{{0x2D21, "b"}}));  // Shift JIS and "," again
  EXPECT_EQ(t.Records()[0].replacement, kGeta);
  t.LoadGaijiTable("");
  EXPECT_EQ(t.Records().size(), 1u);
}

TEST(GaijiTable, SetWritesAtTheOutputIndexAndReportsTheLength) {
  const GaijiTable t = Load("Default=\r\n8740,abcdefgh\r\n");
  std::uint8_t out[16] = {};
  EXPECT_EQ(t.GaijiSet(1, out, 4), 8u);
  EXPECT_EQ(std::string(out + 4, out + 12), "abcdefgh");
  EXPECT_EQ(out[3], 0);
  EXPECT_EQ(out[12], 0);
  EXPECT_EQ(t.GaijiSet(0, out, 0), 0u);
  EXPECT_EQ(t.GaijiSet(99, out, 0), 0u);  // out of range: the default
  EXPECT_EQ(t.LongestReplacement(), 8u);
  EXPECT_EQ(GaijiTable().LongestReplacement(), 2u);
}

}  // namespace
}  // namespace ferrox
