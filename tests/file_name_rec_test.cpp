// Output names from a Mac name, type and creator.

#include <gtest/gtest.h>

#include "suffix/file_name_rec.h"

namespace ferrox {
namespace {

SuffixTable BuiltIn() {
  SuffixTable table;
  SuffixTableDefault(table);
  return table;
}

TEST(SuffixTableSearch, FirstFittingRowInTableOrder) {
  const SuffixTable table = BuiltIn();
  struct Case {
    const char* type;
    const char* creator;
    int row;  // zero-based
  } cases[] = {
      {"TEXT", "CWIE", 68}, {"TEXT", "ttxt", 71}, {"TEXT", "ART5", 67}, {"GIFf", "", 30},  {"GIFF", "x", 29},
      {"W8BN", "MSWD", 84}, {"WTBN", "MSWD", 83}, {"WTBN", "XXXX", -1}, {"BMP", "", 21},  {"BMP ", "", -1},
      {"XLS5", "XCEL", 88}, {"MDxy", "MV12", 41}, {"????", "", -1},     {"Zoo", "", 94},  {"", "", -1},
  };
  for (const Case& c : cases) EXPECT_EQ(SuffixTableSearch(table, c.type, c.creator), c.row) << c.type << "/" << c.creator;
  EXPECT_EQ(SuffixTableSearch(SuffixTable{}, "TEXT", ""), -1);
}

TEST(SuffixTableSearch, RowWithBothColumnsEmptyHidesTheRest) {
  SuffixTable table;
  table.Append({"bin", "", "", ""});
  table.Append({"txt", "TEXT", "", ""});
  EXPECT_EQ(SuffixTableSearch(table, "TEXT", "ttxt"), 0);
}

struct NameCase {
  const char* name;
  const char* type;
  const char* creator;
  std::uint16_t convMode;
  std::uint16_t fileMode;
  const char* fncChar;
  const char* expected;
};

TEST(FileNameRec, Cases) {
  const SuffixTable table = BuiltIn();
  constexpr std::uint16_t kFull = 12;        // built-in ConvMode: full-width forms
  constexpr std::uint16_t kFixed = 12 | 2;   // FNCChar instead
  constexpr std::uint16_t kPlain = 117 & ~64;
  constexpr std::uint16_t kUnknown = 117;
  const NameCase cases[] = {
      {"Report", "TEXT", "ttxt", kFull, kPlain, "_", "Report.txt"},
      {"main.c", "TEXT", "CWIE", kFull, kPlain, "_", "main.c"},            // empty extension
      {"photo.gif", "JPEG", "", kFull, kPlain, "_", "photo.gif.jpg"},      // never replaced
      {"PHOTO.GIF", "GIFF", "", kFull, kPlain, "_", "PHOTO.GIF"},          // already there, any case
      {"photogif", "GIFF", "", kFull, kPlain, "_", "photogif.gif"},
      {"a:b", "TEXT", "", kFull, kPlain, "_", "a：b.txt"},
      {"a:b", "TEXT", "", kFixed, kPlain, "_", "a_b.txt"},
      {"a:b", "TEXT", "", kFixed, kPlain, "", "ab.txt"},
      {"a:b", "TEXT", "", kFixed, kPlain, "--", "a--b.txt"},
      {"\\/:*?\"<>|", "TEXT", "", kFull, kPlain, "_", "＼／：＊？＂＜＞｜.txt"},
      {"\\/:*?\"<>|", "TEXT", "", kFixed, kPlain, "", ""},
      {"  spaced  ", "TEXT", "", kFull, kPlain, "_", "spaced.txt"},
      {" : ", "TEXT", "", kFixed, kPlain, " ", ""},                      // only spaces after substitution
      {"     ", "TEXT", "", kFull, kPlain, "_", ""},
      {"", "TEXT", "", kFull, kPlain, "_", ""},
      {"tab\there.", "????", "", kFull, kPlain, "_", "tab\there."},        // control characters and dots kept
      {"Report", "WXYZ", "ABCD", kFull, kUnknown, "_", "Report(ABCD).WXYZ"},
      {"Report", "BMP ", " AB ", kFull, kUnknown, "_", "Report(AB).BMP"},
      {"Report", "WX/Z", "AB:D", kFixed, kUnknown, "_", "Report(AB_D).WX_Z"},
      {"Report", "WXYZ", "ABCD", kFull, kPlain, "_", "Report"},
      {"文書", "TEXT", "", kFull, kPlain, "_", "文書.txt"},
  };
  for (const NameCase& c : cases) {
    ConversionSettings settings;
    settings.ConvMode = c.convMode;
    settings.FileMode = c.fileMode;
    settings.FNCChar = c.fncChar;
    EXPECT_EQ(FileNameRec(table, settings, c.name, c.type, c.creator), c.expected) << c.name;
  }
}

TEST(FileNameRec, NulIsDropped) {
  ConversionSettings settings;
  EXPECT_EQ(FileNameRec(SuffixTable{}, settings, std::string_view("a\0b", 3), "", ""), "ab().");
  settings.FileMode = 0;
  EXPECT_EQ(FileNameRec(SuffixTable{}, settings, std::string_view("a\0b", 3), "", ""), "ab");
}

TEST(FileNameRec, LengthLimitIs255ShiftJisBytesBeforeTheExtension) {
  const SuffixTable table = BuiltIn();
  const ConversionSettings settings;
  std::string wide127;
  for (int i = 0; i < 127; ++i) wide127 += "あ";
  EXPECT_EQ(FileNameRec(table, settings, wide127 + "あ", "TEXT", ""), "");           // 256 bytes
  EXPECT_EQ(FileNameRec(table, settings, wide127 + "a", "TEXT", ""), wide127 + "a.txt");  // 255 bytes
  EXPECT_EQ(FileNameRec(table, settings, std::string(255, 'n'), "TEXT", ""), std::string(255, 'n') + ".txt");
  EXPECT_EQ(FileNameRec(table, settings, std::string(256, 'n'), "TEXT", ""), "");
  // A substituted character counts two bytes.
  EXPECT_EQ(FileNameRec(table, settings, std::string(254, 'n') + ":", "TEXT", ""), "");
}

}  // namespace
}  // namespace ferrox
