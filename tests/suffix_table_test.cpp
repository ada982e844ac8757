// The suffix table, its patterns, the editor's rules, and FileNameRec; the
// settings store and the suffix table it saves.

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <QSettings>

#include <filesystem>
#include <fstream>

#include "app/engine_settings.h"
#include "app/settings_store.h"
#include "helpers/scratch_dir.h"
#include "suffix/file_name_rec.h"
#include "suffix/suffix_edit_rules.h"
#include "suffix/suffix_pattern.h"
#include "text/cp932.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;
using testing::ReadAll;
using Rows = std::vector<SuffixEntry>;

Rows RowsOf(const SuffixTable& table) { return {table.Rows().begin(), table.Rows().end()}; }
SuffixTable BuiltIn() {
  SuffixTable table;
  SuffixTableDefault(table);
  return table;
}
int Sign(int r) { return (r > 0) - (r < 0); }

TEST(SuffixTable, ParseLines) {
  const std::pair<std::string_view, Rows> cases[] = {
      {"a\tb\tc\td\te\r\n", {{"a", "b", "c", "d"}}},  // five fields keep four
      {"doc\tWTBN\t\tWord\r\n", {{"doc", "WTBN", "", "Word"}}},
      {".gif\tGIFF\r\n..gif\tGIFf\r\n", {{"gif", "GIFF", "", ""}, {".gif", "GIFf", "", ""}}},
      {" txt \t TEXT\r\n", {{" txt ", " TEXT", "", ""}}},
      {"gif\r\n\r\n/a\tb\tc\r\nx\ty\r\n", {{"x", "y", "", ""}}},  // no separator, empty, comment
      {"a\tb\r\nc\td", {{"a", "b", "", ""}}},                      // last line without CR LF
      {"a\tb\nc\td\r\n", {{"a", "b\nc", "d", ""}}},                // a lone LF is no line end
      {"Punct=,\r\ngif,GIFF,,G\r\npunct=;\r\njpg;JPEG\r\nx,y\r\n", {{"gif", "GIFF", "", "G"}, {"jpg", "JPEG", "", ""}}},
      {"PUNCT=\r\na\tb\r\n", {{"a", "b", "", ""}}},  // an empty Punct= keeps the separator
      {"Punct=::\r\na::b:c::d\r\n", {{"a", "b:c", "d", ""}}},
      // 表 is 0x95 0x5C: its trail byte must not split it when the separator is a backslash.
      {"Punct=\\\r\nxls\\XLS*\\XCEL\\\x95\x5c\x8c\x76\x8e\x5a\r\n", {{"xls", "XLS*", "XCEL", "表計算"}}},
  };
  for (const auto& [text, rows] : cases) {
    SuffixTable table;
    EXPECT_EQ(SuffixTableParse(table, text), SuffixLoadStatus::kLoaded) << text;
    EXPECT_EQ(RowsOf(table), rows) << text;
  }
}

class SuffixFile : public ::testing::Test {
 protected:
  testing::ScratchDir dir_{testing::SharedTempBase()};  // one test reads it as "nobody"
  std::string folder_ = dir_.Path().string();
  fs::path file_ = dir_.Path() / "SfxTbl.txt";
};

TEST_F(SuffixFile, MissingAndEmptyFiles) {
  SuffixTable table;
  table.Append({"x", "y", "", ""});
  EXPECT_EQ(SuffixTableLoad(table, folder_).status, SuffixLoadStatus::kDefault);
  EXPECT_EQ(RowsOf(table), RowsOf(BuiltIn()));  // the built-in rows alone
  EXPECT_EQ(table.RowCount(), 100u);
  dir_.Write("SfxTbl.txt", "");
  EXPECT_EQ(SuffixTableLoad(table, folder_).status, SuffixLoadStatus::kEmptyFile);
  EXPECT_EQ(table.RowCount(), 0u);  // what a file holds: ParseLines
}

TEST_F(SuffixFile, WrittenTableReadsBackAsCp932WithCrLf) {
  SuffixTable table = BuiltIn();
  table.Append({"hlp", "HELP", "", "ヘルプ 表示"});
  table.Append({"", "X\\*Y", "a b", ""});
  table.Append({"ﾃｷｽﾄ", "", "ttxt", "半角ｶﾅ"});
  ASSERT_TRUE(SuffixTableSave(table, folder_));
  SuffixTable back;
  EXPECT_EQ(SuffixTableLoad(back, folder_).status, SuffixLoadStatus::kLoaded);
  EXPECT_EQ(back, table);
  const std::string bytes = ReadAll(file_);
  EXPECT_NE(bytes.find("\r\nhlp\tHELP\t\t\x83\x77\x83\x8b\x83\x76 \x95\x5c\x8e\xa6\r\n"), std::string::npos);
  EXPECT_NE(bytes.find("\r\n\xc3\xb7\xbd\xc4\t\tttxt\t\x94\xbc\x8a\x70\xb6\xc5\r\n"), std::string::npos);
}

TEST_F(SuffixFile, BackupAndFailedSave) {
  EXPECT_FALSE(SuffixTableBackup(folder_));  // nothing to back up
  dir_.Write("SfxTbl.txt", "a\tb\r\n");
  dir_.Write("SfxTbl.old", "stale");
  EXPECT_TRUE(SuffixTableBackup(folder_));
  EXPECT_EQ(ReadAll(dir_.Path() / "SfxTbl.old"), "a\tb\r\n");
  EXPECT_EQ(ReadAll(file_), "a\tb\r\n");

  // A folder in the table file's place cannot be replaced: it stays, and no temp file is left.
  fs::remove(file_);
  fs::create_directory(file_);
  EXPECT_FALSE(SuffixTableSave(BuiltIn(), folder_));
  EXPECT_FALSE(SuffixTableSave(BuiltIn(), folder_ + "/missing"));
  EXPECT_TRUE(fs::is_directory(file_));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()), 2);
}

TEST_F(SuffixFile, LineEndsPastByte32767AreAnError) {
  std::string fits;
  for (int i = 0; i < 4681; ++i) fits += "a\tTXT\r\n";  // 4681 lines of 7 bytes end at byte 32,767
  const std::tuple<std::string, SuffixLoadStatus, std::size_t> cases[] = {
      {fits, SuffixLoadStatus::kLoaded, 4681},
      {fits + "tail without a line end", SuffixLoadStatus::kLoaded, 4681},
      {fits.substr(0, fits.size() - 1) + "x\r\n", SuffixLoadStatus::kTooLarge, 4680},  // CR at 32,767 + 1
      {fits + "c\td\r\n", SuffixLoadStatus::kTooLarge, 4681},
      {fits + std::string(100000, 'x') + "\r\n", SuffixLoadStatus::kTooLarge, 4681},
  };
  for (const auto& [text, status, rows] : cases) {
    dir_.Write("SfxTbl.txt", text);
    SuffixTable table;
    const SuffixLoadResult result = SuffixTableLoad(table, folder_);
    EXPECT_EQ(result.status, status) << text.size();
    EXPECT_EQ(table.RowCount(), rows) << text.size();
    EXPECT_EQ(SuffixLoadMessage(result), result.Failed() ? "拡張子定義ファイル「" + file_.string() +
                                                               "」が大きすぎるため、途中までしか読み込めませんでした。"
                                                         : std::string());
  }
}

TEST_F(SuffixFile, UnreadableFileIsAnErrorAndKeepsTheTable) {
  dir_.Write("SfxTbl.txt", "a\tb\r\n");
  fs::permissions(file_, fs::perms::none);
  fs::permissions(folder_, fs::perms::owner_all | fs::perms::others_exec);
  auto check = [&] {
    SuffixTable table;
    table.Append({"kept", "KEEP", "", ""});
    const SuffixTable before = table;
    const SuffixLoadResult result = SuffixTableLoad(table, folder_);
    return result.status == SuffixLoadStatus::kUnreadable && table == before &&
           SuffixLoadMessage(result) == "拡張子定義ファイル「" + file_.string() + "」を読み込めませんでした。";
  };
  if (::geteuid() != 0) {
    EXPECT_TRUE(check());
    return;
  }
  const pid_t pid = ::fork();  // root reads every file: check as "nobody" in a child
  if (pid == 0) ::_exit(::setgid(65534) != 0 || ::setuid(65534) != 0 ? 2 : check() ? 0 : 1);
  int status = 0;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  if (WEXITSTATUS(status) == 2) GTEST_SKIP() << "cannot drop privileges";
  EXPECT_EQ(status, 0);
}

TEST(SuffixPattern, Match) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"W8BN", "W?BN", true}, {"WBN", "W?BN", false},  {"XLS", "XLS*", true},   {"XL", "XLS*", false},
      {"BMP ", "BMP", false}, {"GIFf", "GIFF", false}, {"A*", "A\\*", true},    {"AB", "A\\*", false},
      {"AB", "A\\?", false},  {"A\\", "A\\\\", true},  {"A", "A\\", true},      {"A\\", "A\\", false},
      {"a", "[a]", false},    {"", "*", true},         {"x", "", false},        {"", "?", false},
      {"abcab", "*ab", true}, {"abc", "a*b*b", false}, {"日本", "??", true},    {"日本", "?", false},
  };
  for (const auto& [text, pattern, match] : cases) {
    EXPECT_EQ(SuffixPatternMatch(text, pattern), match) << text << " ~ " << pattern;
  }
}

TEST(SuffixPattern, RankingAndSort) {
  const std::tuple<const char*, const char*, int> cases[] = {  // +1: the first ranks first
      {"XLS*", "XL*", 1}, {"MPG", "MPG2", 1}, {"W?BN", "WTBN", -1}, {"GIFF", "GIFf", 1}, {"TEXT", "*", 1},
      {"?", "*", 1},      {"A?", "AB", -1},   {"A*", "A*B", -1},    {"*", "", -1},       {"A\\*", "A*", 1},
      {"A\\*", "A\\*", 0}, {"A\\", "A\\x", 1},
  };
  for (const auto& [a, b, sign] : cases) {
    EXPECT_EQ(Sign(SuffixPatternCompare(a, b)), sign) << a << " vs " << b;
    EXPECT_EQ(Sign(SuffixPatternCompare(b, a)), -sign) << b << " vs " << a;
  }
  const std::tuple<SuffixEntry, SuffixEntry, int> entries[] = {
      {{"a", "TEXT", "", ""}, {"a", "", "CWIE", ""}, 1},      // an empty type ranks as "*"
      {{"a", "TEXT", "CWIE", ""}, {"a", "TEXT", "", ""}, 1},  // then the creator
      {{"a", "TEXT", "", ""}, {"b", "TEXT", "*", ""}, 1},     // "" and "*" tie: the extension decides
      {{"a", "TEXT", "", "x"}, {"a", "TEXT", "", "y"}, 1},
  };
  for (const auto& [x, y, sign] : entries) EXPECT_EQ(Sign(SuffixEntryCompare(x, y)), sign) << x.Extension;

  SuffixTable table;
  for (const SuffixEntry& row : {SuffixEntry{"txt", "TEXT", "", "plain"}, SuffixEntry{"any", "", "", ""},
                                 SuffixEntry{"doc", "W?BN", "MSWD", ""}, SuffixEntry{"csv", "TEXT", "XCEL", ""},
                                 SuffixEntry{"dot", "WTBN", "MSWD", ""}, SuffixEntry{"txt2", "TEXT", "", "plain"}}) {
    table.Append(row);
  }
  EXPECT_EQ(SuffixTableSort(table, 0), 1);  // the selection follows its row
  std::vector<std::string> order;
  for (const SuffixEntry& row : table.Rows()) order.push_back(row.Extension);
  EXPECT_EQ(order, (std::vector<std::string>{"csv", "txt", "txt2", "dot", "doc", "any"}));
  EXPECT_EQ(table.Elements().back(), SuffixEntry{});
}

TEST(SuffixEditRules, CharactersLengthsAndLayout) {
  EXPECT_TRUE(IsAlpha(" ~AZaz09?*\\"));
  for (const char* bad : {"é", "ＡＢ", "A\tB", "\x7f"}) EXPECT_FALSE(IsAlpha(bad)) << bad;
  EXPECT_TRUE(IsSuffixName("テキスト"));
  for (const char* bad : {"a\\", "a/", "a:", "a*", "a?", "a<", "a>", "a|", "a\"", ".a"}) {
    EXPECT_FALSE(IsSuffixName(bad)) << bad;
  }
  const std::pair<const char*, std::size_t> lengths[] = {{"XLS*", 3}, {"W?BN", 4}, {"A\\*BC", 4},
                                                         {"A\\\\", 2}, {"AB\\", 2}, {"***", 0}};
  for (const auto& [pattern, length] : lengths) EXPECT_EQ(SuffixPatternLength(pattern), length) << pattern;
  const std::pair<const char*, const char*> formats[] = {
      {"txt", "txt     "},        {"12345678", "12345678"}, {"123456789", "1234567~"}, {"あいうえお", "あいう～"},
      {"aあいうえ", "aあいう~"}, {"ｱｲｳｴｵｶｷｸｹ", "ｱｲｳｴｵｶｷ~"},
  };
  for (const auto& [text, expected] : formats) EXPECT_EQ(LeftFormat(text, 8), expected) << text;
  EXPECT_EQ(SuffixListLine({"doc", "W?BN", "MSWD", "Microsoft Word Docment"}),
            " doc      W?BN     MSWD     Microsoft Word Docment");
  EXPECT_EQ(SuffixListLine({"", "TEXT", "", ""}), "          TEXT              ");
}

TEST(SuffixEditRules, Validation) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {  // "" message: accepted
      {"BAK", "TEXT", "", "拡張子が不正です。"},   {"bak  ", "TEXT", "", "拡張子が不正です。"},
      {".bak", "TEXT", "", "拡張子が不正です。"},  {"   ", "TEXT", "", "拡張子が不正です。"},
      {"a/b", "TEXT", "", "拡張子が不正です。"},   {" bak", "TEXT", "", ""},
      {"", "TEXT", "", ""},                         {"x", "ÉTXT", "", "タイプが不正です。"},
      {"x", "ＴＥＸＴ", "", "タイプが不正です。"}, {"x", "ABCDE", "", "タイプが不正です。"},
      {"x", "  ABCD  ", "", ""},                    {"x", "A\\*BC", "", ""},
      {"x", "TEXT", "ABCDE", "クリエーターが不正です。"}, {"x", "TEXT", "日本", "クリエーターが不正です。"},
      {"bak", "ABCDE", "ABCDE", "拡張子が不正です。"},  // checked in order
      {"x", "   ", "", "タイプかクリエーター何れかの設定が必要です。"},
  };
  using Kind = SuffixEditResult::Kind;
  for (const auto& [ext, type, creator, message] : cases) {
    const SuffixEditResult r = ValidateSuffixEdit(ext, type, creator, "");
    EXPECT_EQ(r.kind, *message ? Kind::kRefused : Kind::kAccepted) << ext << "/" << type;
    EXPECT_EQ(r.message, message) << ext << "/" << type;
  }
  EXPECT_EQ(ValidateSuffixEdit("", "", "", "").kind, Kind::kNothing);
  EXPECT_EQ(ValidateSuffixEdit("", "", "", " ").kind, Kind::kRefused);
  const SuffixEditResult r = ValidateSuffixEdit(" txt ", " TEXT ", " ttxt", "  Text  ");
  ASSERT_EQ(r.kind, Kind::kAccepted);
  EXPECT_EQ(r.row, (SuffixEntry{" txt ", "TEXT", "ttxt", "Text"}));
}

TEST(FileNameRec, SearchTakesTheFirstFittingRow) {
  const SuffixTable table = BuiltIn();
  const std::tuple<const char*, const char*, int> cases[] = {
      {"TEXT", "CWIE", 68}, {"TEXT", "ttxt", 71}, {"GIFf", "", 30},   {"GIFF", "x", 29}, {"W8BN", "MSWD", 84},
      {"WTBN", "XXXX", -1}, {"BMP", "", 21},      {"BMP ", "", -1},   {"XLS5", "XCEL", 88}, {"MDxy", "MV12", 41},
      {"Zoo", "", 94},      {"", "", -1},
  };
  for (const auto& [type, creator, row] : cases) EXPECT_EQ(SuffixTableSearch(table, type, creator), row) << type;
  SuffixTable hiding;
  hiding.Append({"bin", "", "", ""});  // both columns empty: fits everything
  hiding.Append({"txt", "TEXT", "", ""});
  EXPECT_EQ(SuffixTableSearch(hiding, "TEXT", "ttxt"), 0);
}

TEST(FileNameRec, Names) {
  const SuffixTable table = BuiltIn();
  constexpr std::uint16_t kFull = 12, kFixed = 12 | 2, kPlain = 117 & ~64, kUnknown = 117;
  const std::string wide127 = [] { std::string s; for (int i = 0; i < 127; ++i) s += "あ"; return s; }();
  const std::tuple<std::string, const char*, const char*, std::uint16_t, std::uint16_t, const char*, std::string>
      cases[] = {
          {"Report", "TEXT", "ttxt", kFull, kPlain, "_", "Report.txt"},
          {"main.c", "TEXT", "CWIE", kFull, kPlain, "_", "main.c"},        // empty extension
          {"photo.gif", "JPEG", "", kFull, kPlain, "_", "photo.gif.jpg"},  // never replaced
          {"PHOTO.GIF", "GIFF", "", kFull, kPlain, "_", "PHOTO.GIF"},      // already there, any case
          {"a:b", "TEXT", "", kFixed, kPlain, "--", "a--b.txt"},
          {"a:b", "TEXT", "", kFixed, kPlain, "", "ab.txt"},
          {"\\/:*?\"<>|", "TEXT", "", kFull, kPlain, "_", "＼／：＊？＂＜＞｜.txt"},
          {"\\/:*?\"<>|", "TEXT", "", kFixed, kPlain, "", ""},
          {"  spaced  ", "TEXT", "", kFull, kPlain, "_", "spaced.txt"},
          {" : ", "TEXT", "", kFixed, kPlain, " ", ""},  // only spaces after substitution
          {"tab\there.", "????", "", kFull, kPlain, "_", "tab\there."},
          {std::string("a\0b", 3), "", "", kFull, kUnknown, "_", "ab()."},
          {"Report", "BMP ", " AB ", kFull, kUnknown, "_", "Report(AB).BMP"},
          {"Report", "WX/Z", "AB:D", kFixed, kUnknown, "_", "Report(AB_D).WX_Z"},
          {"Report", "WXYZ", "ABCD", kFull, kPlain, "_", "Report"},
          {wide127 + "あ", "TEXT", "", kFull, kPlain, "_", ""},  // 256 Shift JIS bytes
          {wide127 + "a", "TEXT", "", kFull, kPlain, "_", wide127 + "a.txt"},
          {std::string(254, 'n') + ":", "TEXT", "", kFull, kPlain, "_", ""},  // a substitute counts two bytes
      };
  for (const auto& [name, type, creator, convMode, fileMode, fnc, expected] : cases) {
    ConversionSettings settings;
    settings.ConvMode = convMode;
    settings.FileMode = fileMode;
    settings.FNCChar = fnc;
    EXPECT_EQ(FileNameRec(table, NameRulesOf(settings), name, type, creator), expected) << name;
  }
}

auto Fields(const ConversionSettings& s) {
  return std::tie(s.ChkSize, s.BinRate, s.LineSize, s.ConvMode, s.FileMode, s.ExecMode, s.Left, s.Top, s.FNCChar,
                  s.GaijiTable, s.SfxSetWidth, s.SfxSetHeight);
}

class SettingsStoreTest : public ::testing::Test {
 protected:
  // The stored text of a key as another program reads it; Store writes keys the same way.
  QString Stored(const char* key) const {
    const QSettings ini(QString::fromStdString(dir_ + "/Ferrox.conf"), QSettings::IniFormat);
    return ini.value(QStringLiteral("Setting/") + QLatin1String(key), QStringLiteral("<missing>")).toString();
  }
  void Store(std::initializer_list<std::pair<const char*, const char*>> values) const {
    QSettings ini(QString::fromStdString(dir_ + "/Ferrox.conf"), QSettings::IniFormat);
    for (const auto& [key, value] : values) ini.setValue(QStringLiteral("Setting/") + key, QString::fromUtf8(value));
  }
  void ExpectEveryKey() const {
    for (const char* key : {"ChkSize", "BinRate", "Left", "Top", "ExecMode", "FileMode", "LineSize", "ConvMode",
                            "FNCChar", "GaijiTable", "SfxSetWidth", "SfxSetHeight", "Version"}) {
      EXPECT_NE(Stored(key), "<missing>") << key;
    }
  }

  testing::ScratchDir temp_;
  std::string dir_ = temp_.Path().string() + "/config";
};

TEST_F(SettingsStoreTest, FirstRunCreatesEveryKey) {
  SettingsStore store(dir_);
  EXPECT_TRUE(store.Load({120, 80}).firstRun);
  ExpectEveryKey();
  const std::pair<const char*, std::string> values[] = {
      {"ChkSize", "10000"}, {"FileMode", "117"}, {"ConvMode", "12"}, {"BinRate", "3"}, {"LineSize", "0"},
      {"ExecMode", "0"},    {"FNCChar", "_"},    {"Left", "120"},    {"Top", "80"},    {"Version", "2.9"},
      {"GaijiTable", dir_ + "/GaiTbl.txt"}};
  for (const auto& [key, value] : values) EXPECT_EQ(Stored(key).toStdString(), value) << key;
  EXPECT_EQ(store.Suffixes.RowCount(), 100u);  // no table file: the built-in rows, and none written
  EXPECT_FALSE(fs::exists(dir_ + "/SfxTbl.txt"));
  SettingsStore again(dir_);
  EXPECT_FALSE(again.Load({1, 1}).firstRun);
  EXPECT_EQ(again.Settings.Left, 120);

  Store({{"ChkSize", ""}, {"LineSize", "80"}});  // an empty ChkSize is a first run again
  SettingsStore third(dir_);
  EXPECT_TRUE(third.Load().firstRun);
  EXPECT_EQ(third.Settings.LineSize, 0);

  const std::pair<std::string, std::string> gaijiPaths[] = {  // a name alone lies in the config folder
      {"MyGaiji.txt", dir_ + "/MyGaiji.txt"}, {"/elsewhere/g.txt", "/elsewhere/g.txt"}, {"", ""}};
  for (const auto& [stored, path] : gaijiPaths) {
    third.Settings.GaijiTable = stored;
    EXPECT_EQ(third.GaijiTablePath(), path);
  }
}

TEST_F(SettingsStoreTest, SettingsSurviveSaveAndLoad) {
  SettingsStore store(dir_);
  store.Load();
  store.Settings = {123456, 7, 72, 1 | 2 | 4 | 16, 0x8000 | 256 | 128 | 1, 3, -40, 2000, ",", "0.0",
                    "/home/ユーザー/外字 テーブル, 2.txt", 640, 480};
  ASSERT_TRUE(store.Save());
  SettingsStore back(dir_);
  back.Load();
  EXPECT_EQ(Fields(back.Settings), Fields(store.Settings));
  EXPECT_EQ(back.Settings.Version, "2.9");
  back.Settings.FNCChar = "";  // an empty substitute is a value of its own
  back.Save();
  SettingsStore third(dir_);
  third.Load();
  EXPECT_EQ(third.Settings.FNCChar, "");
}

TEST_F(SettingsStoreTest, UpgradeRulesAndVersionMark) {
  const std::tuple<const char*, bool, const char*> cases[] = {  // stored Version, gains bit 64, after a save
      {"2.3", true, "2.9"},  {"10.0", true, "10.0"}, {nullptr, true, "2.9"}, {"2.4", false, "2.9"},
      {"2.9", false, "2.9"}, {"3.0", false, "3.0"},  {"abc", false, "2.9"},  {"", true, "2.9"},
  };
  for (const auto& [version, gains, after] : cases) {
    fs::remove_all(dir_);
    Store({{"ChkSize", "10000"}, {"FileMode", "53"}});
    if (version != nullptr) Store({{"Version", version}});
    SettingsStore store(dir_);
    EXPECT_FALSE(store.Load().firstRun);
    EXPECT_EQ(store.Settings.FileMode, gains ? 117 : 53) << (version ? version : "none");
    store.Save();
    EXPECT_EQ(Stored("Version").toStdString(), after) << (version ? version : "none");
  }
}

TEST_F(SettingsStoreTest, StoredTextThatIsNotANumberFallsBack) {
  Store({{"ChkSize", "lots"}, {"BinRate", "99999"}, {"LineSize", " 80 "}, {"ConvMode", ""}, {"FileMode", "-32767"},
         {"ExecMode", "1.5"}, {"Left", "left"}, {"Top", "+30"}, {"SfxSetWidth", "0x10"}});
  SettingsStore store(dir_);
  EXPECT_FALSE(store.Load({5, 6}).firstRun);
  const ConversionSettings& s = store.Settings;
  // FileMode is a signed flag word, plus the upgrade bit; FNCChar is missing: the built-in value.
  EXPECT_EQ(Fields(s), Fields({10000, 3, 80, 12, 0x8001 | 64, 0, 5, 30, "_", "", dir_ + "/GaiTbl.txt", 0, 0}));
}

TEST_F(SettingsStoreTest, SuffixTableIsSavedOnlyWhenChangedAndAnOversizedOneIsReported) {
  SettingsStore store(dir_);
  store.Load();
  ASSERT_TRUE(store.Save());
  EXPECT_FALSE(fs::exists(dir_ + "/SfxTbl.txt"));
  for (int round = 0; round < 2; ++round) {
    store.Suffixes.Erase(0);
    store.SuffixTableChanged = true;
    ASSERT_TRUE(store.Save());
    EXPECT_FALSE(store.SuffixTableChanged);
    EXPECT_EQ(fs::exists(dir_ + "/SfxTbl.old"), round == 1);  // the first save had nothing to back up
  }
  SettingsStore reloaded(dir_);
  reloaded.Load();
  EXPECT_EQ(reloaded.Suffixes, store.Suffixes);
  fs::rename(dir_ + "/SfxTbl.old", dir_ + "/SfxTbl.txt");
  SettingsStore previous(dir_);
  previous.Load();
  EXPECT_EQ(previous.Suffixes.RowCount(), 99u);

  std::ofstream(dir_ + "/SfxTbl.txt", std::ios::binary) << std::string(40000, 'x') << "\r\n";
  Store({{"LineSize", "64"}});
  SettingsStore oversized(dir_);
  EXPECT_TRUE(oversized.Load().suffix.Failed());
  EXPECT_EQ(oversized.Settings.LineSize, 64);  // everything else loaded
}

TEST_F(SettingsStoreTest, TwoProgramsSavingAtOnceLeaveAValidStore) {
  SettingsStore(dir_).Load();
  Store({{"FutureKey", "kept"}});  // another program's key survives our saves
  constexpr int kRounds = 40;
  pid_t children[2];
  for (int w = 0; w < 2; ++w) {
    children[w] = ::fork();
    ASSERT_GE(children[w], 0);
    if (children[w] == 0) {
      for (int i = 0; i < kRounds; ++i) {
        SettingsStore store(dir_);
        store.Load();
        store.Settings.ChkSize = 100000 * (w + 1) + i;
        store.Settings.FNCChar = w == 0 ? "#" : "%";
        store.Settings.GaijiTable = std::string(200 + 50 * w, static_cast<char>('a' + w));
        if (!store.Save()) ::_exit(1);
      }
      ::_exit(0);
    }
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  SettingsStore store(dir_);
  EXPECT_FALSE(store.Load().firstRun);
  ExpectEveryKey();
  EXPECT_EQ(Stored("FutureKey"), "kept");
  const int writer = store.Settings.ChkSize / 100000;  // one writer's last save, whole
  ASSERT_TRUE(writer == 1 || writer == 2) << store.Settings.ChkSize;
  EXPECT_EQ(store.Settings.ChkSize % 100000, kRounds - 1);
  EXPECT_EQ(store.Settings.FNCChar, writer == 1 ? "#" : "%");
  EXPECT_EQ(store.Settings.GaijiTable.size(), writer == 1 ? 200u : 250u);
}

}  // namespace
}  // namespace ferrox
