// Every check of a run gives its own message on stderr and its exit status,
// and no file is converted once a check fails.

#include <filesystem>
#include <fstream>
#include <iterator>

#include "helpers/cli_runner.h"

namespace ferrox::testing {
namespace {

namespace fs = std::filesystem;

struct MessageCase {
  const char* name;
  std::vector<std::string> args;  // "@" is replaced by the test's root folder
  std::string message;            // likewise
  int status;
};

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
  std::string Expand(std::string text) const {
    for (auto at = text.find('@'); at != std::string::npos; at = text.find('@', at + root_.size())) {
      text.replace(at, 1, root_);
    }
    return text;
  }
};

TEST_F(CliMessages, EveryCheckSaysWhatIsWrong) {
  const std::string longName = "@/" + std::string(4100, 'x');
  const MessageCase cases[] = {
      {"blank input", {"convert", "   ", "out"}, "入力ﾌｧｲﾙが指定されていません", 1},
      {"missing input", {"convert", "none.txt", "out.txt"}, "入力ﾌｧｲﾙ [@/none.txt] が見つかりません", 1},
      {"input too long", {"convert", longName, "out.txt"}, "入力ﾌｧｲﾙ [" + longName + "] が見つかりません", 1},
      {"output too long", {"convert", "in/a.txt", longName}, "出力ﾌｧｲﾙ/ﾌｫﾙﾀﾞ名が長すぎます", 2},
      {"list counts differ", {"convert", "\"in/a.txt\",\"in/b.txt\",\"in/a.txt\"", "\"o1\",\"o2\""},
       "入力ﾌｧｲﾙと出力ﾌｧｲﾙの数が一致しません", 1},
      {"empty name in list", {"convert", "\"in/a.txt\",\"\"", "\"o1\",\"o2\""}, "入力ﾌｧｲﾙ [] が不正です", 1},
      {"empty output", {"convert", "in/a.txt", " "}, "出力ﾌｧｲﾙ [] が不正です", 2},
      {"file onto a folder", {"convert", "in/a.txt", "adir"}, "出力ﾌｧｲﾙ [@/adir] が不正です", 2},
      {"folder onto a file", {"convert", "in", "afile"}, "出力ﾌｧｲﾙ [@/afile] が不正です", 2},
      {"wildcard output", {"convert", "in/*.txt", "o*"}, "[@/o*] 出力ﾌｧｲﾙにﾜｲﾙﾄﾞｶｰﾄﾞは指定できません", 2},
      {"wildcard in the folder part", {"convert", "i*/a.txt", "out"},
       "[@/i*/a.txt] ﾜｲﾙﾄﾞｶｰﾄﾞはﾊﾟｽの途中で使用できません", 1},
      {"wildcard into a file", {"convert", "in/*.txt", "afile"}, "出力ﾌｫﾙﾀﾞ [@/afile] が不正です", 2},
      {"missing list name", {"convert", "\"in/a.txt\",\"in/none\"", "\"o1\",\"o2\""},
       "入力ﾌｧｲﾙ [@/in/none] が見つかりません", 1},
      {"binary file alone", {"convert", "bin.dat", "o.dat"}, "変換設定がされていません", 3},
      {"output folder is a file", {"convert", "in/a.txt", "afile/o.txt"}, "出力ﾌｧｲﾙのﾊﾟｽが不正です", 2},
      {"survey size too small", {"convert", "--chk-size", "99", "in/a.txt", "o.txt"},
       "ﾌｧｲﾙの調査ｻｲｽﾞが少な過ぎます。100 Byte 以上に設定して下さい。", 3},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args;
    for (const auto& a : c.args) args.push_back(Expand(a));
    const CliResult r = Run(args);
    EXPECT_EQ(r.err, Expand(c.message) + "\n") << c.name;
    EXPECT_EQ(r.status, c.status) << c.name;
    EXPECT_EQ(r.out, "") << c.name;
    for (const char* output : {"out", "out.txt", "o1", "o2", "o.dat", "o.txt"}) {
      EXPECT_FALSE(Exists(output)) << c.name << ": " << output;
    }
  }
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliMessages, ABadPairLateInAListConvertsNothing) {
  const CliResult r = Run({"convert", "\"in/a.txt\",\"in/b.txt\"", "\"o1\",\"adir\""});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, "出力ﾌｧｲﾙ [" + root_ + "/adir] が不正です\n");
  EXPECT_FALSE(Exists("o1"));
}

TEST_F(CliMessages, BinaryFilesInABatchAreCopied) {
  const CliResult r = Run({"convert", "\"bin.dat\",\"in/a.txt\"", "\"o.dat\",\"o.txt\""});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Read("o.dat"), Read("bin.dat"));
  EXPECT_EQ(Read("o.txt"), Sjis("テキスト\r\n"));
}

TEST_F(CliMessages, CommandLineMistakes) {
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

TEST_F(CliMessages, OptionsLastOneRunOnly) {
  ASSERT_EQ(Run({"name", "x", "TEXT", "ttxt"}).status, 0);  // first run writes the store
  std::ifstream before(config_ + "/Ferrox.conf");
  const std::string stored((std::istreambuf_iterator<char>(before)), std::istreambuf_iterator<char>());
  ASSERT_NE(stored.find("FileMode=117"), std::string::npos);
  const CliResult r = Run({"convert", "--file-mode", "373", "--conv-mode=13", "--line-size", "40",
                           "in/a.txt", "o.txt"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Read("o.txt"), Sjis("テキスト\r\n") + "\x1a");  // ConvMode bit 1 appends 0x1A
  EXPECT_FALSE(Exists("in/a.txt"));                        // FileMode bit 256
  std::ifstream after(config_ + "/Ferrox.conf");
  const std::string kept((std::istreambuf_iterator<char>(after)), std::istreambuf_iterator<char>());
  EXPECT_EQ(kept, stored);
}

}  // namespace
}  // namespace ferrox::testing
