// The ferrox command end to end: conversions of files, folders, wildcards and
// lists; every check of a run with its message and status (nothing is
// converted after one fails); the survey and name commands; the options, help
// and survey --json; and "-" as standard input and output: the same bytes as the
// file forms, flat memory, no binary on a terminal.

#include <fcntl.h>
#include <sys/stat.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

#include "helpers/binhex_encoder.h"
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
  const CliResult r = RunOk({"convert", "in/euc.txt", "out/sjis.txt"});
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
  RunOk({"convert", "in", "in/out"});  // an output inside the input is not walked again
  for (const auto& [name, bytes] : files) {
    const std::string out = Read(std::string("in/out/") + name);
    EXPECT_EQ(out, bytes == binary || bytes.empty() ? bytes : kConverted) << name;
  }
  EXPECT_TRUE(Exists("in/out/empty.txt"));
  EXPECT_TRUE(fs::is_directory(Path("in/out/emptyfolder")));
  EXPECT_FALSE(Exists("in/out/out"));
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliConvert, WildcardAndListRuns) {
  for (const char* name : {"in/a.txt", "in/B.TXT", "in/c.doc", "in/sub.txt/d.txt", "b b.txt"}) Write(name, kEuc);
  RunOk(CliCall{{"convert", "*.txt", "../out"}, Path("in"), {}, {}});
  EXPECT_EQ(Read("out/a.txt"), kConverted);
  EXPECT_EQ(Read("out/B.TXT"), kConverted);
  EXPECT_FALSE(Exists("out/c.doc"));
  EXPECT_EQ(Read("out/sub.txt/d.txt"), kConverted);  // a matching folder is walked

  RunOk({"convert", "\"in/a.txt\", \"b b.txt\"", "\"x/1.txt\",\"y,2.txt\""});
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
    RunOk({"convert", "--file-mode", fileMode, dir + "/in.txt", dir + "/out.txt"});
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

class CliMessages : public CliTest {
 protected:
  void SetUp() override {
    CliTest::SetUp();
    Write("in/a.txt", Sjis("テキスト\n"));
    Write("in/b.txt", Sjis("テキスト\n"));
    Write("bin.dat", std::string("\x00\x01\x02\x03\xff\xfe", 6) + std::string(500, '\0'));
    Write("afile", "x");
    fs::create_directories(Path("adir"));
  }
  // "@" stands for the test's root folder.
  std::string Expand(std::string text) const {
    for (auto at = text.find('@'); at != std::string::npos; at = text.find('@', at + root_.size())) {
      text.replace(at, 1, root_);
    }
    return text;
  }
};

TEST_F(CliMessages, EveryCheckSaysWhatIsWrong) {
  const std::string longName = "@/" + std::string(4100, 'x');
  const std::tuple<std::vector<std::string>, std::string, int> cases[] = {
      {{"   ", "out"}, "入力ﾌｧｲﾙが指定されていません", 1},
      {{"none.txt", "out.txt"}, "入力ﾌｧｲﾙ [@/none.txt] が見つかりません", 1},
      {{"gone\x1b[2J.txt", "out.txt"}, "入力ﾌｧｲﾙ [@/gone\\x1B[2J.txt] が見つかりません", 1},
      {{longName, "out.txt"}, "入力ﾌｧｲﾙ [" + longName + "] が見つかりません", 1},
      {{"in/a.txt", longName}, "出力ﾌｧｲﾙ/ﾌｫﾙﾀﾞ名が長すぎます", 2},
      {{"\"in/a.txt\",\"in/b.txt\",\"in/a.txt\"", "\"o1\",\"o2\""}, "入力ﾌｧｲﾙと出力ﾌｧｲﾙの数が一致しません", 1},
      {{"\"in/a.txt\",\"\"", "\"o1\",\"o2\""}, "入力ﾌｧｲﾙ [] が不正です", 1},
      {{"in/a.txt", " "}, "出力ﾌｧｲﾙ [] が不正です", 2},
      {{"in/a.txt", "adir"}, "出力ﾌｧｲﾙ [@/adir] が不正です", 2},
      {{"in", "afile"}, "出力ﾌｧｲﾙ [@/afile] が不正です", 2},
      {{"in/*.txt", "o*"}, "[@/o*] 出力ﾌｧｲﾙにﾜｲﾙﾄﾞｶｰﾄﾞは指定できません", 2},
      {{"i*/a.txt", "out"}, "[@/i*/a.txt] ﾜｲﾙﾄﾞｶｰﾄﾞはﾊﾟｽの途中で使用できません", 1},
      {{"in/*.txt", "afile"}, "出力ﾌｫﾙﾀﾞ [@/afile] が不正です", 2},
      {{"\"in/a.txt\",\"in/none\"", "\"o1\",\"o2\""}, "入力ﾌｧｲﾙ [@/in/none] が見つかりません", 1},
      {{"\"in/a.txt\",\"in/b.txt\"", "\"o1\",\"adir\""}, "出力ﾌｧｲﾙ [@/adir] が不正です", 2},  // a bad pair late
      {{"bin.dat", "o.dat"}, "@/bin.dat: 変換設定がされていません", 3},  // a file's messages name it
      {{"in/a.txt", "afile/o.txt"}, "@/in/a.txt: 出力ﾌｧｲﾙのﾊﾟｽが不正です", 2},
      {{"--chk-size", "99", "in/a.txt", "o.txt"}, "ﾌｧｲﾙの調査ｻｲｽﾞが少な過ぎます。100 Byte 以上に設定して下さい。", 3},
  };
  for (const auto& [args, message, status] : cases) {
    std::vector<std::string> call = {"convert"};
    for (const auto& a : args) call.push_back(Expand(a));
    const CliResult r = Run(call);
    EXPECT_EQ(r.err, Expand(message) + "\n") << args[0];
    EXPECT_EQ(r.status, status) << args[0];
    EXPECT_EQ(r.out, "") << args[0];
    for (const char* output : {"out", "out.txt", "o1", "o2", "o.dat", "o.txt"}) {
      EXPECT_FALSE(Exists(output)) << args[0] << ": " << output;
    }
  }
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliMessages, SurveyAndNameCommands) {
  Write("sjis.txt", Sjis("日本語の文\r\n二行目\r\n"));
  // Text for 12,000 bytes, then binary: only a survey of the whole file sees it.
  Write("late.bin", std::string(12000, 'a') + std::string(600, '\x01'));
  const std::tuple<std::vector<std::string>, std::string, int> cases[] = {
      {{"survey", "--flags", "sjis.txt"}, "0 0x0112\n", 0},
      {{"survey", "--flags", "adir"}, "-2 0x0000\n", 0},
      {{"survey", "--flags", "*.txt"}, "-3 0x0000\n", 0},
      {{"survey", "--flags", "none"}, "-1 0x0000\n", 1},
      {{"name", "メモ", "TEXT", "ttxt"}, "メモ.txt\n", 0},
      {{"name", "", "TEXT", "ttxt"}, "\n", 0},
      // No escape sequence reaches a terminal.
      {{"name", "\x1b]0;owned\x07memo", "TEXT", "ttxt"}, "\\x1B]0;owned\\x07memo.txt\n", 0},
      {{"survey", "--flags", "late.bin"}, "0 0x0100\n", 0},
      {{"survey", "--flags", "--chk-size", "0", "late.bin"}, "0 0x0000\n", 0},
      {{"survey", "--flags", "--chk-size=-1", "late.bin"}, "0 0x0000\n", 0},
      {{"survey", "--flags", "--chk-size", "99", "late.bin"}, "", 3},
      {{"survey", "--flags", "--no-cut", "late.bin"}, "0 0x0100\n", 0},  // accepted by every command, as before
      {{"name", "--fnc-fixed", "--fnc-char", "＿", "a/b", "TEXT", "ttxt"}, "a＿b.txt\n", 0},
  };
  for (const auto& [args, out, status] : cases) {
    const CliResult r = Run(args);
    EXPECT_EQ(r.out, out) << args[2];
    EXPECT_EQ(r.status, status) << args[2];
  }
  const CliResult report = Run({"survey", "sjis.txt"});
  EXPECT_EQ(report.out.rfind("--- [sjis.txt]の調査結果 ---\n", 0), 0u) << report.out;
  EXPECT_EQ(report.out.find('\r'), std::string::npos);
  EXPECT_NE(report.out.find("コード体系はシフトJISです。\n"), std::string::npos) << report.out;
}

TEST_F(CliMessages, CommandLineMistakesAndVersion) {  // the help: below
  const std::vector<std::string> bad[] = {
      {"convert", "a"}, {"convert", "a", "b", "c"}, {"frobnicate"}, {"convert", "--conv-mode", "x", "a", "b"},
      {"convert", "--conv-mode", "70000", "a", "b"}, {"convert", "--bogus", "a", "b"}, {"name", "a", "b"},
      {"convert", "--flags", "a", "b"}, {"survey"}, {"convert", "--text=yes", "a", "b"}};
  for (const auto& args : bad) {
    const CliResult r = Run(args);
    EXPECT_EQ(r.status, 64) << args[0] << " " << (args.size() > 1 ? args[1] : "");
    EXPECT_NE(r.err.find("ferrox --help"), std::string::npos);
  }
  const CliResult version = RunOk({"convert", "--version"});
  EXPECT_EQ(version.out.rfind("ferrox ", 0), 0u);
}

// Named options work in conversions as their bits do (below: each equals its
// flag word), and last one run only.
TEST_F(CliMessages, OptionsLastOneRunOnly) {
  ASSERT_EQ(Run({"name", "x", "TEXT", "ttxt"}).status, 0);  // the first run writes the store
  const std::string stored = ReadAll(config_ + "/Ferrox.conf");
  ASSERT_NE(stored.find("FileMode=117"), std::string::npos);
  Write("o.txt", "old");
  RunOk({"convert", "--eof", "--trash", "--delete-input", "--line-size", "40", "in/a.txt", "o.txt"});
  EXPECT_EQ(Read("o.txt"), Sjis("テキスト\r\n") + "\x1a");  // ConvMode bit 1 appends 0x1A
  EXPECT_FALSE(Exists("in/a.txt"));                        // FileMode bit 256
  EXPECT_EQ(Read(".home/.local/share/Trash/files/o.txt"), "old");  // FileMode bit 128
  EXPECT_EQ(ReadAll(config_ + "/Ferrox.conf"), stored);
}

using CliOptions = CliTest;

// The locale of a run: LC_ALL cleared so that LC_MESSAGES and LANG decide.
CliCall InLocale(std::vector<std::string> args, const std::string& lcMessages, const std::string& lang) {
  return CliCall{std::move(args), {}, {{"LC_ALL", ""}, {"LC_MESSAGES", lcMessages}, {"LANG", lang}}, {}};
}

TEST_F(CliOptions, EveryNamedOptionEqualsItsFlagWordAndTheLaterOneWins) {
  // word, a value without the option, the option, the value with it, the option that undoes it
  const std::tuple<const char*, int, const char*, int, const char*> cases[] = {
      {"--conv-mode", 12, "--eof", 13, "--no-eof"},
      {"--conv-mode", 12, "--fnc-fixed", 14, "--no-fnc-fixed"},
      {"--conv-mode", 8, "--jis-euc", 12, "--no-jis-euc"},
      {"--conv-mode", 4, "--gaiji-chars", 12, "--no-gaiji-chars"},
      {"--conv-mode", 12, "--gaiji-table-replace", 28, "--no-gaiji-table-replace"},
      {"--conv-mode", 44, "--utf8", 12, "--no-utf8"},
      {"--conv-mode", 140, "--mac-japanese", 76, "--no-mac-japanese"},
      {"--conv-mode", 204, "--mac-japanese-auto", 12, nullptr},
      {"--conv-mode", 12, "--plain-ties", 268, "--no-plain-ties"},
      {"--file-mode", 116, "--backup", 117, "--replace"},
      {"--file-mode", 117, "--trash", 244, "--backup"},
      {"--file-mode", 245, "--replace", 116, nullptr},
      {"--file-mode", 113, "--mac-dates", 117, "--no-mac-dates"},
      {"--file-mode", 101, "--walk", 117, "--no-walk"},
      {"--file-mode", 53, "--unknown-type-names", 117, "--no-unknown-type-names"},
      {"--file-mode", 117, "--delete-input", 373, "--keep-input"},
      {"--file-mode", 117, "--mac-names", 629, "--no-mac-names"},
      {"--file-mode", 117, "--resource-forks", 1141, "--no-resource-forks"},
  };
  auto settings = [&](const char* word, int value, const char* named = nullptr) {
    std::vector<std::string> args = {"settings", word, std::to_string(value)};
    if (named != nullptr) args.push_back(named);
    return Run(args);
  };
  for (const auto& [word, without, option, with, undo] : cases) {
    for (const auto& [start, named, made] : {std::tuple{without, option, with}, {with, undo, without}}) {
      if (named == nullptr) continue;
      const CliResult byName = settings(word, start, named);
      EXPECT_EQ(byName.status, 0) << named << byName.err;
      EXPECT_EQ(byName.out, settings(word, made).out) << named;
    }
    // The flag word given last wins over the named option before it.
    EXPECT_EQ(Run({"settings", word, std::to_string(without), option, word, std::to_string(without)}).out,
              settings(word, without).out) << option;
  }
}

TEST_F(CliOptions, SubstituteCharacterAndRunsThatConvertNothing) {
  for (const std::string bad : {"/", "\\", ":", "*", "?", "\"", "<", ">", "|", "", "ab", "\x01", "\xff"}) {
    const CliResult r = Run({"name", "--fnc-char", bad, "a", "TEXT", "ttxt"});
    EXPECT_EQ(r.status, 3) << bad;
    EXPECT_EQ(r.err, "ﾌｧｲﾙ名の置換文字が不正です。\n") << bad;
  }

  fs::create_directories(Path("folder/sub"));
  Write("folder/a.txt", "a\n");
  const std::tuple<std::vector<std::string>, std::string, std::string> nothing[] = {
      {{"convert", "--no-walk", "folder", "out"}, "C", "folder is a folder, and folders are not converted"},
      {{"convert", "folder/*.doc", "out"}, "C", "no file matches folder/*.doc"},
      {{"convert", "folder/sub", "out"}, "C", "no file in folder/sub"},
      {{"convert", "--no-walk", "folder", "out"}, "ja_JP.UTF-8", "変換するファイルがありません: folder はフォルダです"},
  };
  for (const auto& [args, lang, says] : nothing) {
    const CliResult r = RunOk(InLocale(args, "", lang));
    EXPECT_NE(r.err.find(says), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
  }
  EXPECT_FALSE(Exists("out/a.txt"));
}

TEST_F(CliOptions, SurveyJsonIsOneObjectPerFile) {
  const std::string data = Sjis("メモ\r") + "\x85\x40";  // with Mac ①
  Write("files/mac.bin", MacBinaryFile({Sjis("メモ"), "TEXT", "ttxt", 0, 0, 3069923400u, 3070029920u}, data, "RSRC!"));
  Write("files/bin.dat", std::string(300, '\0'));
  Write("files/utf.txt", "\xEF\xBB\xBF" "か\xE3\x82\x99な\n");  // BOM, NFD
  Write("files/memo.hqx", testing::EncodeBinHex({"Memo", "TEXT", "ttxt", "abc\r\n", "fork"}));
  Write("a\"b.txt", Encode("◇EUCの\r\nと\r混在\nです", "EUC-JP") + "\x1a");  // ◇ is A1 FE: no Shift JIS
  const CliResult r = Run({"survey", "--json", "files", "a\"b.txt", "missing"});
  EXPECT_EQ(r.status, 1);  // one path could not be read
  // The folder's files in walk order, then the two other paths as typed; the
  // file system's own times ("+00:00": TZ is UTC) vary, the Mac dates do not.
  std::string out = std::regex_replace(r.out, std::regex(R"(,"created":"[-0-9T:]{19}\+00:00")"), "");
  out = std::regex_replace(out, std::regex(R"("modified":"[-0-9T:]{19}\+00:00")"), R"("modified":"T")");
  const std::string file = R"("result":"file","result_code":0,"text":true,)";
  const std::string tail = R"("ends_with_eof":false,"binary_bytes_seen":false,"binary_allowance":0,"bin_rate":3,)";
  const std::string noApple = R"("ends_with_eof":false,"apple_codes":false,"binary_bytes_seen":false,)";
  EXPECT_EQ(out,
      R"({"path":")" + Path("files/bin.dat") + R"(","result":"file","result_code":0,"text":false,"flags":0,)"
      R"("flags_hex":"0x0000","binary_bytes_seen":false,"binary_allowance":9,"bin_rate":3,"size":300,)"
      R"("surveyed_bytes":300,"whole_file_surveyed":true,"modified":"T"})" "\n"
      R"({"path":")" + Path("files/mac.bin") + R"(","result":"macbinary","result_code":1,"text":true,)"
      R"("flags":290,"flags_hex":"0x0122","codes":["Shift_JIS"],"first_code":"Shift_JIS","line_ends":["CR"],"gaiji":[],)"
      R"("ends_with_eof":false,"apple_codes":true,"binary_bytes_seen":false,"binary_allowance":0,"bin_rate":3,)"
      R"("size":384,"surveyed_bytes":7,"whole_file_surveyed":true,"modified":"T",)"
      R"("macbinary":{"name":"メモ","type":"TEXT","creator":"ttxt","data_fork":7,"resource_fork":5,)"
      R"("created":"2001-04-12T12:30:00","modified":"2001-04-13T18:05:20"}})" "\n"
      R"({"path":")" + Path("files/memo.hqx") + "\"," + file +
      R"("flags":256,"flags_hex":"0x0100","codes":["ASCII"],"first_code":"Shift_JIS","line_ends":[],"gaiji":[],)" +
      noApple + R"("binary_allowance":0,"bin_rate":3,"size":99,"surveyed_bytes":5,"whole_file_surveyed":true,"modified":"T",)"  // BinHex: no dates
      R"("binhex":{"name":"Memo","type":"TEXT","creator":"ttxt","data_fork":5,"resource_fork":4}})" "\n"
      R"({"path":")" + Path("files/utf.txt") + "\"," + file +
      R"("flags":45376,"flags_hex":"0xB140","codes":["UTF-8"],"first_code":"UTF-8","bom":true,"decomposed":true,)"
      R"("line_ends":["LF"],)" + tail + R"("size":13,"surveyed_bytes":13,"whole_file_surveyed":true,"modified":"T"})" "\n"
      R"({"path":"a\"b.txt",)" + file +
      R"("flags":2296,"flags_hex":"0x08F8","codes":["EUC-JP"],"first_code":"EUC-JP","line_ends":["CRLF","CR","LF"],)"
      R"("gaiji":[],"ends_with_eof":true,"apple_codes":false,"binary_bytes_seen":false,"binary_allowance":1,)"
      R"("bin_rate":3,"size":22,"surveyed_bytes":22,"whole_file_surveyed":true,"modified":"T"})" "\n"
      R"({"path":"missing","result":"unreadable","result_code":-1})" "\n");
}

TEST_F(CliOptions, HelpAndOwnMessagesFollowTheLocale) {
  const std::tuple<std::string, std::string, const char*, const char*> locales[] = {
      // LC_MESSAGES, LANG, help begins, a usage error says
      {"", "C.UTF-8", "Usage:", "unknown option --bogus"},
      {"", "ja_JP.UTF-8", "使い方:", "不明なオプションです: --bogus"},
      {"ja_JP.UTF-8", "en_US.UTF-8", "使い方:", "不明なオプションです: --bogus"},
      {"C", "ja_JP.UTF-8", "Usage:", "unknown option --bogus"},
  };
  std::set<std::string> firstNames;
  for (const auto& [messages, lang, begins, error] : locales) {
    const CliResult help = RunOk(InLocale({"--help"}, messages, lang));
    EXPECT_EQ(help.out.rfind(begins, 0), 0u) << lang << help.out;
    const CliResult bad = Run(InLocale({"convert", "--bogus", "a", "b"}, messages, lang));
    EXPECT_EQ(bad.status, 64);
    EXPECT_NE(bad.err.find(error), std::string::npos) << bad.err;
    // Every option the help names works, and both languages name the same ones.
    std::set<std::string> names;
    const std::regex option(R"(\n  (--[a-z0-9-]+)( [A-Z]+)?)");
    for (auto it = std::sregex_iterator(help.out.begin(), help.out.end(), option); it != std::sregex_iterator(); ++it) {
      names.insert((*it)[1]);
      std::vector<std::string> args = {"settings", (*it)[1]};
      if ((*it)[2].matched) args.push_back((*it)[1] == "--fnc-char" ? "_" : "100");
      const CliResult r = Run(args);
      const bool ofOneCommand = r.status == 64 && r.err.find(" command") != std::string::npos;
      EXPECT_TRUE(r.status == 0 || ofOneCommand) << (*it)[1] << r.err;
    }
    // The manual pages describe every one of them.
    for (const char* page : {"/doc/ferrox.1", "/doc/ja/ferrox.1"}) {
      const std::string text = ReadAll(std::string(FERROX_SOURCE_DIR) + page);
      for (std::string name : names) {
        for (auto at = name.find('-'); at != std::string::npos; at = name.find('-', at + 2)) name.insert(at, "\\");
        EXPECT_NE(text.find(name), std::string::npos) << page << ": " << name;
      }
    }
    if (firstNames.empty()) firstNames = names;
    EXPECT_EQ(names, firstNames) << lang;
    EXPECT_GT(names.size(), 40u);
  }
}

using CliPipe = CliTest;

// Text of at least `bytes` bytes, EUC-JP, lines ending in CR, LF and CR LF.
std::string LongEuc(std::size_t bytes) {
  const std::string lines[] = {Encode("日本語の行です\n", "EUC-JP"), Encode("ｶﾀｶﾅ\r", "EUC-JP"), "ascii\r\n"};
  std::string text;
  for (std::size_t i = 0; text.size() < bytes; ++i) text += lines[i % 3];
  return text;
}

// Runs `script` in sh with the program as "$0" and `args` as "$@".
CliCall InShell(const std::string& script, std::vector<std::string> args) {
  return CliCall{std::move(args), {}, {}, {"sh", "-c", script}};
}

TEST_F(CliPipe, EveryPipeFormGivesTheBytesOfTheFileForm) {
  const std::string data = Sjis("一行目\r二行目\r");
  std::string binary;
  for (int i = 0; i < 5000; ++i) binary += static_cast<char>((i * 31 + i / 7) & 0xFF);
  const std::tuple<const char*, std::string, std::vector<std::string>> cases[] = {
      {"jis.txt", Encode("変換のテスト\nカタカナも一行\n", "ISO-2022-JP"), {"--eof", "--line-size", "10"}},
      {"mac.bin", MacBinaryFile({Sjis("メモ")}, data, "RESOURCE!!"), {}},
      // Input within what is read ahead for the survey is a file like any other.
      // Longer: text and binary are streamed, Mac wrappers are read whole first,
      // and a kept MacBinary header goes out once its length is known.
      {"long-euc.txt", LongEuc(300000), {}},
      {"long-binary.dat", std::string(40, binary[7]) + binary + LongEuc(100000) + binary, {"--cut"}},
      {"long-mac-kept.bin", MacBinaryHeaderBytes({"Long", "TEXT", "ttxt", 100000}) + LongEuc(100000).substr(0, 100000),
       {"--no-cut"}},
      {"long.hqx", "(This file must be converted with BinHex 4.0)\r\r" + EncodeBinHex({"Long", "TEXT", "ttxt", LongEuc(100000), ""}),
       {}},
  };
  for (const auto& [name, bytes, options] : cases) {
    Write(name, bytes);
    const auto call = [&, &options = options](std::vector<std::string> operands) {
      std::vector<std::string> args = {"convert"};
      args.insert(args.end(), options.begin(), options.end());
      args.insert(args.end(), operands.begin(), operands.end());
      return RunWithInput(args, Path(name));
    };
    const CliResult file = call({name, std::string("file-") + name});
    ASSERT_EQ(file.status, 0) << name << file.err;
    const std::string expected = Read(std::string("file-") + name);
    ASSERT_FALSE(expected.empty());
    const CliResult both = call({"-", "-"});
    EXPECT_EQ(both.status, 0) << name << both.err;
    EXPECT_EQ(both.out, expected) << name;
    const CliResult in = call({"-", std::string("in-") + name});
    EXPECT_EQ(in.status, 0) << name << in.err;
    EXPECT_EQ(Read(std::string("in-") + name), expected) << name;
    const CliResult out = call({name, "-"});
    EXPECT_EQ(out.status, 0) << name << out.err;
    EXPECT_EQ(out.out, expected) << name;
  }
  // The survey of standard input is the survey of the file, and so is its JSON.
  for (const char* name : {"mac.bin", "long-euc.txt", "long-mac-kept.bin", "long.hqx"}) {
    EXPECT_EQ(RunWithInput({"survey", "--flags", "-"}, Path(name)).out, Run({"survey", "--flags", name}).out) << name;
  }
  const CliResult report = RunWithInput({"survey", "-"}, Path("mac.bin"));
  EXPECT_EQ(report.out.rfind("--- [-]の調査結果 ---\n", 0), 0u) << report.out;
  EXPECT_NE(report.out.find("オリジナルのファイル名は[メモ]です。"), std::string::npos);
  EXPECT_NE(RunWithInput({"survey", "--json", "-"}, Path("jis.txt")).out.find("{\"path\":\"-\",\"result\":\"file\""),
            std::string::npos);
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliPipe, LargeStreamInFlatMemoryAndRefusals) {
  // Written in pieces: the peak memory of a child counts what it shared with this process before exec.
  const std::string line = Encode("これは試験用の長い行です。番号つきの行が続きます。\n", "EUC-JP");
  const std::size_t lines = (64u << 20) / line.size();
  {
    std::ofstream big(Path("big.txt"), std::ios::binary);
    for (std::size_t i = 0; i < lines; ++i) big << line;
  }
  Write("small.txt", Read("big.txt").substr(0, 1 << 20));
  // Files written may not pass 256 KiB: the stream cannot have been copied into the work folder.
  const CliCall noRoom = InShell("(ulimit -f 256; exec \"$0\" \"$@\") | cat", {"convert", "-", "-"});
  stdin_ = Path("small.txt");
  const CliResult small = Run(noRoom);
  stdin_ = Path("big.txt");
  const CliResult r = Run(noRoom);
  stdin_.clear();
  EXPECT_EQ(small.status, 0) << small.err;
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.size(), lines * (line.size() + 1));
  // Flat: far less than the 63 MiB more that went through (sanitizers add noise).
  EXPECT_LT(r.maxRssKib, small.maxRssKib + 16 * 1024) << small.maxRssKib << " " << r.maxRssKib;
  EXPECT_TRUE(WorkFilesLeft(root_).empty());

  // Binary output goes to a terminal only with --force; pty.spawn gives the program a terminal.
  Write("bin.dat", std::string("\x00\x01\x02\x03\xff", 5) + std::string(300, '\0'));
  const std::vector<std::string> terminal = {"python3", "-c",
                                             "import pty, sys; sys.exit(pty.spawn(sys.argv[1:]) >> 8)"};
  const CliResult refused = Run(CliCall{{"convert", "--cut", "bin.dat", "-"}, {}, {}, terminal});
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.out.find("binary output is not written to a terminal"), std::string::npos) << refused.out;
  EXPECT_EQ(refused.out.find('\xff'), std::string::npos);
  const CliResult forced = RunOk(CliCall{{"convert", "--cut", "--force", "bin.dat", "-"}, {}, {}, terminal});
  EXPECT_NE(forced.out.find('\xff'), std::string::npos);
  Write("a.txt", "text\n");
  EXPECT_EQ(Run(CliCall{{"convert", "a.txt", "-"}, {}, {}, terminal}).status, 0);  // text is fine
  // Both boxes pinned off convert nothing, and a message about standard input names it "-".
  const CliResult none = RunWithInput({"convert", "--no-text", "--no-cut", "-", "o.txt"}, Path("a.txt"));
  EXPECT_EQ(none.status, 3);
  EXPECT_EQ(none.err, "-: 変換設定がされていません\n");
  EXPECT_FALSE(Exists("o.txt"));

  // Standard output takes one file; a folder or a wildcard cannot go there.
  fs::create_directories(Path("dir"));
  for (const char* input : {"dir", "*.txt"}) {
    const CliResult one = Run({"convert", input, "-"});
    EXPECT_EQ(one.status, 64) << input;
    EXPECT_NE(one.err.find("standard output (-) takes one input file"), std::string::npos) << one.err;
  }
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliPipe, OutputFlowsWhileInputArrivesAndFailuresEndTheRunCleanly) {
  const std::string first = LongEuc(200000);
  const std::string rest = Encode("最後の行\n", "EUC-JP");
  Write("whole.txt", first + rest);
  Write("first.txt", first);
  Write("rest.txt", rest);
  ASSERT_EQ(Run({"convert", "whole.txt", "file.txt"}).status, 0);
  // The producer sends the rest only once output has come out.
  const char* waitForOutput = "i=0; while [ ! -s out ] && [ $i -lt 600 ]; do sleep 0.05; i=$((i+1)); done; ";
  const CliResult slow = Run(InShell(std::string("{ cat first.txt; ") + waitForOutput +
                                         "[ -s out ] && : > flowed; cat rest.txt; } | \"$0\" \"$@\" > out",
                                     {"convert", "-", "-"}));
  EXPECT_EQ(slow.status, 0) << slow.err;
  EXPECT_TRUE(Exists("flowed"));
  EXPECT_EQ(Read("out"), Read("file.txt"));

  // A signal while the input waits cancels; what was sent stays sent, nothing is left behind.
  ::unlink(Path("out").c_str());
  const CliResult cancelled = Run(InShell(
      std::string("{ cat first.txt; while [ ! -e stop ]; do sleep 0.05; done; } | \"$0\" \"$@\" > out & pid=$!; ") +
          waitForOutput + "kill -INT $pid; : > stop; wait $pid; echo $? > status",
      {"convert", "-", "-"}));
  EXPECT_EQ(cancelled.status, 0);
  EXPECT_EQ(Read("status"), "130\n") << cancelled.err;
  EXPECT_FALSE(Read("out").empty());
  EXPECT_TRUE(WorkFilesLeft(root_).empty());

  // A reader that goes away and a full disk are output-side failures, said on stderr.
  const std::pair<const char*, const char*> failures[] = {
      {"{ \"$0\" \"$@\"; echo $? > status; } | head -c 10 > /dev/null", "Broken pipe"},
      {"\"$0\" \"$@\" > /dev/full; echo $? > status", "No space left on device"},
  };
  Write("big.txt", LongEuc(2 << 20));
  for (const auto& [script, reason] : failures) {
    for (const char* input : {"-", "big.txt"}) {
      stdin_ = Path("big.txt");
      const CliResult r = Run(InShell(script, {"convert", input, "-"}));
      stdin_.clear();
      EXPECT_EQ(Read("status"), "2\n") << script << input;
      EXPECT_NE(r.err.find(std::string("ferrox: standard output: ") + reason), std::string::npos) << r.err;
    }
  }
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

}  // namespace
}  // namespace ferrox::testing
