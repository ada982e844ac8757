// The settings store and the suffix table it saves.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QSettings>

#include <filesystem>
#include <fstream>

#include "app/settings_store.h"
#include "helpers/scratch_dir.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;

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
