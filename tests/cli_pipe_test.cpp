// "-" as standard input and output: the same bytes as the file forms, flat memory, no binary on a terminal.

#include <filesystem>
#include <fstream>

#include "helpers/binhex_encoder.h"
#include "helpers/cli_runner.h"
#include "helpers/macbinary_builder.h"

namespace ferrox::testing {
namespace {

namespace fs = std::filesystem;

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
      {"euc.txt", Encode("変換のテスト\nｶﾀｶﾅも一行\n最後の行\n", "EUC-JP"), {}},
      {"jis.txt", Encode("変換のテスト\nカタカナも一行\n", "ISO-2022-JP"), {"--eof", "--line-size", "10"}},
      {"mac.bin", MacBinaryFile({Sjis("メモ")}, data, "RESOURCE!!"), {}},
      {"mac-kept.bin", MacBinaryHeaderBytes({Sjis("メモ"), "TEXT", "ttxt", static_cast<std::uint32_t>(data.size())}) + data,
       {"--no-cut"}},
      {"binary.dat", binary, {"--cut"}},
      // Longer than what is read ahead for the survey: text and binary are
      // streamed, Mac wrappers are read whole first.
      {"long-euc.txt", LongEuc(300000), {}},
      {"long-binary.dat", std::string(40, binary[7]) + binary + LongEuc(100000) + binary, {"--cut"}},
      {"long-mac.bin", MacBinaryHeaderBytes({"Long", "TEXT", "ttxt", 100000}) + LongEuc(100000).substr(0, 100000), {}},
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
  for (const char* name : {"mac.bin", "long-euc.txt", "long-mac.bin", "long.hqx"}) {
    EXPECT_EQ(RunWithInput({"survey", "--flags", "-"}, Path(name)).out, Run({"survey", "--flags", name}).out) << name;
  }
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
