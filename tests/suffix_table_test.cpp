// The suffix table in memory and in its file SfxTbl.txt.

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

#include "convert/cp932.h"
#include "suffix/suffix_table.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;

std::string ReadBytes(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void WriteBytes(const fs::path& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

SuffixTable Parsed(std::string_view cp932) {
  SuffixTable table;
  EXPECT_EQ(SuffixTableParse(table, cp932), SuffixLoadStatus::kLoaded);
  return table;
}

std::vector<SuffixEntry> Rows(const SuffixTable& table) { return {table.Rows().begin(), table.Rows().end()}; }

TEST(SuffixTable, BuiltInRows) {
  SuffixTable table;
  table.Append({"x", "y", "", ""});
  SuffixTableDefault(table);
  ASSERT_EQ(table.RowCount(), 100u);
  EXPECT_EQ(table.Elements().size(), 101u);
  EXPECT_EQ(table[0], (SuffixEntry{"sct", "..CT", "", "Scitex Continuous Tone Image"}));
  EXPECT_EQ(table[2], (SuffixEntry{"wp", ".WP?", "WPC2", "WordPerfect Document"}));
  EXPECT_EQ(table[28], (SuffixEntry{"flm", "Film", "PrMr", "Adobe Premire Data"}));
  EXPECT_EQ(table[68], (SuffixEntry{"", "TEXT", "CWIE", "CodeWarrior Document(.c .h .cpp .class)"}));
  EXPECT_EQ(table[84], (SuffixEntry{"doc", "W?BN", "MSWD", "Microsoft Word Docment"}));
  EXPECT_EQ(table[92], (SuffixEntry{"zip", "ZIP", "", "AIP Archive"}));
  EXPECT_EQ(table[99], (SuffixEntry{"txt", "ttro", "", "SimpleText Read Only Text Data"}));
  std::size_t threeCharTypes = 0, patterned = 0;
  for (const SuffixEntry& row : table.Rows()) {
    threeCharTypes += row.FileType.size() == 3;
    patterned += (row.FileType + row.Creator).find_first_of("?*") != std::string::npos;
  }
  EXPECT_EQ(threeCharTypes, 19u);  // Zoo included
  EXPECT_EQ(patterned, 14u);
}

struct ParseCase {
  const char* name;
  std::string_view text;  // CP932 bytes
  std::vector<SuffixEntry> rows;

  friend void PrintTo(const ParseCase& c, std::ostream* os) { *os << c.name; }
};

class SuffixParse : public testing::TestWithParam<ParseCase> {};

TEST_P(SuffixParse, Rows) { EXPECT_EQ(Rows(Parsed(GetParam().text)), GetParam().rows) << GetParam().name; }

INSTANTIATE_TEST_SUITE_P(
    Cases, SuffixParse,
    testing::Values(
        ParseCase{"two fields", "txt\tTEXT\r\n", {{"txt", "TEXT", "", ""}}},
        ParseCase{"five fields keep four", "a\tb\tc\td\te\r\n", {{"a", "b", "c", "d"}}},
        ParseCase{"empty creator kept", "doc\tWTBN\t\tWord\r\n", {{"doc", "WTBN", "", "Word"}}},
        ParseCase{"one leading dot removed", ".gif\tGIFF\r\n..gif\tGIFf\r\n",
                  {{"gif", "GIFF", "", ""}, {".gif", "GIFf", "", ""}}},
        ParseCase{"spaces are kept", " txt \t TEXT\r\n", {{" txt ", " TEXT", "", ""}}},
        ParseCase{"no separator, empty line, comment", "gif\r\n\r\n/a\tb\tc\r\nx\ty\r\n", {{"x", "y", "", ""}}},
        ParseCase{"last line without CR LF", "a\tb\r\nc\td", {{"a", "b", "", ""}}},
        ParseCase{"lone LF is not a line end", "a\tb\nc\td\r\n", {{"a", "b\nc", "d", ""}}},
        ParseCase{"Punct= switches, case-insensitive",
                  "Punct=,\r\ngif,GIFF,,GIFF Image\r\npunct=;\r\njpg;JPEG\r\nx,y\r\n",
                  {{"gif", "GIFF", "", "GIFF Image"}, {"jpg", "JPEG", "", ""}}},
        ParseCase{"empty Punct= keeps the separator", "PUNCT=\r\na\tb\r\n", {{"a", "b", "", ""}}},
        ParseCase{"long separator", "Punct=::\r\na::b:c::d\r\n", {{"a", "b:c", "d", ""}}},
        // 表 is 0x95 0x5C: its trail byte is a backslash, which must not
        // split it when the separator is a backslash.
        ParseCase{"separator inside a double-byte character", "Punct=\\\r\nxls\\XLS*\\XCEL\\\x95\x5c\x8c\x76\x8e\x5a\r\n",
                  {{"xls", "XLS*", "XCEL", "表計算"}}},
        ParseCase{"CP932 description", "bmp\tBMP\t\t\x89\xe6\x91\x9c\r\n", {{"bmp", "BMP", "", "画像"}}}),
    [](const testing::TestParamInfo<ParseCase>& param) { return "case" + std::to_string(param.index); });

class SuffixFile : public testing::Test {
 protected:
  QTemporaryDir dir_;
  std::string folder_ = dir_.path().toStdString();
  fs::path file_ = fs::path(folder_) / "SfxTbl.txt";
  fs::path old_ = fs::path(folder_) / "SfxTbl.old";
};

TEST_F(SuffixFile, MissingFileGivesBuiltInTable) {
  SuffixTable table;
  const SuffixLoadResult result = SuffixTableLoad(table, folder_);
  EXPECT_EQ(result.status, SuffixLoadStatus::kDefault);
  EXPECT_FALSE(result.Failed());
  EXPECT_EQ(table.RowCount(), 100u);
}

TEST_F(SuffixFile, EmptyFileGivesEmptyTable) {
  WriteBytes(file_, "");
  SuffixTable table;
  SuffixTableDefault(table);
  EXPECT_EQ(SuffixTableLoad(table, folder_).status, SuffixLoadStatus::kEmptyFile);
  EXPECT_EQ(table.RowCount(), 0u);
}

TEST_F(SuffixFile, HandMadeFile) {
  WriteBytes(file_,
             "/ my own table\r\n"
             "Punct=,\r\n"
             ".gif,GIFF,,\x89\xe6\x91\x9c\r\n"
             "doc,W?BN,MSWD,Word,extra\r\n"
             "lonely\r\n"
             "txt,TEXT");
  SuffixTable table;
  const SuffixLoadResult result = SuffixTableLoad(table, folder_);
  EXPECT_EQ(result.status, SuffixLoadStatus::kLoaded);
  EXPECT_EQ(result.path, file_.string());
  EXPECT_EQ(Rows(table), (std::vector<SuffixEntry>{{"gif", "GIFF", "", "画像"}, {"doc", "W?BN", "MSWD", "Word"}}));
}

TEST_F(SuffixFile, WrittenTableReadsBack) {
  SuffixTable table;
  SuffixTableDefault(table);
  table.Append({"txt", "TEXT", "", ""});
  table.Append({"hlp", "HELP", "", "ヘルプ 表示"});
  table.Append({"", "X\\*Y", "a b", ""});
  table.Append({"ﾃｷｽﾄ", "", "ttxt", "半角ｶﾅ"});
  ASSERT_TRUE(SuffixTableSave(table, folder_));
  SuffixTable back;
  EXPECT_EQ(SuffixTableLoad(back, folder_).status, SuffixLoadStatus::kLoaded);
  EXPECT_EQ(back, table);

  const std::string bytes = ReadBytes(file_);
  EXPECT_EQ(bytes.find("\n"), bytes.find("\r\n") + 1);  // every line ends in CR LF
  for (std::size_t p = bytes.find('\n'); p != std::string::npos; p = bytes.find('\n', p + 1)) {
    ASSERT_EQ(bytes[p - 1], '\r') << p;
  }
  EXPECT_NE(bytes.find("\r\ntxt\tTEXT\r\n"), std::string::npos);
  EXPECT_NE(bytes.find("\r\nhlp\tHELP\t\t"), std::string::npos);
  EXPECT_EQ(bytes.find("Punct="), std::string::npos);
}

TEST_F(SuffixFile, HeaderLayout) {
  SuffixTable table;
  table.Append({"txt", "TEXT", "", ""});
  const std::string text = SuffixTableText(table, "2024/01/05");
  const std::string rule = "/" + std::string(78, '-') + "/";
  EXPECT_EQ(text, rule + "\r\n/ Ferrox 拡張子定義ファイル                  by Ferrox v2.9 2024/01/05 /\r\n" + rule +
                      "\r\n/このファイルは Ferrox が自動で書き換えます。直接編集しないで下さい。\r\n"
                      "/一応、ヘルプに説明が書いてあります。\r\ntxt\tTEXT\r\n");
  // The header is CP932 in the file.
  ASSERT_TRUE(SuffixTableSave(table, folder_));
  EXPECT_NE(ReadBytes(file_).find("\x8a\x67\x92\xa3\x8e\x71\x92\xe8\x8b\x60\x83\x74\x83\x40\x83\x43\x83\x8b"),
            std::string::npos);
}

TEST_F(SuffixFile, BackupCopiesTheFileAndReplacesAnOldBackup) {
  EXPECT_FALSE(SuffixTableBackup(folder_));  // nothing to back up
  WriteBytes(file_, "a\tb\r\n");
  WriteBytes(old_, "stale");
  EXPECT_TRUE(SuffixTableBackup(folder_));
  EXPECT_EQ(ReadBytes(old_), "a\tb\r\n");
  EXPECT_EQ(ReadBytes(file_), "a\tb\r\n");
}

TEST_F(SuffixFile, FailedSaveLeavesWhatWasThere) {
  // A folder in the table file's place cannot be replaced by a file.
  fs::create_directory(file_);
  WriteBytes(file_ / "inside", "x");
  SuffixTable table;
  table.Append({"x", "y", "", ""});
  EXPECT_FALSE(SuffixTableSave(table, folder_));
  EXPECT_FALSE(SuffixTableSave(table, folder_ + "/missing"));
  EXPECT_EQ(ReadBytes(file_ / "inside"), "x");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()), 1);  // no temp left
}

std::string Lines(std::size_t count, std::string_view line) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += line;
  return text;
}

TEST_F(SuffixFile, LineEndsPastByte32767AreAnError) {
  // 4681 lines of 7 bytes end at byte 32,767; the next line end lies beyond.
  const std::string fits = Lines(4681, "a\tTXT\r\n");
  ASSERT_EQ(fits.size(), 32767u);
  struct Case {
    std::string text;
    SuffixLoadStatus status;
    std::size_t rows;
  } cases[] = {
      {fits, SuffixLoadStatus::kLoaded, 4681},
      {fits + "tail without a line end", SuffixLoadStatus::kLoaded, 4681},
      {fits.substr(0, fits.size() - 1) + "x\r\n", SuffixLoadStatus::kTooLarge, 4680},  // CR at 32,767 + 1
      {fits + "c\td\r\n", SuffixLoadStatus::kTooLarge, 4681},
      {fits + std::string(100000, 'x') + "\r\n", SuffixLoadStatus::kTooLarge, 4681},
  };
  for (const Case& c : cases) {
    WriteBytes(file_, c.text);
    SuffixTable table;
    const SuffixLoadResult result = SuffixTableLoad(table, folder_);
    EXPECT_EQ(result.status, c.status) << c.text.size();
    EXPECT_EQ(table.RowCount(), c.rows) << c.text.size();
    EXPECT_EQ(result.Failed(), !SuffixLoadMessage(result).empty());
    if (result.Failed()) {
      EXPECT_NE(SuffixLoadMessage(result).find(file_.string()), std::string::npos);
    }
  }
}

TEST_F(SuffixFile, UnreadableFileIsAnErrorAndKeepsTheTable) {
  WriteBytes(file_, "a\tb\r\n");
  fs::permissions(file_, fs::perms::none);
  fs::permissions(folder_, fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec);
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
  // Root reads every file: check as an ordinary user in a child process.
  const pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(2);
    ::_exit(check() ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == 2) GTEST_SKIP() << "cannot drop privileges";
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
}  // namespace ferrox
