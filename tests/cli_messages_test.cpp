// Every check of a run gives its message and status, and nothing is converted after one fails.

#include <filesystem>

#include "helpers/cli_runner.h"

namespace ferrox::testing {
namespace {

namespace fs = std::filesystem;

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
      {{"name", "--file-mode", "53", "x", "QQQQ", "ZZZZ"}, "x\n", 0},  // without bit 64: the name alone
      {{"survey", "--flags", "late.bin"}, "0 0x0100\n", 0},
      {{"survey", "--flags", "--chk-size", "0", "late.bin"}, "0 0x0000\n", 0},
      {{"survey", "--flags", "--chk-size=-1", "late.bin"}, "0 0x0000\n", 0},
      {{"survey", "--flags", "--chk-size", "99", "late.bin"}, "", 3},
      {{"survey", "--flags", "--no-cut", "late.bin"}, "0 0x0100\n", 0},  // accepted by every command, as before
      {{"name", "--fnc-fixed", "--fnc-char", "-", "a/b:c", "TEXT", "ttxt"}, "a-b-c.txt\n", 0},
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

TEST_F(CliMessages, CommandLineMistakesHelpAndVersion) {
  const std::vector<std::string> bad[] = {
      {"convert", "a"}, {"convert", "a", "b", "c"}, {"frobnicate"}, {"convert", "--conv-mode", "x", "a", "b"},
      {"convert", "--conv-mode", "70000", "a", "b"}, {"convert", "--bogus", "a", "b"}, {"name", "a", "b"},
      {"convert", "--flags", "a", "b"}, {"survey"}, {"convert", "--text=yes", "a", "b"}};
  for (const auto& args : bad) {
    const CliResult r = Run(args);
    EXPECT_EQ(r.status, 64) << args[0] << " " << (args.size() > 1 ? args[1] : "");
    EXPECT_NE(r.err.find("ferrox --help"), std::string::npos);
  }
  const CliResult help = Run({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("ferrox convert [OPTIONS] INPUT OUTPUT"), std::string::npos);
  const CliResult version = Run({"convert", "--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out.rfind("ferrox ", 0), 0u);
}

// Named options work in conversions as their bits do (cli_options_test: each
// equals its flag word), and last one run only.
TEST_F(CliMessages, OptionsLastOneRunOnly) {
  ASSERT_EQ(Run({"name", "x", "TEXT", "ttxt"}).status, 0);  // the first run writes the store
  const std::string stored = ReadAll(config_ + "/Ferrox.conf");
  ASSERT_NE(stored.find("FileMode=117"), std::string::npos);
  Write("o.txt", "old");
  const CliResult r = Run({"convert", "--eof", "--trash", "--delete-input", "--line-size", "40", "in/a.txt", "o.txt"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Read("o.txt"), Sjis("テキスト\r\n") + "\x1a");  // ConvMode bit 1 appends 0x1A
  EXPECT_FALSE(Exists("in/a.txt"));                        // FileMode bit 256
  EXPECT_EQ(Read(".home/.local/share/Trash/files/o.txt"), "old");  // FileMode bit 128
  EXPECT_EQ(ReadAll(config_ + "/Ferrox.conf"), stored);
}

}  // namespace
}  // namespace ferrox::testing
