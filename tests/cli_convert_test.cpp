// The ferrox command end to end.

#include <fcntl.h>
#include <sys/stat.h>

#include <ctime>
#include <filesystem>

#include "helpers/cli_runner.h"
#include "helpers/macbinary_builder.h"

namespace ferrox::testing {
namespace {

namespace fs = std::filesystem;

const std::string kText = "変換のテスト\nｶﾀｶﾅも一行\n最後の行\n";
const std::string kEuc = Encode(kText, "EUC-JP");
// What every text below becomes: Shift JIS with CR LF.
const std::string kConverted = Sjis("変換のテスト\r\nｶﾀｶﾅも一行\r\n最後の行\r\n");

struct stat StatOf(const std::string& path) {
  struct stat st {};
  ::stat(path.c_str(), &st);
  return st;
}

using CliConvert = CliTest;

TEST_F(CliConvert, OneFileKeepsTimesAndPermissions) {
  Write("in/euc.txt", kEuc);
  ::chmod(Path("in/euc.txt").c_str(), 0640);
  const struct timespec times[2] = {{1000000000, 123456789}, {1100000000, 987654321}};
  ASSERT_EQ(::utimensat(AT_FDCWD, Path("in/euc.txt").c_str(), times, 0), 0);
  const CliResult r = Run({"convert", "in/euc.txt", "out/sjis.txt"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");  // no progress when stderr is not a terminal
  const struct stat st = StatOf(Path("out/sjis.txt"));  // before reading moves the access time
  EXPECT_EQ(Read("out/sjis.txt"), kConverted);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
  EXPECT_EQ(st.st_mtim.tv_sec, 1100000000);
  EXPECT_EQ(st.st_mtim.tv_nsec, 987654321);
  // The access time is the input's when the job read it: the survey before it has already read the file.
  EXPECT_LE(st.st_atim.tv_sec, StatOf(Path("in/euc.txt")).st_atim.tv_sec);
  EXPECT_EQ(Read("in/euc.txt"), kEuc);
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliConvert, FolderTreeConvertsEveryCodeAndCopiesBinary) {
  std::string binary;
  for (int i = 0; i < 3000; ++i) binary += static_cast<char>((i * 7 + i / 13) & 0xFF);
  const std::pair<const char*, std::string> files[] = {
      {"a.txt", kEuc},
      {"sub/deeper/cr.txt", Sjis("変換のテスト\rｶﾀｶﾅも一行\r最後の行\r")},
      {"sub/deeper/mixed.txt", Sjis("変換のテスト\r\nｶﾀｶﾅも一行\n最後の行\r")},
      {"crlf.txt", kConverted},
      {"bin.dat", binary},
      {"empty.txt", ""},
  };
  for (const auto& [name, bytes] : files) Write(std::string("in/") + name, bytes);
  fs::create_directories(Path("in/emptyfolder"));
  const CliResult r = Run({"convert", "in", "in/out"});  // an output inside the input is not walked again
  EXPECT_EQ(r.status, 0) << r.err;
  for (const auto& [name, bytes] : files) {
    const std::string out = Read(std::string("in/out/") + name);
    EXPECT_EQ(out, bytes == binary || bytes.empty() ? bytes : kConverted) << name;
  }
  EXPECT_TRUE(Exists("in/out/empty.txt"));
  EXPECT_TRUE(fs::is_directory(Path("in/out/emptyfolder")));
  EXPECT_FALSE(Exists("in/out/out"));
  EXPECT_TRUE(WorkFilesLeft(root_).empty());

  // Without the folder bit (117 less 16) a folder converts nothing.
  EXPECT_EQ(Run({"convert", "--file-mode", "101", "in", "out2"}).status, 0);
  EXPECT_FALSE(Exists("out2"));
}

TEST_F(CliConvert, WildcardAndListRuns) {
  for (const char* name : {"in/a.txt", "in/B.TXT", "in/c.doc", "in/sub.txt/d.txt", "b b.txt"}) Write(name, kEuc);
  const CliResult r = Run(CliCall{{"convert", "*.txt", "../out"}, Path("in"), {}, {}});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Read("out/a.txt"), kConverted);
  EXPECT_EQ(Read("out/B.TXT"), kConverted);
  EXPECT_FALSE(Exists("out/c.doc"));
  EXPECT_EQ(Read("out/sub.txt/d.txt"), kConverted);  // a matching folder is walked

  const CliResult list = Run({"convert", "\"in/a.txt\", \"b b.txt\"", "\"x/1.txt\",\"y,2.txt\""});
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_EQ(Read("x/1.txt"), kConverted);
  EXPECT_EQ(Read("y,2.txt"), kConverted);
}

TEST_F(CliConvert, MacBinaryUnwrappedWithTheHeaderDatesOrKeptWithNewLengths) {
  const std::string data = Sjis("一行目\r二行目\r");
  // Created 2001-04-12 12:30:00, modified 2001-04-13 18:05:20, Macintosh seconds.
  const std::string input = MacBinaryFile({Sjis("メモ"), "TEXT", "ttxt", 0, 0, 3069923400u, 3070029920u}, data, "RESOURCE!!");
  Write("mac.bin", input);
  const std::string converted = Sjis("一行目\r\n二行目\r\n");
  EXPECT_EQ(Run({"convert", "mac.bin", "memo.txt"}).status, 0);
  const std::time_t modified = 3070029920 - 2082844800;  // local time, and the child runs with TZ=UTC
  EXPECT_EQ(StatOf(Path("memo.txt")).st_mtim.tv_sec, modified);
  EXPECT_EQ(StatOf(Path("memo.txt")).st_atim.tv_sec, modified);
  EXPECT_EQ(Read("memo.txt"), converted);
  EXPECT_EQ(Run({"convert", "--file-mode", "113", "mac.bin", "own.txt"}).status, 0);  // without bit 4
  EXPECT_EQ(StatOf(Path("own.txt")).st_mtim.tv_sec, StatOf(Path("mac.bin")).st_mtim.tv_sec);

  EXPECT_EQ(Run({"convert", "--no-cut", "mac.bin", "kept.bin"}).status, 0);
  std::string header = input.substr(0, 128);
  header[86] = static_cast<char>(converted.size());  // the data length; no resource fork any more
  header[90] = 0;
  EXPECT_EQ(Read("kept.bin"), header + converted);
}

TEST_F(CliConvert, PinnedCheckBoxesOverrideTheSurvey) {
  Write("euc.txt", kEuc);
  EXPECT_EQ(Run({"convert", "--no-text", "--cut", "euc.txt", "copy.txt"}).status, 0);
  EXPECT_EQ(Read("copy.txt"), kEuc);
  const CliResult none = Run({"convert", "--no-text", "--no-cut", "euc.txt", "none.txt"});
  EXPECT_EQ(none.status, 3);
  EXPECT_EQ(none.err, root_ + "/euc.txt: 変換設定がされていません\n");  // each message of a file names it
  EXPECT_FALSE(Exists("none.txt"));
}

TEST_F(CliConvert, OldOutputIsBackedUpTrashedOrReplacedAndTheInputDeletedOnRequest) {
  const std::tuple<const char*, bool, bool, bool> cases[] = {
      // FileMode, old output in .bak, old output in the trash, input kept
      {"117", true, false, true}, {"244", false, true, true}, {"116", false, false, true}, {"373", true, false, false}};
  for (const auto& [fileMode, backup, trashed, inputKept] : cases) {
    const std::string dir = std::string("case") + fileMode;
    fs::remove_all(Path(".home/.local/share/Trash"));
    Write(dir + "/in.txt", kEuc);
    Write(dir + "/out.txt", "old output");
    Write(dir + "/out.bak", "older backup");
    const CliResult r = Run({"convert", "--file-mode", fileMode, dir + "/in.txt", dir + "/out.txt"});
    EXPECT_EQ(r.status, 0) << fileMode << r.err;
    EXPECT_EQ(Read(dir + "/out.txt"), kConverted) << fileMode;
    EXPECT_EQ(Read(dir + "/out.bak"), backup ? "old output" : "older backup") << fileMode;
    EXPECT_EQ(Read(".home/.local/share/Trash/files/out.txt"), trashed ? "old output" : "") << fileMode;
    EXPECT_EQ(Exists(".home/.local/share/Trash/info/out.txt.trashinfo"), trashed) << fileMode;
    EXPECT_EQ(Exists(dir + "/in.txt"), inputKept) << fileMode;
  }
  // An output named .bak cannot keep its backup: nothing is touched.
  Write("out.bak", "old");
  const CliResult r = Run({"convert", "case117/in.txt", "out.bak"});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, root_ + "/case117/in.txt: 変換出来ませんでした\n");
  EXPECT_EQ(Read("out.bak"), "old");
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

}  // namespace
}  // namespace ferrox::testing
