// Type and creator patterns: matching, ranking and the optimal order.

#include <gtest/gtest.h>

#include "suffix/suffix_pattern.h"

namespace ferrox {
namespace {

TEST(SuffixPatternMatch, Cases) {
  struct Case {
    const char* text;
    const char* pattern;
    bool match;
  } cases[] = {
      {"W8BN", "W?BN", true},    {"WBN", "W?BN", false},     {"XLS5", "XLS*", true},   {"XLS", "XLS*", true},
      {"XLS5a", "XLS*", true},   {"XL", "XLS*", false},      {"BMP ", "BMP", false},   {"BMP", "BMP", true},
      {"GIFf", "GIFF", false},   {"A*", "A\\*", true},       {"AB", "A\\*", false},    {"A?", "A\\?", true},
      {"AB", "A\\?", false},     {"A\\", "A\\\\", true},     {"A", "A\\", true},       {"A\\", "A\\", false},
      {"#1", "#1", true},        {"51", "#1", false},        {"[a]", "[a]", true},     {"a", "[a]", false},
      {"", "*", true},           {"", "", true},             {"x", "", false},         {"", "?", false},
      {"MVab", "MV??", true},    {"abcab", "*ab", true},     {"abcb", "a*b*b", true},  {"abc", "a*b*b", false},
      {"日本", "??", true},      {"日本", "?", false},       {"X日Y", "X*Y", true},    {"ab", "*?*?*", true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(SuffixPatternMatch(c.text, c.pattern), c.match) << c.text << " ~ " << c.pattern;
  }
}

TEST(SuffixPatternCompare, Cases) {
  struct Case {
    const char* a;
    const char* b;
    int sign;  // +1: a ranks first
  } cases[] = {
      {"XLS*", "XL*", 1},    {"MPG", "MPG2", 1},   {"W?BN", "WTBN", -1}, {"GIFF", "GIFf", 1},
      {"TEXT", "TEXT", 0},   {"TEXT", "*", 1},     {"?", "*", 1},        {"A?", "AB", -1},
      {"A*", "A*B", -1},     {"A*B", "A*", 1},     {"AB", "ABC", 1},     {"*", "", -1},
      {"A\\*", "A*", 1},     {"A\\*", "A\\*", 0},  {"A\\", "A\\x", 1},   {"", "", 0},
  };
  for (const Case& c : cases) {
    const int r = SuffixPatternCompare(c.a, c.b);
    EXPECT_EQ((r > 0) - (r < 0), c.sign) << c.a << " vs " << c.b;
    const int back = SuffixPatternCompare(c.b, c.a);
    EXPECT_EQ((back > 0) - (back < 0), -c.sign) << c.b << " vs " << c.a;
  }
}

TEST(SuffixEntryCompare, TypeThenCreatorThenExtensionThenDescription) {
  struct Case {
    SuffixEntry x, y;
    int sign;
  } cases[] = {
      {{"a", "TEXT", "", ""}, {"a", "", "CWIE", ""}, 1},         // empty type ranks as "*"
      {{"a", "TEXT", "CWIE", ""}, {"a", "TEXT", "", ""}, 1},     // then creator
      {{"a", "TEXT", "", ""}, {"b", "TEXT", "*", ""}, 0 + 1},    // "" and "*" tie: extension decides
      {{"b", "TEXT", "", ""}, {"a", "TEXT", "", ""}, -1},
      {{"a", "TEXT", "", "x"}, {"a", "TEXT", "", "y"}, 1},
      {{"a", "TEXT", "", "x"}, {"a", "TEXT", "", "x"}, 0},
  };
  for (const Case& c : cases) {
    const int r = SuffixEntryCompare(c.x, c.y);
    EXPECT_EQ((r > 0) - (r < 0), c.sign) << c.x.Extension << c.x.FileType << " vs " << c.y.Extension << c.y.FileType;
  }
}

TEST(SuffixTableSort, SpecificRowsComeFirstAndTheSelectionFollows) {
  SuffixTable table;
  table.Append({"txt", "TEXT", "", "plain"});    // 0
  table.Append({"any", "", "", ""});             // 1
  table.Append({"doc", "W?BN", "MSWD", ""});     // 2
  table.Append({"csv", "TEXT", "XCEL", ""});     // 3
  table.Append({"dot", "WTBN", "MSWD", ""});     // 4
  table.Append({"txt2", "TEXT", "", "plain"});   // 5: equal rank to row 0 but for the extension
  EXPECT_EQ(SuffixTableSort(table, 0), 1);
  std::vector<std::string> order;
  for (const SuffixEntry& row : table.Rows()) order.push_back(row.Extension);
  EXPECT_EQ(order, (std::vector<std::string>{"csv", "txt", "txt2", "dot", "doc", "any"}));
  EXPECT_EQ(table.Elements().back(), SuffixEntry{});
}

TEST(SuffixTableSort, SortedTableIsLeftAlone) {
  SuffixTable table;
  SuffixTableDefault(table);
  SuffixTableSort(table, -1);
  const SuffixTable sorted = table;
  EXPECT_EQ(SuffixTableSort(table, 41), 41);
  EXPECT_EQ(table, sorted);
  EXPECT_EQ(SuffixTableSort(table, -1), -1);
  // In the optimal order no row is hidden by an earlier, wider one.
  for (std::size_t i = 0; i + 1 < table.RowCount(); ++i) {
    EXPECT_GE(SuffixEntryCompare(table[i], table[i + 1]), 0) << i;
  }
}

}  // namespace
}  // namespace ferrox
