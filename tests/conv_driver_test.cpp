// The batch driver through a recording window: walk order, the settings it
// forces for a batch and gives back afterwards, and cancellation.

#include <gtest/gtest.h>

#include <filesystem>

#include "app/conv_driver.h"
#include "app/conv_window.h"
#include "app/conversion_settings.h"
#include "convert/result_code.h"
#include "helpers/scratch_dir.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using Modes = std::vector<std::pair<std::uint16_t, std::uint16_t>>;  // FileMode, ExecMode seen by each file

class RecordingWindow final : public ConvWindow {
 public:
  explicit RecordingWindow(const ConversionSettings& settings) : settings_(&settings) {}
  std::string InFileText() const override { return in; }
  void SetInFileText(const std::string& value) override {
    in = value;
    if (!busy) return;
    pairs.push_back(value);
    modes.emplace_back(settings_->FileMode, settings_->ExecMode);
    if (static_cast<int>(pairs.size()) == cancelAfter) busy = false;
  }
  std::string OutFileText() const override { return out; }
  void SetOutFileText(const std::string& value) override { out = value; }
  void SetConvBusy(bool b) override { busy = b; }
  bool ConvBusy() const override { return busy; }
  void Message(const std::string& m) override { messages.push_back(m); }
  void AllEnabled(bool on) override { enabled.push_back(on); }
  // Neither check box is ticked; nothing to show or ask.
  bool TextCnvChecked() const override { return false; }
  bool MBCutChecked() const override { return false; }
  bool Question(const std::string&) override { return false; }
  void PumpEvents() override {}
  void ShowProgress(std::int64_t, std::int64_t) override {}
  void ProgressPanel(bool) override {}
  void Beep() override {}

  std::string in, out;
  bool busy = false;
  int cancelAfter = -1;  // clear ConvBusy once this many files were handed over
  Names pairs, messages;
  Modes modes;
  std::vector<bool> enabled;

 private:
  const ConversionSettings* settings_;
};

class ConvDriverTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* f : {"in/b.txt", "in/a.txt", "in/z/c.txt", "in/m/d.txt", "in/m/n/e.txt"}) {
      fs::create_directories((dir_.Path() / f).parent_path());
      dir_.Write(f, "abc\r\n");
    }
    settings_.FileMode = 116;
  }
  // Runs the driver as the convert button does and checks that the user's settings and texts come back.
  int Run(const std::string& in, const std::string& out, int cancelAfter = -1) {
    window_.in = in;
    window_.out = out;
    window_.cancelAfter = cancelAfter;
    ConvDriver driver(window_, settings_, nullptr);
    const int result = driver.Ferrox_Click_Etc(true);
    EXPECT_EQ(settings_.FileMode, 116);
    EXPECT_EQ(settings_.ExecMode, 0);
    EXPECT_EQ(window_.in, in);
    EXPECT_EQ(window_.out, out);
    EXPECT_EQ(window_.enabled, (std::vector<bool>{false, true}));
    EXPECT_FALSE(window_.busy);
    return result;
  }
  Names Relative() const {
    Names out;
    for (const auto& p : window_.pairs) out.push_back(p.substr(root_.size() + 1));
    return out;
  }
  testing::ScratchDir dir_;
  std::string root_ = dir_.Path().string();
  ConversionSettings settings_;
  RecordingWindow window_{settings_};
};

TEST_F(ConvDriverTest, FolderWalkTakesFilesFirstThenSubfoldersWithBatchModes) {
  EXPECT_EQ(Run(" " + root_ + "/in/ ", root_ + "/out"), result::kDone);
  EXPECT_EQ(Relative(), (Names{"in/a.txt", "in/b.txt", "in/m/d.txt", "in/m/n/e.txt", "in/z/c.txt"}));
  const std::pair<std::uint16_t, std::uint16_t> batch{116 | file_mode::kBatch, exec_mode::kAuto | exec_mode::kEndAfterAuto};
  EXPECT_EQ(window_.modes, Modes(5, batch));
  EXPECT_TRUE(window_.messages.empty());
  EXPECT_TRUE(fs::exists(root_ + "/out/m/n/e.txt"));
}

TEST_F(ConvDriverTest, OneFileForcesNothingCancelAndErrorsStop) {
  EXPECT_EQ(Run(root_ + "/in/a.txt", root_ + "/o.txt"), result::kSettingsSide);  // no check box ticked
  EXPECT_EQ(window_.messages, Names{"変換設定がされていません"});
  EXPECT_EQ(window_.modes, (Modes{{116, 0}}));

  window_ = RecordingWindow(settings_);
  EXPECT_EQ(Run(root_ + "/in/*.txt", root_ + "/out", 1), result::kCancelled);
  EXPECT_TRUE(window_.messages.empty());
  EXPECT_EQ(window_.pairs.size(), 1u);
  EXPECT_FALSE(fs::exists(root_ + "/out/a.txt"));

  window_ = RecordingWindow(settings_);
  const std::string in = "\"" + root_ + "/in/a.txt\",\"" + root_ + "/in/none\"";
  EXPECT_EQ(Run(in, "\"" + root_ + "/o1\",\"" + root_ + "/o2\""), result::kInputSide);
  EXPECT_EQ(window_.messages, Names{"入力ﾌｧｲﾙ [" + root_ + "/in/none] が見つかりません"});
  EXPECT_TRUE(window_.pairs.empty());
}

}  // namespace
}  // namespace ferrox
