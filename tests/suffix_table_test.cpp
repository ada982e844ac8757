// The suffix table, its patterns, the editor's rules, and FileNameRec.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "app/engine_settings.h"
#include "helpers/scratch_dir.h"
#include "suffix/file_name_rec.h"
#include "suffix/suffix_edit_rules.h"
#include "suffix/suffix_pattern.h"
#include "text/cp932.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;
using testing::ReadAll;
using Rows = std::vector<SuffixEntry>;

Rows RowsOf(const SuffixTable& table) { return {table.Rows().begin(), table.Rows().end()}; }
SuffixTable BuiltIn() {
  SuffixTable table;
  SuffixTableDefault(table);
  return table;
}
int Sign(int r) { return (r > 0) - (r < 0); }

TEST(SuffixTable, ParseLines) {
  const std::pair<std::string_view, Rows> cases[] = {
      {"a\tb\tc\td\te\r\n", {{"a", "b", "c", "d"}}},  // five fields keep four
      {"doc\tWTBN\t\tWord\r\n", {{"doc", "WTBN", "", "Word"}}},
      {".gif\tGIFF\r\n..gif\tGIFf\r\n", {{"gif", "GIFF", "", ""}, {".gif", "GIFf", "", ""}}},
      {" txt \t TEXT\r\n", {{" txt ", " TEXT", "", ""}}},
      {"gif\r\n\r\n/a\tb\tc\r\nx\ty\r\n", {{"x", "y", "", ""}}},  // no separator, empty, comment
      {"a\tb\r\nc\td", {{"a", "b", "", ""}}},                      // last line without CR LF
      {"a\tb\nc\td\r\n", {{"a", "b\nc", "d", ""}}},                // a lone LF is no line end
      {"Punct=,\r\ngif,GIFF,,G\r\npunct=;\r\njpg;JPEG\r\nx,y\r\n", {{"gif", "GIFF", "", "G"}, {"jpg", "JPEG", "", ""}}},
      {"PUNCT=\r\na\tb\r\n", {{"a", "b", "", ""}}},  // an empty Punct= keeps the separator
      {"Punct=::\r\na::b:c::d\r\n", {{"a", "b:c", "d", ""}}},
      // 表 is 0x95 0x5C: its trail byte must not split it when the separator is a backslash.
      {"Punct=\\\r\nxls\\XLS*\\XCEL\\\x95\x5c\x8c\x76\x8e\x5a\r\n", {{"xls", "XLS*", "XCEL", "表計算"}}},
  };
  for (const auto& [text, rows] : cases) {
    SuffixTable table;
    EXPECT_EQ(SuffixTableParse(table, text), SuffixLoadStatus::kLoaded) << text;
    EXPECT_EQ(RowsOf(table), rows) << text;
  }
}

class SuffixFile : public ::testing::Test {
 protected:
  testing::ScratchDir dir_{testing::SharedTempBase()};  // one test reads it as "nobody"
  std::string folder_ = dir_.Path().string();
  fs::path file_ = dir_.Path() / "SfxTbl.txt";
};

TEST_F(SuffixFile, HandMadeMissingAndEmptyFiles) {
  SuffixTable table;
  table.Append({"x", "y", "", ""});
  EXPECT_EQ(SuffixTableLoad(table, folder_).status, SuffixLoadStatus::kDefault);
  EXPECT_EQ(RowsOf(table), RowsOf(BuiltIn()));  // the built-in rows alone
  EXPECT_EQ(table.RowCount(), 100u);
  dir_.Write("SfxTbl.txt", "");
  EXPECT_EQ(SuffixTableLoad(table, folder_).status, SuffixLoadStatus::kEmptyFile);
  EXPECT_EQ(table.RowCount(), 0u);
  dir_.Write("SfxTbl.txt", "/ my own table\r\nPunct=,\r\n.gif,GIFF,,\x89\xe6\x91\x9c\r\n"
                           "doc,W?BN,MSWD,Word,extra\r\nlonely\r\ntxt,TEXT");
  const SuffixLoadResult result = SuffixTableLoad(table, folder_);
  EXPECT_EQ(result.status, SuffixLoadStatus::kLoaded);
  EXPECT_EQ(result.path, file_.string());
  EXPECT_EQ(RowsOf(table), (Rows{{"gif", "GIFF", "", "画像"}, {"doc", "W?BN", "MSWD", "Word"}}));
}

TEST_F(SuffixFile, WrittenTableReadsBackAsCp932WithCrLf) {
  SuffixTable table = BuiltIn();
  table.Append({"hlp", "HELP", "", "ヘルプ 表示"});
  table.Append({"", "X\\*Y", "a b", ""});
  table.Append({"ﾃｷｽﾄ", "", "ttxt", "半角ｶﾅ"});
  ASSERT_TRUE(SuffixTableSave(table, folder_));
  SuffixTable back;
  EXPECT_EQ(SuffixTableLoad(back, folder_).status, SuffixLoadStatus::kLoaded);
  EXPECT_EQ(back, table);
  const std::string bytes = ReadAll(file_);
  EXPECT_NE(bytes.find("\r\nhlp\tHELP\t\t\x83\x77\x83\x8b\x83\x76 \x95\x5c\x8e\xa6\r\n"), std::string::npos);
  EXPECT_NE(bytes.find("\r\n\xc3\xb7\xbd\xc4\t\tttxt\t\x94\xbc\x8a\x70\xb6\xc5\r\n"), std::string::npos);

  SuffixTable one;
  one.Append({"txt", "TEXT", "", ""});
  const std::string rule = "/" + std::string(78, '-') + "/";
  EXPECT_EQ(SuffixTableText(one, "2024/01/05"),
            rule + "\r\n/ Ferrox 拡張子定義ファイル                  by Ferrox v2.9 2024/01/05 /\r\n" + rule +
                "\r\n/このファイルは Ferrox が自動で書き換えます。直接編集しないで下さい。\r\n"
                "/一応、ヘルプに説明が書いてあります。\r\ntxt\tTEXT\r\n");
}

TEST_F(SuffixFile, BackupAndFailedSave) {
  EXPECT_FALSE(SuffixTableBackup(folder_));  // nothing to back up
  dir_.Write("SfxTbl.txt", "a\tb\r\n");
  dir_.Write("SfxTbl.old", "stale");
  EXPECT_TRUE(SuffixTableBackup(folder_));
  EXPECT_EQ(ReadAll(dir_.Path() / "SfxTbl.old"), "a\tb\r\n");
  EXPECT_EQ(ReadAll(file_), "a\tb\r\n");

  // A folder in the table file's place cannot be replaced: it stays, and no temp file is left.
  fs::remove(file_);
  fs::create_directory(file_);
  EXPECT_FALSE(SuffixTableSave(BuiltIn(), folder_));
  EXPECT_FALSE(SuffixTableSave(BuiltIn(), folder_ + "/missing"));
  EXPECT_TRUE(fs::is_directory(file_));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()), 2);
}

TEST_F(SuffixFile, LineEndsPastByte32767AreAnError) {
  std::string fits;
  for (int i = 0; i < 4681; ++i) fits += "a\tTXT\r\n";  // 4681 lines of 7 bytes end at byte 32,767
  const std::tuple<std::string, SuffixLoadStatus, std::size_t> cases[] = {
      {fits, SuffixLoadStatus::kLoaded, 4681},
      {fits + "tail without a line end", SuffixLoadStatus::kLoaded, 4681},
      {fits.substr(0, fits.size() - 1) + "x\r\n", SuffixLoadStatus::kTooLarge, 4680},  // CR at 32,767 + 1
      {fits + "c\td\r\n", SuffixLoadStatus::kTooLarge, 4681},
      {fits + std::string(100000, 'x') + "\r\n", SuffixLoadStatus::kTooLarge, 4681},
  };
  for (const auto& [text, status, rows] : cases) {
    dir_.Write("SfxTbl.txt", text);
    SuffixTable table;
    const SuffixLoadResult result = SuffixTableLoad(table, folder_);
    EXPECT_EQ(result.status, status) << text.size();
    EXPECT_EQ(table.RowCount(), rows) << text.size();
    EXPECT_EQ(SuffixLoadMessage(result), result.Failed() ? "拡張子定義ファイル「" + file_.string() +
                                                               "」が大きすぎるため、途中までしか読み込めませんでした。"
                                                         : std::string());
  }
}

TEST_F(SuffixFile, UnreadableFileIsAnErrorAndKeepsTheTable) {
  dir_.Write("SfxTbl.txt", "a\tb\r\n");
  fs::permissions(file_, fs::perms::none);
  fs::permissions(folder_, fs::perms::owner_all | fs::perms::others_exec);
  auto check = [&] {
    SuffixTable table;
    table.Append({"kept", "KEEP", "", ""});
    const SuffixTable before = table;
    const SuffixLoadResult result = SuffixTableLoad(table, folder_);
    return result.status == SuffixLoadStatus::kUnreadable && table == before &&
           SuffixLoadMessage(result) == "拡張子定義ファイル「" + file_.string() + "」を読み込めませんでした。";
  };
  if (::geteuid() != 0) {
    EXPECT_TRUE(check());
    return;
  }
  const pid_t pid = ::fork();  // root reads every file: check as "nobody" in a child
  if (pid == 0) ::_exit(::setgid(65534) != 0 || ::setuid(65534) != 0 ? 2 : check() ? 0 : 1);
  int status = 0;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  if (WEXITSTATUS(status) == 2) GTEST_SKIP() << "cannot drop privileges";
  EXPECT_EQ(status, 0);
}

TEST(SuffixPattern, Match) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"W8BN", "W?BN", true}, {"WBN", "W?BN", false},  {"XLS", "XLS*", true},   {"XL", "XLS*", false},
      {"BMP ", "BMP", false}, {"GIFf", "GIFF", false}, {"A*", "A\\*", true},    {"AB", "A\\*", false},
      {"AB", "A\\?", false},  {"A\\", "A\\\\", true},  {"A", "A\\", true},      {"A\\", "A\\", false},
      {"a", "[a]", false},    {"", "*", true},         {"x", "", false},        {"", "?", false},
      {"abcab", "*ab", true}, {"abc", "a*b*b", false}, {"日本", "??", true},    {"日本", "?", false},
  };
  for (const auto& [text, pattern, match] : cases) {
    EXPECT_EQ(SuffixPatternMatch(text, pattern), match) << text << " ~ " << pattern;
  }
}

TEST(SuffixPattern, RankingAndSort) {
  const std::tuple<const char*, const char*, int> cases[] = {  // +1: the first ranks first
      {"XLS*", "XL*", 1}, {"MPG", "MPG2", 1}, {"W?BN", "WTBN", -1}, {"GIFF", "GIFf", 1}, {"TEXT", "*", 1},
      {"?", "*", 1},      {"A?", "AB", -1},   {"A*", "A*B", -1},    {"*", "", -1},       {"A\\*", "A*", 1},
      {"A\\*", "A\\*", 0}, {"A\\", "A\\x", 1},
  };
  for (const auto& [a, b, sign] : cases) {
    EXPECT_EQ(Sign(SuffixPatternCompare(a, b)), sign) << a << " vs " << b;
    EXPECT_EQ(Sign(SuffixPatternCompare(b, a)), -sign) << b << " vs " << a;
  }
  const std::tuple<SuffixEntry, SuffixEntry, int> entries[] = {
      {{"a", "TEXT", "", ""}, {"a", "", "CWIE", ""}, 1},      // an empty type ranks as "*"
      {{"a", "TEXT", "CWIE", ""}, {"a", "TEXT", "", ""}, 1},  // then the creator
      {{"a", "TEXT", "", ""}, {"b", "TEXT", "*", ""}, 1},     // "" and "*" tie: the extension decides
      {{"a", "TEXT", "", "x"}, {"a", "TEXT", "", "y"}, 1},
  };
  for (const auto& [x, y, sign] : entries) EXPECT_EQ(Sign(SuffixEntryCompare(x, y)), sign) << x.Extension;

  SuffixTable table;
  for (const SuffixEntry& row : {SuffixEntry{"txt", "TEXT", "", "plain"}, SuffixEntry{"any", "", "", ""},
                                 SuffixEntry{"doc", "W?BN", "MSWD", ""}, SuffixEntry{"csv", "TEXT", "XCEL", ""},
                                 SuffixEntry{"dot", "WTBN", "MSWD", ""}, SuffixEntry{"txt2", "TEXT", "", "plain"}}) {
    table.Append(row);
  }
  EXPECT_EQ(SuffixTableSort(table, 0), 1);  // the selection follows its row
  std::vector<std::string> order;
  for (const SuffixEntry& row : table.Rows()) order.push_back(row.Extension);
  EXPECT_EQ(order, (std::vector<std::string>{"csv", "txt", "txt2", "dot", "doc", "any"}));
  EXPECT_EQ(table.Elements().back(), SuffixEntry{});
}

TEST(SuffixEditRules, CharactersLengthsAndLayout) {
  EXPECT_TRUE(IsAlpha(" ~AZaz09?*\\"));
  for (const char* bad : {"é", "ＡＢ", "A\tB", "\x7f"}) EXPECT_FALSE(IsAlpha(bad)) << bad;
  EXPECT_TRUE(IsSuffixName("テキスト"));
  for (const char* bad : {"a\\", "a/", "a:", "a*", "a?", "a<", "a>", "a|", "a\"", ".a"}) {
    EXPECT_FALSE(IsSuffixName(bad)) << bad;
  }
  const std::pair<const char*, std::size_t> lengths[] = {{"XLS*", 3}, {"W?BN", 4}, {"A\\*BC", 4},
                                                         {"A\\\\", 2}, {"AB\\", 2}, {"***", 0}};
  for (const auto& [pattern, length] : lengths) EXPECT_EQ(SuffixPatternLength(pattern), length) << pattern;
  const std::pair<const char*, const char*> formats[] = {
      {"txt", "txt     "},        {"12345678", "12345678"}, {"123456789", "1234567~"}, {"あいうえお", "あいう～"},
      {"aあいうえ", "aあいう~"}, {"ｱｲｳｴｵｶｷｸｹ", "ｱｲｳｴｵｶｷ~"},
  };
  for (const auto& [text, expected] : formats) EXPECT_EQ(LeftFormat(text, 8), expected) << text;
  EXPECT_EQ(SuffixListLine({"doc", "W?BN", "MSWD", "Microsoft Word Docment"}),
            " doc      W?BN     MSWD     Microsoft Word Docment");
  EXPECT_EQ(SuffixListLine({"", "TEXT", "", ""}), "          TEXT              ");
}

TEST(SuffixEditRules, Validation) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {  // "" message: accepted
      {"BAK", "TEXT", "", "拡張子が不正です。"},   {"bak  ", "TEXT", "", "拡張子が不正です。"},
      {".bak", "TEXT", "", "拡張子が不正です。"},  {"   ", "TEXT", "", "拡張子が不正です。"},
      {"a/b", "TEXT", "", "拡張子が不正です。"},   {" bak", "TEXT", "", ""},
      {"", "TEXT", "", ""},                         {"x", "ÉTXT", "", "タイプが不正です。"},
      {"x", "ＴＥＸＴ", "", "タイプが不正です。"}, {"x", "ABCDE", "", "タイプが不正です。"},
      {"x", "  ABCD  ", "", ""},                    {"x", "A\\*BC", "", ""},
      {"x", "TEXT", "ABCDE", "クリエーターが不正です。"}, {"x", "TEXT", "日本", "クリエーターが不正です。"},
      {"bak", "ABCDE", "ABCDE", "拡張子が不正です。"},  // checked in order
      {"x", "   ", "", "タイプかクリエーター何れかの設定が必要です。"},
  };
  using Kind = SuffixEditResult::Kind;
  for (const auto& [ext, type, creator, message] : cases) {
    const SuffixEditResult r = ValidateSuffixEdit(ext, type, creator, "");
    EXPECT_EQ(r.kind, *message ? Kind::kRefused : Kind::kAccepted) << ext << "/" << type;
    EXPECT_EQ(r.message, message) << ext << "/" << type;
  }
  EXPECT_EQ(ValidateSuffixEdit("", "", "", "").kind, Kind::kNothing);
  EXPECT_EQ(ValidateSuffixEdit("", "", "", " ").kind, Kind::kRefused);
  const SuffixEditResult r = ValidateSuffixEdit(" txt ", " TEXT ", " ttxt", "  Text  ");
  ASSERT_EQ(r.kind, Kind::kAccepted);
  EXPECT_EQ(r.row, (SuffixEntry{" txt ", "TEXT", "ttxt", "Text"}));
}

TEST(FileNameRec, SearchTakesTheFirstFittingRow) {
  const SuffixTable table = BuiltIn();
  const std::tuple<const char*, const char*, int> cases[] = {
      {"TEXT", "CWIE", 68}, {"TEXT", "ttxt", 71}, {"GIFf", "", 30},   {"GIFF", "x", 29}, {"W8BN", "MSWD", 84},
      {"WTBN", "XXXX", -1}, {"BMP", "", 21},      {"BMP ", "", -1},   {"XLS5", "XCEL", 88}, {"MDxy", "MV12", 41},
      {"Zoo", "", 94},      {"", "", -1},
  };
  for (const auto& [type, creator, row] : cases) EXPECT_EQ(SuffixTableSearch(table, type, creator), row) << type;
  SuffixTable hiding;
  hiding.Append({"bin", "", "", ""});  // both columns empty: fits everything
  hiding.Append({"txt", "TEXT", "", ""});
  EXPECT_EQ(SuffixTableSearch(hiding, "TEXT", "ttxt"), 0);
}

TEST(FileNameRec, Names) {
  const SuffixTable table = BuiltIn();
  constexpr std::uint16_t kFull = 12, kFixed = 12 | 2, kPlain = 117 & ~64, kUnknown = 117;
  const std::string wide127 = [] { std::string s; for (int i = 0; i < 127; ++i) s += "あ"; return s; }();
  const std::tuple<std::string, const char*, const char*, std::uint16_t, std::uint16_t, const char*, std::string>
      cases[] = {
          {"Report", "TEXT", "ttxt", kFull, kPlain, "_", "Report.txt"},
          {"main.c", "TEXT", "CWIE", kFull, kPlain, "_", "main.c"},        // empty extension
          {"photo.gif", "JPEG", "", kFull, kPlain, "_", "photo.gif.jpg"},  // never replaced
          {"PHOTO.GIF", "GIFF", "", kFull, kPlain, "_", "PHOTO.GIF"},      // already there, any case
          {"a:b", "TEXT", "", kFixed, kPlain, "--", "a--b.txt"},
          {"a:b", "TEXT", "", kFixed, kPlain, "", "ab.txt"},
          {"\\/:*?\"<>|", "TEXT", "", kFull, kPlain, "_", "＼／：＊？＂＜＞｜.txt"},
          {"\\/:*?\"<>|", "TEXT", "", kFixed, kPlain, "", ""},
          {"  spaced  ", "TEXT", "", kFull, kPlain, "_", "spaced.txt"},
          {" : ", "TEXT", "", kFixed, kPlain, " ", ""},  // only spaces after substitution
          {"tab\there.", "????", "", kFull, kPlain, "_", "tab\there."},
          {std::string("a\0b", 3), "", "", kFull, kUnknown, "_", "ab()."},
          {"Report", "BMP ", " AB ", kFull, kUnknown, "_", "Report(AB).BMP"},
          {"Report", "WX/Z", "AB:D", kFixed, kUnknown, "_", "Report(AB_D).WX_Z"},
          {"Report", "WXYZ", "ABCD", kFull, kPlain, "_", "Report"},
          {wide127 + "あ", "TEXT", "", kFull, kPlain, "_", ""},  // 256 Shift JIS bytes
          {wide127 + "a", "TEXT", "", kFull, kPlain, "_", wide127 + "a.txt"},
          {std::string(254, 'n') + ":", "TEXT", "", kFull, kPlain, "_", ""},  // a substitute counts two bytes
      };
  for (const auto& [name, type, creator, convMode, fileMode, fnc, expected] : cases) {
    ConversionSettings settings;
    settings.ConvMode = convMode;
    settings.FileMode = fileMode;
    settings.FNCChar = fnc;
    EXPECT_EQ(FileNameRec(table, NameRulesOf(settings), name, type, creator), expected) << name;
  }
}

}  // namespace
}  // namespace ferrox
