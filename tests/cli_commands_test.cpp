// The survey and name commands of ferrox.

#include <filesystem>

#include "helpers/cli_runner.h"

namespace ferrox::testing {
namespace {

using CliCommands = CliTest;

TEST_F(CliCommands, SurveyFlagsLine) {
  Write("sjis.txt", Sjis("日本語の文\r\n二行目\r\n"));
  Write("euc.txt", Encode("日本語の文\n二行目\n", "EUC-JP"));
  Write("bin.dat", std::string("\x00\x01\x02\xff", 4) + std::string(300, '\0'));
  std::filesystem::create_directories(Path("folder"));
  const std::pair<const char*, const char*> cases[] = {
      {"sjis.txt", "0 0x0112\n"}, {"euc.txt", "0 0x0848\n"}, {"bin.dat", "0 0x0000\n"},
      {"folder", "-2 0x0000\n"},  {"*.txt", "-3 0x0000\n"}};
  for (const auto& [path, line] : cases) {
    const CliResult r = Run({"survey", "--flags", path});
    EXPECT_EQ(r.out, line) << path;
    EXPECT_EQ(r.status, 0) << path;
  }
  const CliResult missing = Run({"survey", "--flags", "none"});
  EXPECT_EQ(missing.out, "-1 0x0000\n");
  EXPECT_EQ(missing.status, 1);
}

TEST_F(CliCommands, SurveyReportHasUnixLineEnds) {
  Write("sjis.txt", Sjis("日本語の文\r\n二行目\r\n"));
  const CliResult r = Run({"survey", "sjis.txt"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.rfind("--- [sjis.txt]の調査結果 ---\n", 0), 0u) << r.out;
  EXPECT_EQ(r.out.find('\r'), std::string::npos);
  EXPECT_NE(r.out.find("コード体系はシフトJISです。\n"), std::string::npos) << r.out;
}

TEST_F(CliCommands, NameFromTheSuffixTable) {
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"name", "メモ", "TEXT", "ttxt"}, "メモ.txt\n"},
      {{"name", "", "TEXT", "ttxt"}, "\n"},
      {{"name", "--file-mode", "53", "x", "QQQQ", "ZZZZ"}, "x\n"},  // without bit 64: the name alone
  };
  for (const auto& [args, line] : cases) {
    const CliResult r = Run(args);
    EXPECT_EQ(r.out, line) << args[1];
    EXPECT_EQ(r.status, 0);
  }
}

}  // namespace
}  // namespace ferrox::testing
