// The settings store: first run, save and load, upgrade rules, the tables it
// loads and saves, two programs sharing one store, and the config folder.

#include <gtest/gtest.h>

#include <QSettings>
#include <QTemporaryDir>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

#include "app/check_box_proposal.h"
#include "app/settings_store.h"
#include "platform/config_dir.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;

const char* const kAllKeys[] = {"ChkSize", "BinRate",    "Left",       "Top",         "ExecMode",
                                "FileMode", "LineSize",  "ConvMode",   "FNCChar",     "GaijiTable",
                                "SfxSetWidth", "SfxSetHeight", "Version"};

class SettingsStoreTest : public testing::Test {
 protected:
  // The stored text of a key as another program would read it.
  QString Stored(const char* key) {
    QSettings raw(QString::fromStdString(dir_ + "/Ferrox.conf"), QSettings::IniFormat);
    return raw.value(QStringLiteral("Setting/") + QString::fromLatin1(key), QStringLiteral("<missing>")).toString();
  }
  void Store(std::initializer_list<std::pair<const char*, const char*>> values) {
    QSettings raw(QString::fromStdString(dir_ + "/Ferrox.conf"), QSettings::IniFormat);
    for (const auto& [key, value] : values) {
      raw.setValue(QStringLiteral("Setting/") + QString::fromLatin1(key), QString::fromUtf8(value));
    }
  }

  QTemporaryDir temp_;
  std::string dir_ = temp_.path().toStdString() + "/config";
};

TEST_F(SettingsStoreTest, FirstRunCreatesEveryKey) {
  SettingsStore store(dir_);
  EXPECT_TRUE(fs::is_directory(dir_));
  const SettingsLoadResult result = store.Load({120, 80});
  EXPECT_TRUE(result.firstRun);
  for (const char* key : kAllKeys) EXPECT_NE(Stored(key), "<missing>") << key;
  EXPECT_EQ(Stored("ChkSize"), "10000");
  EXPECT_EQ(Stored("FileMode"), "117");
  EXPECT_EQ(Stored("ConvMode"), "12");
  EXPECT_EQ(Stored("BinRate"), "3");
  EXPECT_EQ(Stored("LineSize"), "0");
  EXPECT_EQ(Stored("ExecMode"), "0");
  EXPECT_EQ(Stored("FNCChar"), "_");
  EXPECT_EQ(Stored("Left"), "120");
  EXPECT_EQ(Stored("Top"), "80");
  EXPECT_EQ(Stored("Version"), "2.9");
  EXPECT_EQ(Stored("GaijiTable").toStdString(), dir_ + "/GaiTbl.txt");
  EXPECT_EQ(store.Settings.FileMode, 117);
  EXPECT_EQ(store.Settings.Left, 120);
  EXPECT_EQ(store.Suffixes.RowCount(), 100u);  // no table file: the built-in rows
  EXPECT_FALSE(fs::exists(dir_ + "/SfxTbl.txt"));

  SettingsStore again(dir_);
  EXPECT_FALSE(again.Load({1, 1}).firstRun);
  EXPECT_EQ(again.Settings.Left, 120);
}

TEST_F(SettingsStoreTest, SettingsSurviveSaveAndLoad) {
  SettingsStore store(dir_);
  store.Load();
  ConversionSettings& s = store.Settings;
  s.ChkSize = 123456;
  s.BinRate = 7;
  s.LineSize = 72;
  s.ConvMode = 1 | 2 | 4 | 16;
  s.FileMode = 0x8000 | 256 | 128 | 1;
  s.ExecMode = 3;
  s.Left = -40;
  s.Top = 2000;
  s.FNCChar = ",";
  s.GaijiTable = "/home/ユーザー/外字 テーブル, 2.txt";
  s.SfxSetWidth = 640;
  s.SfxSetHeight = 480;
  ASSERT_TRUE(store.Save());

  SettingsStore back(dir_);
  back.Load();
  const ConversionSettings& b = back.Settings;
  EXPECT_EQ(b.ChkSize, s.ChkSize);
  EXPECT_EQ(b.BinRate, s.BinRate);
  EXPECT_EQ(b.LineSize, s.LineSize);
  EXPECT_EQ(b.ConvMode, s.ConvMode);
  EXPECT_EQ(b.FileMode, s.FileMode);
  EXPECT_EQ(b.ExecMode, s.ExecMode);
  EXPECT_EQ(b.Left, s.Left);
  EXPECT_EQ(b.Top, s.Top);
  EXPECT_EQ(b.FNCChar, s.FNCChar);
  EXPECT_EQ(b.GaijiTable, s.GaijiTable);
  EXPECT_EQ(b.SfxSetWidth, s.SfxSetWidth);
  EXPECT_EQ(b.SfxSetHeight, s.SfxSetHeight);
  EXPECT_EQ(b.Version, "2.9");

  back.Settings.FNCChar = "";  // an empty substitute is a value of its own
  back.Save();
  SettingsStore third(dir_);
  third.Load();
  EXPECT_EQ(third.Settings.FNCChar, "");
}

TEST_F(SettingsStoreTest, UpgradeRulesAndVersionMark) {
  struct Case {
    const char* stored;  // nullptr: no Version key
    bool gainsUnknownName;
    const char* afterSave;
  } cases[] = {
      {"2.3", true, "2.9"},  {"10.0", true, "10.0"}, {nullptr, true, "2.9"}, {"2.4", false, "2.9"},
      {"2.9", false, "2.9"}, {"3.0", false, "3.0"},  {"abc", false, "2.9"},  {"", true, "2.9"},
  };
  for (const Case& c : cases) {
    fs::remove_all(dir_);
    if (c.stored != nullptr) {
      Store({{"ChkSize", "10000"}, {"FileMode", "53"}, {"Version", c.stored}});
    } else {
      Store({{"ChkSize", "10000"}, {"FileMode", "53"}});
    }
    SettingsStore store(dir_);
    EXPECT_FALSE(store.Load().firstRun);
    EXPECT_EQ(store.Settings.FileMode, c.gainsUnknownName ? 117 : 53) << (c.stored ? c.stored : "none");
    store.Save();
    EXPECT_EQ(Stored("Version").toStdString(), c.afterSave) << (c.stored ? c.stored : "none");
  }
}

TEST_F(SettingsStoreTest, StoredTextThatIsNotANumberFallsBack) {
  Store({{"ChkSize", "lots"},
         {"BinRate", "99999"},
         {"LineSize", " 80 "},
         {"ConvMode", ""},
         {"FileMode", "-32767"},
         {"ExecMode", "1.5"},
         {"Left", "left"},
         {"Top", "+30"},
         {"SfxSetWidth", "0x10"}});
  SettingsStore store(dir_);
  EXPECT_FALSE(store.Load({5, 6}).firstRun);
  EXPECT_EQ(store.Settings.ChkSize, 10000);
  EXPECT_EQ(store.Settings.BinRate, 3);
  EXPECT_EQ(store.Settings.LineSize, 80);
  EXPECT_EQ(store.Settings.ConvMode, 12);
  EXPECT_EQ(store.Settings.FileMode, 0x8001 | 64);  // a signed flag word, plus the upgrade bit
  EXPECT_EQ(store.Settings.ExecMode, 0);
  EXPECT_EQ(store.Settings.Left, 5);
  EXPECT_EQ(store.Settings.Top, 30);
  EXPECT_EQ(store.Settings.SfxSetWidth, 0);
  EXPECT_EQ(store.Settings.FNCChar, "_");  // missing: the built-in value
}

TEST_F(SettingsStoreTest, EmptyChkSizeIsAFirstRun) {
  Store({{"ChkSize", ""}, {"LineSize", "80"}});
  SettingsStore store(dir_);
  EXPECT_TRUE(store.Load().firstRun);
  EXPECT_EQ(store.Settings.LineSize, 0);  // the first run writes its own values
  EXPECT_EQ(Stored("ChkSize"), "10000");
}

TEST_F(SettingsStoreTest, StaleHelpIndexIsDeletedAfterAVersionChange) {
  fs::create_directories(dir_);
  const std::string help = dir_ + "/Ferrox.hlp";
  const std::string index = dir_ + "/Ferrox.GID";
  for (const char* version : {"2.9", "2.8"}) {
    std::ofstream(index) << "index";
    fs::permissions(index, fs::perms::owner_read);
    Store({{"ChkSize", "10000"}, {"Version", version}});
    SettingsStore store(dir_);
    store.helpFile = help;
    store.Load();
    EXPECT_EQ(fs::exists(index), std::string(version) == "2.9") << version;
  }
  std::ofstream(index) << "index";
  DeleteHelpIndex(dir_ + "/Ferrox.chm");
  DeleteHelpIndex("");
  EXPECT_TRUE(fs::exists(index));
}

TEST_F(SettingsStoreTest, SuffixTableIsWrittenOnlyWhenChanged) {
  SettingsStore store(dir_);
  store.Load();
  ASSERT_TRUE(store.Save());
  EXPECT_FALSE(fs::exists(dir_ + "/SfxTbl.txt"));

  store.Suffixes.Erase(0);
  store.SuffixTableChanged = true;
  ASSERT_TRUE(store.Save());
  EXPECT_FALSE(store.SuffixTableChanged);
  EXPECT_FALSE(fs::exists(dir_ + "/SfxTbl.old"));  // there was nothing to back up

  store.Suffixes.Erase(0);
  store.SuffixTableChanged = true;
  ASSERT_TRUE(store.Save());
  SuffixTable previous;
  SuffixTableLoad(previous, dir_);
  EXPECT_EQ(previous, store.Suffixes);
  fs::rename(dir_ + "/SfxTbl.old", dir_ + "/SfxTbl.txt");
  SuffixTableLoad(previous, dir_);
  EXPECT_EQ(previous.RowCount(), 99u);

  SettingsStore reloaded(dir_);
  reloaded.Load();
  EXPECT_EQ(reloaded.Suffixes.RowCount(), 99u);
  EXPECT_FALSE(reloaded.SuffixTableChanged);
}

TEST_F(SettingsStoreTest, OversizedSuffixFileIsReportedNotFatal) {
  fs::create_directories(dir_);
  std::ofstream(dir_ + "/SfxTbl.txt", std::ios::binary) << std::string(40000, 'x') << "\r\n";
  SettingsStore store(dir_);
  const SettingsLoadResult result = store.Load();
  EXPECT_TRUE(result.suffix.Failed());
  EXPECT_FALSE(SuffixLoadMessage(result.suffix).empty());
  EXPECT_EQ(store.Settings.ChkSize, 10000);  // everything else loaded
}

TEST_F(SettingsStoreTest, GaijiTablePath) {
  SettingsStore store(dir_);
  EXPECT_EQ(store.Settings.GaijiTable, dir_ + "/GaiTbl.txt");
  store.Settings.GaijiTable = "MyGaiji.txt";
  EXPECT_EQ(store.GaijiTablePath(), dir_ + "/MyGaiji.txt");
  store.Settings.GaijiTable = "/elsewhere/g.txt";
  EXPECT_EQ(store.GaijiTablePath(), "/elsewhere/g.txt");
  store.Settings.GaijiTable = "";
  EXPECT_EQ(store.GaijiTablePath(), "");
}

TEST_F(SettingsStoreTest, AnotherProgramsKeysSurviveASave) {
  SettingsStore mine(dir_);
  mine.Load();
  // Another program opens the same store, adds a key of its own and saves.
  {
    QSettings other(QString::fromStdString(dir_ + "/Ferrox.conf"), QSettings::IniFormat);
    other.setValue(QStringLiteral("Setting/FutureKey"), QStringLiteral("kept"));
    other.setValue(QStringLiteral("Setting/LineSize"), QStringLiteral("64"));
  }
  mine.Settings.BinRate = 9;
  ASSERT_TRUE(mine.Save());
  EXPECT_EQ(Stored("FutureKey"), "kept");
  EXPECT_EQ(Stored("BinRate"), "9");
  EXPECT_EQ(Stored("LineSize"), "0");  // every key is written: the last save wins
}

TEST_F(SettingsStoreTest, TwoProgramsSavingAtOnceLeaveAValidStore) {
  SettingsStore(dir_).Load();
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
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  SettingsStore store(dir_);
  EXPECT_FALSE(store.Load().firstRun);
  for (const char* key : kAllKeys) EXPECT_NE(Stored(key), "<missing>") << key;
  const int writer = store.Settings.ChkSize / 100000;
  ASSERT_TRUE(writer == 1 || writer == 2) << store.Settings.ChkSize;
  EXPECT_EQ(store.Settings.ChkSize % 100000, kRounds - 1);
  EXPECT_EQ(store.Settings.FNCChar, writer == 1 ? "#" : "%");
  EXPECT_EQ(store.Settings.GaijiTable.size(), writer == 1 ? 200u : 250u);
}

TEST(ConfigDir, EnvironmentOrder) {
  struct Case {
    const char* ferrox;
    const char* xdg;
    const char* home;
    const char* expected;
  } cases[] = {
      {"/f/dir", "/x", "/h", "/f/dir"},
      {"/f/dir/", "/x", "/h", "/f/dir"},
      {"", "/x", "/h", "/x/Ferrox"},
      {nullptr, "/x/", "/h", "/x/Ferrox"},
      {nullptr, nullptr, "/h", "/h/.config/Ferrox"},
      {nullptr, "", "/h/", "/h/.config/Ferrox"},
  };
  auto set = [](const char* name, const char* value) {
    if (value != nullptr) {
      ::setenv(name, value, 1);
    } else {
      ::unsetenv(name);
    }
  };
  const std::string savedHome = std::getenv("HOME") ? std::getenv("HOME") : "";
  for (const Case& c : cases) {
    set("FERROX_CONFIG_DIR", c.ferrox);
    set("XDG_CONFIG_HOME", c.xdg);
    set("HOME", c.home);
    EXPECT_EQ(ConfigDir(), c.expected);
  }
  QTemporaryDir temp;
  const std::string nested = temp.path().toStdString() + "/a/b";
  set("FERROX_CONFIG_DIR", nested.c_str());
  EXPECT_EQ(EnsureConfigDir(), nested);
  EXPECT_TRUE(fs::is_directory(nested));
  set("FERROX_CONFIG_DIR", nullptr);
  set("XDG_CONFIG_HOME", nullptr);
  set("HOME", savedHome.c_str());
}

TEST(ProposeCheckBoxes, SurveyDecidesOnlyWithFileModeBit2) {
  const CheckBoxes user{true, false};
  struct Case {
    std::uint16_t flags;
    bool macBinary;
    std::uint16_t fileMode;
    CheckBoxes expected;
  } cases[] = {
      {0x0113, false, 2, {true, false}},  {0x0000, false, 2, {false, false}}, {0x0000, true, 2, {false, true}},
      {0x0042, true, 117 | 2, {true, true}}, {0x0000, true, 117, user},       {0x0113, true, 0, user},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ProposeCheckBoxes(c.flags, c.macBinary, c.fileMode, user), c.expected) << c.flags << " " << c.fileMode;
  }
}

}  // namespace
}  // namespace ferrox
