// BinHex and AppleSingle input end to end through the ferrox command: files
// made by macutils and by the AppleDouble script, damaged ones, and resource
// forks kept as "._" files with FileMode 1024.

#include <cstdlib>
#include <filesystem>
#include <set>

#include "helpers/binhex_encoder.h"
#include "helpers/cli_runner.h"
#include "helpers/macbinary_builder.h"

namespace ferrox::testing {
namespace {

const std::string kEuc = Encode("マックの文書\n二行目\n", "EUC-JP");
const std::string kConverted = Sjis("マックの文書\r\n二行目\r\n");
const std::string kResource = std::string(300, '\x90') + "RSRC";
const std::string script = "python3 '" FERROX_SOURCE_DIR "/tools/apple_double.py' ";

using CliMacFiles = CliTest;

int Shell(const std::string& folder, const std::string& command) {
  return std::system(("cd '" + folder + "' && " + command).c_str());
}

// Each wrapper in a one-file run: a text data fork converted, a binary one
// taken as it is without --cut or --text.
TEST_F(CliMacFiles, UnwrapsTheDataForkOfEachWrapper) {
  Write("in/doc.txt", kEuc);
  Write("in/r", kResource);
  const std::string in = Path("in");
  ASSERT_EQ(Shell(in, "binhex -d -t TEXT -c ttxt doc.txt > macutils.hqx"), 0);
  ASSERT_EQ(Shell(in, script + "single single.as --name 'メモ' --type TEXT --creator ttxt --dates 0 0 "
                               "--data doc.txt --rsrc r"), 0);
  Write("in/ours.hqx", EncodeBinHex({"Memo", "TEXT", "ttxt", kEuc, kResource}));
  const std::string data("\0\1\2\3\x90" "binary\xff", 12);
  Write("in/pict.bin", MacBinaryFile({"Pict", "PICT", "ttxt"}, data, ""));
  Write("in/pict.hqx", EncodeBinHex({"Pict", "PICT", "ttxt", data, ""}));
  Write("in/pict.as", AppleFileBytes({{1, 38, static_cast<std::uint32_t>(data.size())}}, data));
  const struct { const char* input; const char* fileMode; std::string out; bool dropped, sidecar; } rows[] = {
      {"macutils.hqx", "117", kConverted, false, false},
      {"single.as", "117", kConverted, true, false},
      {"ours.hqx", "1141", kConverted, false, true},  // MacBinary and AppleSingle sidecars: the folder run below
      {"pict.bin", "117", data, false, false},
      {"pict.hqx", "117", data, false, false},
      {"pict.as", "117", data, false, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.input) + " with FileMode " + row.fileMode);
    std::filesystem::remove_all(Path("out"));
    const CliResult r = RunOk({"convert", "--file-mode", row.fileMode, "in/" + std::string(row.input), "out/memo.txt"});
    EXPECT_EQ(Read("out/memo.txt"), row.out);
    // Without FileMode 1024 the message line says what was dropped.
    EXPECT_EQ(r.err, row.dropped ? Path("in/" + std::string(row.input)) + ": ﾘｿｰｽﾌｫｰｸ(304 Byte)は出力されませんでした\n" : "");
    ASSERT_EQ(Exists("out/._memo.txt"), row.sidecar);
    if (row.sidecar) {  // the script reads the fork and the Finder info back
      ASSERT_EQ(Shell(Path("out"), script + "read ._memo.txt > said"), 0);
      EXPECT_EQ(Read("out/said"), "TEXT ttxt\n");
      EXPECT_EQ(Read("out/._memo.txt.rsrc"), kResource);
    }
    EXPECT_TRUE(WorkFilesLeft(root_).empty());
  }
}

// The survey of a data file shows the Mac block its AppleDouble sidecar lends
// it, found where a run over its folder finds it.
TEST_F(CliMacFiles, SurveyShowsTheSidecarsMacBlock) {
  Write("in/r", kResource);
  Write("in/doc.txt", kEuc);
  Write("in/memo.txt", kEuc);
  Write("in/plain.txt", kEuc);
  ASSERT_EQ(Shell(Path("in"), "mkdir __MACOSX && " + script + "double ._doc.txt --type TEXT --creator ttxt --rsrc r && " +
                                  script + "double __MACOSX/._memo.txt --type PICT --creator ttxt --macos"), 0);
  const struct { const char* file; const char* sidecar; const char* type; const char* fork; } rows[] = {
      {"doc.txt", "._doc.txt", "TEXT", "304"},
      {"memo.txt", "__MACOSX/._memo.txt", "PICT", "0"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file);
    const CliResult r = RunOk({"survey", "in/" + std::string(row.file)});
    for (const std::string& line :
         {"このファイルにはAppleDoubleﾌｧｲﾙ [" + std::string(row.sidecar) + "] が付いています。",
          "リソースフォーク  :" + std::string(row.fork) + " Byte", "ファイルタイプ    :[" + std::string(row.type) + "]",
          "オリジナルのファイル名は[" + std::string(row.file) + "]です。"}) {
      EXPECT_NE(r.out.find(line + "\n"), std::string::npos) << line << "\n" << r.out;
    }
  }
  EXPECT_EQ(Run({"survey", "in/plain.txt"}).out.find("Macintosh"), std::string::npos);
}

TEST_F(CliMacFiles, DamagedInputWritesNothing) {
  const std::string good = EncodeBinHex({"Memo", "TEXT", "ttxt", kEuc, kResource});
  BinHexFile badData{"Memo", "TEXT", "ttxt", kEuc, kResource};
  badData.crcXor[1] = 0x1234;
  BinHexFile badResource = badData;
  badResource.crcXor[1] = 0;
  badResource.crcXor[2] = 1;
  const std::string past = AppleFileBytes({{1, 38, 4096}}, kEuc);
  const std::string longName = AppleFileBytes({{3, 38, 1000}}, std::string(1000, 'n'));
  const struct { const char* name; std::string bytes; const char* message; } rows[] = {
      {"data CRC", EncodeBinHex(badData), "BinHexのﾃﾞｰﾀﾌｫｰｸのCRCが一致しません"},
      {"resource CRC", EncodeBinHex(badResource), "BinHexのﾘｿｰｽﾌｫｰｸのCRCが一致しません"},
      {"cut in the data fork", good.substr(0, 120), "BinHexのﾃﾞｰﾀが途中で切れています"},
      {"AppleSingle fork past the end", past, "AppleSingle/AppleDoubleの項目がﾌｧｲﾙの終わりを越えています"},
      {"AppleSingle name of 1,000 bytes", longName, "AppleSingle/AppleDoubleのﾌｧｲﾙ名が長すぎます"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Write("in/bad.hqx", row.bytes);
    const CliResult r = Run({"convert", "--file-mode", "1141", "in/bad.hqx", "out/memo.txt"});
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.err.find(row.message), std::string::npos) << r.err;
    EXPECT_FALSE(Exists("out/memo.txt"));
    EXPECT_FALSE(Exists("out/._memo.txt"));
    EXPECT_EQ(Read("in/bad.hqx"), row.bytes);
    EXPECT_TRUE(WorkFilesLeft(root_).empty());
  }
}

// A folder run over what a Mac user sends: every output named from its Mac
// name (FileMode 512), no two on one name, resource forks beside them
// (FileMode 1024), and no sidecar converted as a file of its own.
TEST_F(CliMacFiles, FolderRunWithMacNamesAndResourceForks) {
  Write("src/doc.txt", kEuc);
  Write("src/r", kResource);
  Write("in/plain.txt", kEuc);
  Write("in/bin.dat", std::string("\0\1\2\3\x90" "binary", 11));
  Write("in/mb.bin", MacBinaryFile({"Report", "TEXT", "ttxt"}, kEuc, kResource));
  const std::string src = Path("src");
  ASSERT_EQ(Shell(src, "binhex -d -t TEXT -c ttxt doc.txt > ../in/memo.hqx && cp ../in/memo.hqx ../in/again.hqx"), 0);
  ASSERT_EQ(Shell(src, script + "single ../in/single.as --name 'メモ' --type TEXT --creator ttxt --data doc.txt --rsrc r"), 0);
  ASSERT_EQ(Shell(src, script + "double side --type TEXT --creator ttxt --rsrc r --macos && " + script +
                           "zip a.zip docs/letter doc.txt side && " + script + "unzip a.zip ../in"), 0);
  auto macName = [&](const char* name) {
    const CliResult r = Run({"name", name, "TEXT", "ttxt"});
    return r.out.substr(0, r.out.find('\n'));
  };
  const std::string report = macName("Report"), doc = macName("doc.txt"), memo = macName("メモ");
  const std::string letter = "docs/" + macName("letter");
  const std::string doc2 = doc.substr(0, doc.rfind('.')) + " (2)" + doc.substr(doc.rfind('.'));

  RunOk({"convert", "--file-mode", "1653", "in", "out"});
  std::set<std::string> made;
  for (const auto& e : std::filesystem::recursive_directory_iterator(Path("out"))) {
    if (e.is_regular_file()) made.insert(e.path().string().substr(Path("out/").size()));
  }
  const std::set<std::string> expected{"plain.txt", "bin.dat", report, "._" + report, doc, doc2, memo, "._" + memo,
                                       letter, "docs/._" + macName("letter")};
  EXPECT_EQ(made, expected);
  for (const std::string& text : {std::string("plain.txt"), report, doc, doc2, memo, letter}) {
    EXPECT_EQ(Read("out/" + text), kConverted) << text;
  }
  EXPECT_EQ(Read("out/bin.dat"), Read("in/bin.dat"));
  for (const std::string& fork : {report, memo, letter}) {
    const std::string at = Path("out/" + fork.substr(0, fork.rfind('/') + 1));
    const std::string sidecar = "._" + fork.substr(fork.rfind('/') + 1);
    ASSERT_EQ(Shell(at, script + "read '" + sidecar + "' > said"), 0) << fork;
    EXPECT_EQ(ReadAll(at + sidecar + ".rsrc"), kResource) << fork;
    ::unlink((at + "said").c_str());
    ::unlink((at + sidecar + ".rsrc").c_str());
  }
}

// hfsutils writes MacBinary II; with the header kept it must read the result back.
TEST_F(CliMacFiles, KeptMacBinaryIIHeaderStaysValid) {
  if (std::system("command -v hformat >/dev/null") != 0) GTEST_SKIP() << "hfsutils not installed";
  Write("memo.txt", "abc\nxyz\n");
  const std::string hfs = "HOME='" + root_ + "' ";  // hmount remembers the image in $HOME
  ASSERT_EQ(Shell(root_, "dd if=/dev/zero of=img bs=1k count=800 2>/dev/null && " + hfs + "hformat -l T img >/dev/null && " +
                             hfs + "hcopy -t memo.txt :memo && " + hfs + "hcopy -m :memo in.bin"), 0);
  RunOk({"convert", "--text", "--no-cut", "in.bin", "out.bin"});
  const std::string out = Read("out.bin");
  EXPECT_EQ(out.size() % 128, 0u);
  EXPECT_EQ(out.substr(128, 10), "abc\r\nxyz\r\n");
  ASSERT_EQ(Shell(root_, hfs + "hcopy -m out.bin :back && " + hfs + "hcopy -r :back back.data && " + hfs + "humount"), 0);
  EXPECT_EQ(Read("back.data"), "abc\r\nxyz\r\n");
}

}  // namespace
}  // namespace ferrox::testing

namespace ferrox::testing {
namespace {

// Shift JIS with Mac ① (0x8540), © (0xFD) and a control byte.
const std::string kMacText = Sjis("マックで書いた文書です。\n") + "\x85\x40\xFD\x01\n";
const std::string kMapped = Sjis("マックで書いた文書です。\r\n") + "\x87\x40" "c\r\n";
const std::string kUnmapped = Sjis("マックで書いた文書です。\r\n") + "\x85\x40\r\n";

TEST_F(CliMacFiles, MacOriginReadsMacJapaneseAndEachChangeIsCounted) {
  Write("in/mb.bin", MacBinaryFile({"Memo"}, kMacText, ""));
  Write("in/memo.hqx", EncodeBinHex({"Memo", "TEXT", "ttxt", kMacText, ""}));
  Write("in/plain.txt", kMacText);
  // EUC kanji whose bytes are also Mac vertical forms stay EUC inside a wrapper.
  Write("in/euc.bin", MacBinaryFile({"Memo"}, Encode("縦書きの文書\n", "EUC-JP"), ""));
  const std::string mapped = ": 制御文字などを削除 1、Mac の文字を変換 1、Mac の文字を代替 1\n";
  const struct { const char* input; const char* option; std::string out; std::string err; } rows[] = {
      {"mb.bin", "--mac-japanese-auto", kMapped, mapped},
      {"memo.hqx", "--mac-japanese-auto", kMapped, mapped},
      {"plain.txt", "--mac-japanese-auto", kUnmapped, ": 制御文字などを削除 2\n"},
      {"plain.txt", "--mac-japanese", kMapped, mapped},
      {"mb.bin", "--no-mac-japanese", kUnmapped, ": 制御文字などを削除 2\n"},
      {"euc.bin", "--mac-japanese", Sjis("縦書きの文書\r\n"), ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.input) + " " + row.option);
    std::filesystem::remove_all(Path("out"));
    const CliResult r = RunOk({"convert", "--text", "--cut", row.option, "in/" + std::string(row.input), "out/m.txt"});
    EXPECT_EQ(Read("out/m.txt"), row.out);
    EXPECT_EQ(r.err, row.err.empty() ? "" : Path("in/" + std::string(row.input)) + row.err);
  }
  // In a folder run an AppleDouble sidecar with a creator makes its file a Mac file.
  Write("side/memo.txt", kMacText);
  Write("side/other.txt", kMacText);
  ASSERT_EQ(Shell(Path("side"), "python3 '" FERROX_SOURCE_DIR "/tools/apple_double.py' double ._memo.txt "
                                "--type TEXT --creator ttxt"), 0);
  RunOk({"convert", "--text", "side", "sideout"});
  EXPECT_EQ(Read("sideout/memo.txt"), kMapped);
  EXPECT_EQ(Read("sideout/other.txt"), kUnmapped);
}

TEST_F(CliMacFiles, ChangeListHasARowPerChangeWithOffsetsPastTheBlock) {
  // Changes on both sides of the pass's 8192-byte block boundary, UTF-8 that
  // CP932 lacks, and a file with no change, which prints nothing.
  Write("big.txt", std::string(8190, 'a') + "\x01\x1A\x85\x40\xFF" "b\n");
  Write("utf8.txt", "caf\xC3\xA9 \xE2\x82\xAC \xE3\x81\x82\n");
  Write("clean.txt", Sjis("変更のない文書\r\n"));
  const CliResult r = Run({"convert", "--text", "--mac-japanese", "--changes", "list.tsv",
                           "\"big.txt\",\"utf8.txt\",\"clean.txt\"", "\"o1\",\"o2\",\"o3\""});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, Path("big.txt") + ": 制御文字などを削除 1、EOF を削除 1、Mac の文字を変換 1、Mac の文字を代替 1\n" +
                       Path("utf8.txt") + ": UTF-8 の文字を代替 2\n");
  EXPECT_EQ(Read("list.tsv"), "path\toffset\tkind\tinput\toutput\n" +
                                  Path("big.txt") + "\t8190\tjunk\t01\t\n" +
                                  Path("big.txt") + "\t8191\teof\t1A\t\n" +
                                  Path("big.txt") + "\t8192\tmac\t85 40\t87 40\n" +
                                  Path("big.txt") + "\t8194\tmac-fallback\tFF\t81 63\n" +
                                  Path("utf8.txt") + "\t3\tutf8-replaced\tC3 A9\t81 AC\n" +
                                  Path("utf8.txt") + "\t6\tutf8-replaced\tE2 82 AC\t81 AC\n");
  EXPECT_EQ(Read("o1").substr(8190), "\x87\x40\x81\x63" "b\r\n");
}

}  // namespace
}  // namespace ferrox::testing
