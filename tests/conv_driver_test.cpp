// The batch driver through a recording window: walk order, forced settings
// and their restoration, the box texts, and cancellation.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "app/conv_driver.h"
#include "app/conv_window.h"
#include "app/conversion_settings.h"
#include "convert/result_code.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;

class RecordingWindow final : public ConvWindow {
 public:
  explicit RecordingWindow(const ConversionSettings& settings) : settings_(settings) {}

  std::string InFileText() const override { return in; }
  void SetInFileText(const std::string& value) override {
    in = value;
    if (busy) {
      pairs.push_back(value);
      modesSeen.push_back({settings_.FileMode, settings_.ExecMode});
    }
    if (cancelAfter >= 0 && static_cast<int>(pairs.size()) >= cancelAfter) busy = false;
  }
  std::string OutFileText() const override { return out; }
  void SetOutFileText(const std::string& value) override { out = value; }
  bool TextCnvChecked() const override { return text; }
  bool MBCutChecked() const override { return cut; }
  void SetConvBusy(bool b) override { busy = b; }
  bool ConvBusy() const override { return busy; }
  void PumpEvents() override {}
  void ShowProgress(std::int64_t, std::int64_t) override {}
  void Message(const std::string& m) override { messages.push_back(m); }
  bool Question(const std::string&) override { return false; }
  void AllEnabled(bool on) override { enabled.push_back(on); }
  void ProgressPanel(bool) override {}
  void Beep() override {}

  std::string in, out;
  bool text = false, cut = false, busy = false;
  int cancelAfter = -1;  // clear ConvBusy once this many files were handed over
  std::vector<std::string> pairs, messages;
  std::vector<std::pair<std::uint16_t, std::uint16_t>> modesSeen;
  std::vector<bool> enabled;

 private:
  const ConversionSettings& settings_;
};

class ConvDriverTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/ferrox-driver-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    root_ = pattern;
    for (const char* f : {"in/b.txt", "in/a.txt", "in/z/c.txt", "in/m/d.txt", "in/m/n/e.txt"}) {
      fs::create_directories(fs::path(root_ + "/" + f).parent_path());
      std::ofstream(root_ + "/" + f) << "abc\r\n";
    }
    settings_.FileMode = 116;
    settings_.ExecMode = 0;
  }
  void TearDown() override { fs::remove_all(root_); }
  std::vector<std::string> Relative(const std::vector<std::string>& paths) const {
    std::vector<std::string> out;
    for (const auto& p : paths) out.push_back(p.substr(root_.size() + 1));
    return out;
  }
  std::string root_;
  ConversionSettings settings_;
};

TEST_F(ConvDriverTest, FolderWalkFilesFirstThenSubfoldersForcedModesRestored) {
  RecordingWindow window(settings_);
  window.in = " " + root_ + "/in/ ";
  window.out = root_ + "/out";
  ConvDriver driver(window, settings_, nullptr);
  EXPECT_EQ(driver.Ferrox_Click_Etc(true), result::kDone);
  EXPECT_EQ(Relative(window.pairs),
            (std::vector<std::string>{"in/a.txt", "in/b.txt", "in/m/d.txt", "in/m/n/e.txt", "in/z/c.txt"}));
  for (const auto& [fileMode, execMode] : window.modesSeen) {
    EXPECT_EQ(fileMode, 116 | file_mode::kBatch);
    EXPECT_EQ(execMode, exec_mode::kAuto | exec_mode::kEndAfterAuto);
  }
  EXPECT_EQ(settings_.FileMode, 116);
  EXPECT_EQ(settings_.ExecMode, 0);
  EXPECT_EQ(window.in, " " + root_ + "/in/ ");  // the user's texts come back
  EXPECT_EQ(window.out, root_ + "/out");
  EXPECT_EQ(window.enabled, (std::vector<bool>{false, true}));
  EXPECT_FALSE(window.busy);
  EXPECT_EQ(driver.EntryMode(), entry_mode::kOneFile);
  EXPECT_TRUE(fs::exists(root_ + "/out/m/n/e.txt"));
}

TEST_F(ConvDriverTest, OneFileForcesNothingAndNeedsACheckBox) {
  RecordingWindow window(settings_);
  window.in = root_ + "/in/a.txt";
  window.out = root_ + "/o.txt";
  ConvDriver driver(window, settings_, nullptr);
  EXPECT_EQ(driver.Ferrox_Click_Etc(false), result::kSettingsSide);
  EXPECT_EQ(window.messages, (std::vector<std::string>{"変換設定がされていません"}));
  window.messages.clear();
  window.in = root_ + "/in/a.txt";
  window.text = true;
  EXPECT_EQ(driver.Ferrox_Click_Etc(false), result::kDone);
  EXPECT_TRUE(window.messages.empty());
  ASSERT_EQ(window.modesSeen.size(), 2u);
  EXPECT_EQ(window.modesSeen[1].first, 116);
  EXPECT_EQ(window.modesSeen[1].second, 0);
}

TEST_F(ConvDriverTest, CancelStopsQuietlyAndRestores) {
  RecordingWindow window(settings_);
  window.in = root_ + "/in/*.txt";
  window.out = root_ + "/out";
  window.cancelAfter = 1;
  ConvDriver driver(window, settings_, nullptr);
  EXPECT_EQ(driver.Ferrox_Click_Etc(true), result::kCancelled);
  EXPECT_TRUE(window.messages.empty());
  EXPECT_EQ(window.pairs.size(), 1u);
  EXPECT_FALSE(fs::exists(root_ + "/out/a.txt"));
  EXPECT_EQ(settings_.FileMode, 116);
  EXPECT_EQ(window.in, root_ + "/in/*.txt");
}

TEST_F(ConvDriverTest, ErrorsRestoreTheSettingsToo) {
  RecordingWindow window(settings_);
  window.in = "\"" + root_ + "/in/a.txt\",\"" + root_ + "/in/none\"";
  window.out = "\"" + root_ + "/o1\",\"" + root_ + "/o2\"";
  ConvDriver driver(window, settings_, nullptr);
  EXPECT_EQ(driver.Ferrox_Click_Etc(true), result::kInputSide);
  EXPECT_EQ(window.messages, (std::vector<std::string>{"入力ﾌｧｲﾙ [" + root_ + "/in/none] が見つかりません"}));
  EXPECT_TRUE(window.pairs.empty());
  EXPECT_EQ(settings_.FileMode, 116);
  EXPECT_EQ(settings_.ExecMode, 0);
  EXPECT_FALSE(window.busy);
}

}  // namespace
}  // namespace ferrox
