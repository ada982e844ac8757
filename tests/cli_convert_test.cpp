// The ferrox command end to end: one file, folder trees, wildcards and lists,
// MacBinary, old outputs, file times and permissions.

#include <fcntl.h>
#include <sys/stat.h>

#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "helpers/cli_runner.h"

namespace ferrox::testing {
namespace {

namespace fs = std::filesystem;

const std::string kText = "変換のテスト\nｶﾀｶﾅも一行\n最後の行\n";
// What every text below becomes: Shift JIS with CR LF.
const std::string kConverted = Sjis("変換のテスト\r\nｶﾀｶﾅも一行\r\n最後の行\r\n");

std::string Binary() {
  std::string bytes;
  for (int i = 0; i < 3000; ++i) bytes += static_cast<char>((i * 7 + i / 13) & 0xFF);
  return bytes;
}

std::string MacBinary(const std::string& sjisName, const std::string& data, std::uint32_t created,
                      std::uint32_t modified) {
  std::string h(128, '\0');
  h[1] = static_cast<char>(sjisName.size());
  h.replace(2, sjisName.size(), sjisName);
  h.replace(65, 8, "TEXTttxt");
  const auto put32 = [&h](std::size_t at, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) h[at + static_cast<std::size_t>(i)] = static_cast<char>(v >> (24 - 8 * i));
  };
  put32(83, static_cast<std::uint32_t>(data.size()));
  put32(87, 10);
  put32(91, created);
  put32(95, modified);
  std::string file = h + data;
  file.append((128 - data.size() % 128) % 128, '\0');
  file += std::string("RESOURCE!!") + std::string(118, '\0');
  return file;
}

std::uint32_t Be32(const std::string& bytes, std::size_t at) {
  std::uint32_t v = 0;
  for (std::size_t i = 0; i < 4; ++i) v = v << 8 | static_cast<unsigned char>(bytes[at + i]);
  return v;
}

struct stat StatOf(const std::string& path) {
  struct stat st {};
  ::stat(path.c_str(), &st);
  return st;
}

void SetTimes(const std::string& path, std::time_t access, std::time_t modify) {
  const struct timespec times[2] = {{access, 123456789}, {modify, 987654321}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

using CliConvert = CliTest;

TEST_F(CliConvert, OneFileKeepsTimesAndPermissions) {
  Write("in/euc.txt", Encode(kText, "EUC-JP"));
  ::chmod(Path("in/euc.txt").c_str(), 0640);
  SetTimes(Path("in/euc.txt"), 1000000000, 1100000000);

  const CliResult r = Run({"convert", "in/euc.txt", "out/sjis.txt"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");  // no progress when stderr is not a terminal
  const struct stat st = StatOf(Path("out/sjis.txt"));  // before reading moves the access time
  EXPECT_EQ(Read("out/sjis.txt"), kConverted);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
  EXPECT_EQ(st.st_mtim.tv_sec, 1100000000);
  EXPECT_EQ(st.st_mtim.tv_nsec, 987654321);
  // The access time is whatever the input had when the job read it: the
  // survey before it has already read the file.
  EXPECT_LE(st.st_atim.tv_sec, StatOf(Path("in/euc.txt")).st_atim.tv_sec);
  EXPECT_EQ(Read("in/euc.txt"), Encode(kText, "EUC-JP"));  // the input is never touched
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliConvert, EveryCodeAndLineEndBecomesShiftJisCrLf) {
  const std::pair<const char*, std::string> inputs[] = {
      {"euc-lf.txt", Encode(kText, "EUC-JP")},
      {"jis-lf.txt", Encode("変換のテスト\nカタカナも一行\n最後の行\n", "ISO-2022-JP")},
      {"sjis-cr.txt", Sjis("変換のテスト\rｶﾀｶﾅも一行\r最後の行\r")},
      {"sjis-mixed.txt", Sjis("変換のテスト\r\nｶﾀｶﾅも一行\n最後の行\r")},
      {"sjis-crlf.txt", kConverted},
  };
  for (const auto& [name, bytes] : inputs) Write(std::string("in/") + name, bytes);
  const CliResult r = Run({"convert", "in", "out"});
  EXPECT_EQ(r.status, 0) << r.err;
  for (const auto& [name, bytes] : inputs) {
    // ISO-2022-JP has no half-width kana: its sample uses full-width ones.
    if (std::strcmp(name, "jis-lf.txt") == 0) continue;
    EXPECT_EQ(Read(std::string("out/") + name), kConverted) << name;
  }
  EXPECT_EQ(Read("out/jis-lf.txt"), Sjis("変換のテスト\r\nカタカナも一行\r\n最後の行\r\n"));
}

TEST_F(CliConvert, FolderTreeConvertsTextAndCopiesBinary) {
  Write("in/a.txt", Encode(kText, "EUC-JP"));
  Write("in/bin.dat", Binary());
  Write("in/sub/b.txt", Encode(kText, "EUC-JP"));
  Write("in/sub/deeper/c.txt", Sjis("変換のテスト\nｶﾀｶﾅも一行\n最後の行\n"));
  Write("in/sub/deeper/empty.txt", "");
  fs::create_directories(Path("in/emptyfolder"));

  const CliResult r = Run({"convert", "in", "out"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Read("out/a.txt"), kConverted);
  EXPECT_EQ(Read("out/bin.dat"), Binary());
  EXPECT_EQ(Read("out/sub/b.txt"), kConverted);
  EXPECT_EQ(Read("out/sub/deeper/c.txt"), kConverted);
  EXPECT_TRUE(Exists("out/sub/deeper/empty.txt"));
  EXPECT_TRUE(fs::is_directory(Path("out/emptyfolder")));
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliConvert, FolderWithoutFolderSelectionConvertsNothing) {
  Write("in/a.txt", kConverted);
  const CliResult r = Run({"convert", "--file-mode", "101", "in", "out"});  // 117 without 16
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_FALSE(Exists("out/a.txt"));
}

TEST_F(CliConvert, OutputInsideTheInputFolderIsNotWalkedAgain) {
  Write("in/a.txt", Encode(kText, "EUC-JP"));
  Write("in/sub/b.txt", Encode(kText, "EUC-JP"));
  const CliResult r = Run({"convert", "in", "in/out"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Read("in/out/a.txt"), kConverted);
  EXPECT_EQ(Read("in/out/sub/b.txt"), kConverted);
  EXPECT_FALSE(Exists("in/out/out"));
}

TEST_F(CliConvert, WildcardTakesMatchingFilesOnly) {
  Write("in/a.txt", Encode(kText, "EUC-JP"));
  Write("in/B.TXT", Encode(kText, "EUC-JP"));
  Write("in/c.doc", Encode(kText, "EUC-JP"));
  Write("in/sub.txt/d.txt", Encode(kText, "EUC-JP"));
  const CliResult r = Run(CliCall{{"convert", "*.txt", "../out"}, Path("in"), {}, {}});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Read("out/a.txt"), kConverted);
  EXPECT_EQ(Read("out/B.TXT"), kConverted);
  EXPECT_FALSE(Exists("out/c.doc"));
  EXPECT_EQ(Read("out/sub.txt/d.txt"), kConverted);  // a matching folder is walked
}

TEST_F(CliConvert, QuotedListConvertsPairByPair) {
  Write("a.txt", Encode(kText, "EUC-JP"));
  Write("b b.txt", Encode(kText, "EUC-JP"));
  const CliResult r = Run({"convert", "\"a.txt\", \"b b.txt\"", "\"x/1.txt\",\"y,2.txt\""});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Read("x/1.txt"), kConverted);
  EXPECT_EQ(Read("y,2.txt"), kConverted);
}

TEST_F(CliConvert, MacBinaryIsUnwrappedWithTheHeaderDates) {
  const std::string data = Sjis("一行目\r二行目\r");
  // Created 2001-04-12 12:30:00, modified 2001-04-13 18:05:20, Macintosh seconds.
  Write("mac.bin", MacBinary(Sjis("メモ"), data, 3069923400u, 3070029920u));
  const CliResult r = Run({"convert", "mac.bin", "memo.txt"});
  EXPECT_EQ(r.status, 0) << r.err;
  // The header dates are local time; the child ran with TZ=UTC.
  const std::time_t modified = 3070029920 - 2082844800;
  EXPECT_EQ(StatOf(Path("memo.txt")).st_mtim.tv_sec, modified);
  EXPECT_EQ(StatOf(Path("memo.txt")).st_atim.tv_sec, modified);
  EXPECT_EQ(Read("memo.txt"), Sjis("一行目\r\n二行目\r\n"));

  const CliResult own = Run({"convert", "--file-mode", "113", "mac.bin", "own.txt"});  // without bit 4
  EXPECT_EQ(own.status, 0) << own.err;
  EXPECT_EQ(StatOf(Path("own.txt")).st_mtim.tv_sec, StatOf(Path("mac.bin")).st_mtim.tv_sec);
}

TEST_F(CliConvert, MacBinaryKeptGetsItsNewLengths) {
  const std::string data = Sjis("一行目\r二行目\r");
  const std::string input = MacBinary(Sjis("メモ"), data, 3069923400u, 3070029920u);
  Write("mac.bin", input);
  const CliResult r = Run({"convert", "--no-cut", "mac.bin", "kept.bin"});
  EXPECT_EQ(r.status, 0) << r.err;
  const std::string kept = Read("kept.bin");
  const std::string converted = Sjis("一行目\r\n二行目\r\n");
  ASSERT_EQ(kept.size(), 128 + converted.size());
  EXPECT_EQ(kept.substr(128), converted);
  EXPECT_EQ(Be32(kept, 83), converted.size());
  EXPECT_EQ(Be32(kept, 87), 0u);
  EXPECT_EQ(kept.substr(0, 83), input.substr(0, 83));
}

TEST_F(CliConvert, PinnedCheckBoxesOverrideTheSurvey) {
  Write("euc.txt", Encode(kText, "EUC-JP"));
  const CliResult copy = Run({"convert", "--no-text", "--cut", "euc.txt", "copy.txt"});
  EXPECT_EQ(copy.status, 0) << copy.err;
  EXPECT_EQ(Read("copy.txt"), Encode(kText, "EUC-JP"));

  const CliResult none = Run({"convert", "--no-text", "--no-cut", "euc.txt", "none.txt"});
  EXPECT_EQ(none.status, 3);
  EXPECT_EQ(none.err, "変換設定がされていません\n");
  EXPECT_FALSE(Exists("none.txt"));
}

struct OldOutputCase {
  const char* fileMode;
  bool backup;
  bool trashed;
};

TEST_F(CliConvert, OldOutputIsBackedUpTrashedOrReplaced) {
  const OldOutputCase cases[] = {{"117", true, false}, {"244", false, true}, {"116", false, false}};
  int n = 0;
  for (const auto& c : cases) {
    const std::string dir = "case" + std::to_string(++n);
    fs::remove_all(Path(".home/.local/share/Trash"));
    Write(dir + "/in.txt", Encode(kText, "EUC-JP"));
    Write(dir + "/out.txt", "old output");
    Write(dir + "/out.bak", "older backup");
    const CliResult r = Run({"convert", "--file-mode", c.fileMode, dir + "/in.txt", dir + "/out.txt"});
    EXPECT_EQ(r.status, 0) << c.fileMode << r.err;
    EXPECT_EQ(Read(dir + "/out.txt"), kConverted) << c.fileMode;
    EXPECT_EQ(Read(dir + "/out.bak"), c.backup ? "old output" : "older backup") << c.fileMode;
    bool inTrash = false;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(Path(".home/.local/share/Trash/files"), ec)) {
      if (e.path().filename() == "out.txt" || e.path().filename().string().starts_with("out.")) {
        std::ifstream f(e.path(), std::ios::binary);
        std::string content((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
        inTrash = inTrash || content == "old output";
      }
    }
    EXPECT_EQ(inTrash, c.trashed) << c.fileMode;
    EXPECT_TRUE(Exists(dir + "/in.txt"));
  }
}

TEST_F(CliConvert, DeleteInputAfterSuccess) {
  Write("in.txt", Encode(kText, "EUC-JP"));
  const CliResult r = Run({"convert", "--file-mode", "373", "in.txt", "out.txt"});  // 117 + 256
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Read("out.txt"), kConverted);
  EXPECT_FALSE(Exists("in.txt"));
}

TEST_F(CliConvert, OutputNamedBakCannotKeepItsBackup) {
  Write("in.txt", Encode(kText, "EUC-JP"));
  Write("out.bak", "old");
  const CliResult r = Run({"convert", "in.txt", "out.bak"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "変換出来ませんでした\n");
  EXPECT_EQ(Read("out.bak"), "old");
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

}  // namespace
}  // namespace ferrox::testing
