// The command line's options, help and survey --json, end to end.

#include <filesystem>
#include <regex>
#include <set>

#include "helpers/binhex_encoder.h"
#include "helpers/cli_runner.h"
#include "helpers/macbinary_builder.h"

namespace ferrox::testing {
namespace {

namespace fs = std::filesystem;

using CliOptions = CliTest;

// The locale of a run: LC_ALL cleared so that LC_MESSAGES and LANG decide.
CliCall InLocale(std::vector<std::string> args, const std::string& lcMessages, const std::string& lang) {
  return CliCall{std::move(args), {}, {{"LC_ALL", ""}, {"LC_MESSAGES", lcMessages}, {"LANG", lang}}, {}};
}

TEST_F(CliOptions, EveryNamedOptionEqualsItsFlagWordAndTheLaterOneWins) {
  // word, start value, named option, the value it must make
  const std::tuple<const char*, int, std::vector<std::string>, int> cases[] = {
      {"--conv-mode", 12, {"--eof"}, 13},
      {"--conv-mode", 13, {"--no-eof"}, 12},
      {"--conv-mode", 12, {"--fnc-fixed"}, 14},
      {"--conv-mode", 14, {"--no-fnc-fixed"}, 12},
      {"--conv-mode", 8, {"--jis-euc"}, 12},
      {"--conv-mode", 12, {"--no-jis-euc"}, 8},
      {"--conv-mode", 4, {"--gaiji-chars"}, 12},
      {"--conv-mode", 12, {"--no-gaiji-chars"}, 4},
      {"--conv-mode", 12, {"--gaiji-table-replace"}, 28},
      {"--conv-mode", 28, {"--no-gaiji-table-replace"}, 12},
      {"--conv-mode", 12, {"--no-utf8"}, 44},
      {"--conv-mode", 44, {"--utf8"}, 12},
      {"--conv-mode", 140, {"--mac-japanese"}, 76},
      {"--conv-mode", 76, {"--no-mac-japanese"}, 140},
      {"--conv-mode", 204, {"--mac-japanese-auto"}, 12},
      {"--conv-mode", 12, {"--plain-ties"}, 268},
      {"--conv-mode", 268, {"--no-plain-ties"}, 12},
      {"--file-mode", 116, {"--backup"}, 117},
      {"--file-mode", 117, {"--trash"}, 244},
      {"--file-mode", 244, {"--backup"}, 117},
      {"--file-mode", 245, {"--replace"}, 116},
      {"--file-mode", 113, {"--mac-dates"}, 117},
      {"--file-mode", 117, {"--no-mac-dates"}, 113},
      {"--file-mode", 101, {"--walk"}, 117},
      {"--file-mode", 117, {"--no-walk"}, 101},
      {"--file-mode", 53, {"--unknown-type-names"}, 117},
      {"--file-mode", 117, {"--no-unknown-type-names"}, 53},
      {"--file-mode", 117, {"--delete-input"}, 373},
      {"--file-mode", 373, {"--keep-input"}, 117},
      {"--file-mode", 117, {"--mac-names"}, 629},
      {"--file-mode", 629, {"--no-mac-names"}, 117},
      {"--file-mode", 117, {"--resource-forks"}, 1141},
      {"--file-mode", 1141, {"--no-resource-forks"}, 117},
  };
  for (const auto& [word, start, named, made] : cases) {
    std::vector<std::string> args = {"settings", word, std::to_string(start)};
    args.insert(args.end(), named.begin(), named.end());
    const CliResult byName = Run(args);
    const CliResult byWord = Run({"settings", word, std::to_string(made)});
    EXPECT_EQ(byName.status, 0) << named[0] << byName.err;
    EXPECT_EQ(byName.out, byWord.out) << named[0];
    // The flag word given last wins over the named option before it.
    args.insert(args.end(), {word, std::to_string(start)});
    EXPECT_EQ(Run(args).out, Run({"settings", word, std::to_string(start)}).out) << named[0];
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
    const CliResult r = Run(InLocale(args, "", lang));
    EXPECT_EQ(r.status, 0) << args[2];
    EXPECT_NE(r.err.find(says), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
  }
  EXPECT_FALSE(Exists("out/a.txt"));
}

TEST_F(CliOptions, SurveyJsonIsOneObjectPerFile) {
  const std::string data = Sjis("メモ\r") + "\x85\x40";  // with Mac ①
  Write("files/mac.bin", MacBinaryHeaderBytes({Sjis("メモ"), "TEXT", "ttxt", static_cast<std::uint32_t>(data.size()),
                                                5, 3069923400u, 3070029920u}) +
                             data + std::string(128 - data.size(), '\0') + "RSRC!" + std::string(123, '\0'));
  Write("files/euc.txt", Encode("日本語\n\"引用\"\n", "EUC-JP") + "\x1a");
  Write("files/bin.dat", std::string(300, '\0'));
  Write("files/utf.txt", "\xEF\xBB\xBF" "か\xE3\x82\x99な\n");  // BOM, NFD
  Write("files/memo.hqx", testing::EncodeBinHex({"Memo", "TEXT", "ttxt", "abc\r\n", "fork"}));
  Write("a\"b.txt", Sjis("シフトJIS\r\nと\r混在\nです"));
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
      R"({"path":")" + Path("files/euc.txt") + "\"," + file +
      R"("flags":2248,"flags_hex":"0x08C8","codes":["EUC-JP"],"first_code":"EUC-JP","line_ends":["LF"],"gaiji":[],)"
      R"("ends_with_eof":true,"apple_codes":false,"binary_bytes_seen":false,"binary_allowance":0,"bin_rate":3,"size":15,)"
      R"("surveyed_bytes":15,"whole_file_surveyed":true,"modified":"T"})" "\n"
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
      R"("flags":370,"flags_hex":"0x0172","codes":["Shift_JIS"],"first_code":"Shift_JIS","line_ends":["CRLF","CR","LF"],)"
      R"("gaiji":[],)" + noApple + R"("binary_allowance":1,"bin_rate":3,"size":23,)"
      R"("surveyed_bytes":23,"whole_file_surveyed":true,"modified":"T"})" "\n"
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
    const CliResult help = Run(InLocale({"--help"}, messages, lang));
    EXPECT_EQ(help.status, 0);
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

}  // namespace
}  // namespace ferrox::testing
