// "-" as standard input and output: the same bytes as the file forms, flat memory, no binary on a terminal.

#include <filesystem>
#include <fstream>

#include "helpers/cli_runner.h"
#include "helpers/macbinary_builder.h"

namespace ferrox::testing {
namespace {

namespace fs = std::filesystem;

using CliPipe = CliTest;

TEST_F(CliPipe, EveryPipeFormGivesTheBytesOfTheFileForm) {
  const std::string data = Sjis("一行目\r二行目\r");
  std::string binary;
  for (int i = 0; i < 5000; ++i) binary += static_cast<char>((i * 31 + i / 7) & 0xFF);
  const std::tuple<const char*, std::string, std::vector<std::string>> cases[] = {
      {"euc.txt", Encode("変換のテスト\nｶﾀｶﾅも一行\n最後の行\n", "EUC-JP"), {}},
      {"jis.txt", Encode("変換のテスト\nカタカナも一行\n", "ISO-2022-JP"), {"--eof", "--line-size", "10"}},
      {"mac.bin", MacBinaryHeaderBytes({Sjis("メモ"), "TEXT", "ttxt", static_cast<std::uint32_t>(data.size()), 10}) +
                      data + std::string(128 - data.size(), '\0') + "RESOURCE!!" + std::string(118, '\0'),
       {}},
      {"mac-kept.bin", MacBinaryHeaderBytes({Sjis("メモ"), "TEXT", "ttxt", static_cast<std::uint32_t>(data.size())}) + data,
       {"--no-cut"}},
      {"binary.dat", binary, {"--cut"}},
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
  EXPECT_EQ(RunWithInput({"survey", "--flags", "-"}, Path("mac.bin")).out, Run({"survey", "--flags", "mac.bin"}).out);
  const CliResult report = RunWithInput({"survey", "-"}, Path("mac.bin"));
  EXPECT_EQ(report.out.rfind("--- [-]の調査結果 ---\n", 0), 0u) << report.out;
  EXPECT_NE(report.out.find("オリジナルのファイル名は[メモ]です。"), std::string::npos);
  EXPECT_NE(RunWithInput({"survey", "--json", "-"}, Path("euc.txt")).out.find("{\"path\":\"-\",\"result\":\"file\""),
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
  const CliResult r = RunWithInput({"convert", "-", "-"}, Path("big.txt"));
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.size(), lines * (line.size() + 1));
  EXPECT_LT(r.maxRssKib, 40 * 1024) << r.maxRssKib;  // far below the 64 MiB that went through
  EXPECT_TRUE(WorkFilesLeft(root_).empty());

  // Binary output goes to a terminal only with --force; pty.spawn gives the program a terminal.
  Write("bin.dat", std::string("\x00\x01\x02\x03\xff", 5) + std::string(300, '\0'));
  const std::vector<std::string> terminal = {"python3", "-c",
                                             "import pty, sys; sys.exit(pty.spawn(sys.argv[1:]) >> 8)"};
  const CliResult refused = Run(CliCall{{"convert", "--cut", "bin.dat", "-"}, {}, {}, terminal});
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.out.find("binary output is not written to a terminal"), std::string::npos) << refused.out;
  EXPECT_EQ(refused.out.find('\xff'), std::string::npos);
  const CliResult forced = Run(CliCall{{"convert", "--cut", "--force", "bin.dat", "-"}, {}, {}, terminal});
  EXPECT_EQ(forced.status, 0);
  EXPECT_NE(forced.out.find('\xff'), std::string::npos);
  Write("a.txt", "text\n");
  EXPECT_EQ(Run(CliCall{{"convert", "a.txt", "-"}, {}, {}, terminal}).status, 0);  // text is fine
  // A message about standard input names it "-".
  EXPECT_EQ(RunWithInput({"convert", "--no-text", "--no-cut", "-", "o.txt"}, Path("a.txt")).err,
            "-: 変換設定がされていません\n");

  // Standard output takes one file; a folder or a wildcard cannot go there.
  fs::create_directories(Path("dir"));
  for (const char* input : {"dir", "*.txt"}) {
    const CliResult one = Run({"convert", input, "-"});
    EXPECT_EQ(one.status, 64) << input;
    EXPECT_NE(one.err.find("standard output (-) takes one input file"), std::string::npos) << one.err;
  }
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

}  // namespace
}  // namespace ferrox::testing
