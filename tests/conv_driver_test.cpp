// The batch driver through a recording window: walk order, and the settings
// it forces for a batch and gives back afterwards. Messages, cancelling and
// one-file runs go through the real windows in the CLI and GUI tests.

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
  void PumpEvents() override {}
  void ShowProgress(std::int64_t, std::int64_t) override {}
  void ProgressPanel(bool) override {}

  std::string in, out;
  bool busy = false;
  Names pairs, messages;
  Modes modes;
  std::vector<bool> enabled;

 private:
  const ConversionSettings* settings_;
};

TEST(ConvDriver, FolderWalkTakesFilesFirstThenSubfoldersWithBatchModesAndRestores) {
  testing::ScratchDir dir;
  const std::string root = dir.Path().string();
  for (const char* f : {"in/b.txt", "in/a.txt", "in/z/c.txt", "in/m/d.txt", "in/m/n/e.txt"}) {
    fs::create_directories((dir.Path() / f).parent_path());
    dir.Write(f, "abc\r\n");
  }
  ConversionSettings settings;
  settings.FileMode = 116;
  RecordingWindow window(settings);
  window.in = " " + root + "/in/ ";
  window.out = root + "/out";
  ConvDriver driver(window, settings, nullptr);
  EXPECT_EQ(driver.Ferrox_Click_Etc(true), result::kDone);
  Names pairs;
  for (const auto& p : window.pairs) pairs.push_back(p.substr(root.size() + 1));
  EXPECT_EQ(pairs, (Names{"in/a.txt", "in/b.txt", "in/m/d.txt", "in/m/n/e.txt", "in/z/c.txt"}));
  const std::pair<std::uint16_t, std::uint16_t> batch{116 | file_mode::kBatch,
                                                      exec_mode::kAuto | exec_mode::kEndAfterAuto};
  EXPECT_EQ(window.modes, Modes(5, batch));
  EXPECT_TRUE(window.messages.empty());
  EXPECT_TRUE(fs::exists(root + "/out/m/n/e.txt"));
  // The user's settings, texts and controls come back.
  EXPECT_EQ(settings.FileMode, 116);
  EXPECT_EQ(settings.ExecMode, 0);
  EXPECT_EQ(window.in, " " + root + "/in/ ");
  EXPECT_EQ(window.out, root + "/out");
  EXPECT_EQ(window.enabled, (std::vector<bool>{false, true}));
  EXPECT_FALSE(window.busy);
}

// Outputs of a walk go into place after their flush, several at a time: a
// later input that leads to an earlier output still reads the new output, and
// a pair refused later in the walk leaves the earlier outputs in place with no
// work file behind.
TEST(ConvDriver, WalkOutputsInFlightAreReadByLaterPairsAndPlacedBeforeAStop) {
  testing::ScratchDir dir;
  const std::string root = dir.Path().string();
  fs::create_directories(root + "/in");
  fs::create_directories(root + "/out/y.txt");  // a folder in the way of the last pair
  dir.Write("out/a.txt", "old\r\n");
  dir.Write("in/a.txt", "new\r\n");
  fs::create_symlink("../out/a.txt", root + "/in/b.txt");
  for (int n = 0; n < 20; ++n) dir.Write("in/m" + std::to_string(100 + n) + ".txt", std::to_string(n) + "\r\n");
  dir.Write("in/y.txt", "y\r\n");
  ConversionSettings settings;
  settings.FileMode = 116;
  RecordingWindow window(settings);
  window.in = root + "/in";
  window.out = root + "/out";
  ConvDriver driver(window, settings, nullptr);
  EXPECT_EQ(driver.Ferrox_Click_Etc(true), result::kOutputSide);
  EXPECT_EQ(window.messages, Names{"出力ﾌｧｲﾙ [" + root + "/out/y.txt] が不正です"});
  EXPECT_EQ(testing::ReadAll(root + "/out/b.txt"), "new\r\n");
  for (int n = 0; n < 20; ++n) {
    EXPECT_EQ(testing::ReadAll(root + "/out/m" + std::to_string(100 + n) + ".txt"), std::to_string(n) + "\r\n") << n;
  }
  for (const auto& entry : fs::directory_iterator(root + "/out")) {
    EXPECT_NE(entry.path().filename().string().front(), '.') << entry.path();
  }
}

}  // namespace
}  // namespace ferrox
