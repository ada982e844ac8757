// The batch driver through a recording window: walk order, the plan handed
// to each file (flags by the one rule), and a window that is only told.
// Messages, cancelling and one-file runs go through the real windows in the
// CLI and GUI tests.

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

class RecordingWindow final : public ConvWindow {
 public:
  void ShowPair(const JobRequest& request) override { pairs.push_back(request); }
  void SetConvBusy(bool b) override { busy = b; }
  bool ConvBusy() const override { return busy; }
  void Message(const std::string& m) override { messages.push_back(m); }
  void AllEnabled(bool on) override { enabled.push_back(on); }
  void PumpEvents() override {}
  void ShowProgress(std::int64_t, std::int64_t) override {}
  void ProgressPanel(bool) override {}

  bool busy = false;
  std::vector<JobRequest> pairs;
  Names messages;
  std::vector<bool> enabled;
};

TEST(ConvDriver, FolderWalkTakesFilesFirstThenSubfoldersEachWithItsOwnFlags) {
  testing::ScratchDir dir;
  const std::string root = dir.Path().string();
  for (const char* f : {"in/b.txt", "in/a.txt", "in/z/c.txt", "in/m/d.txt", "in/m/n/e.txt"}) {
    fs::create_directories((dir.Path() / f).parent_path());
    dir.Write(f, "abc\r\n");
  }
  dir.Write("in/m/d.txt", std::string("\0\1\2binary", 9));
  ConversionSettings settings;
  settings.FileMode = 116;
  RecordingWindow window;
  ConvDriver driver(window, settings, nullptr);
  // A pinned cut holds for every file; text conversion follows each survey.
  EXPECT_EQ(driver.Ferrox_Click_Etc({" " + root + "/in/ ", root + "/out", {}, {std::nullopt, false}}), RunResult::Done);
  Names pairs;
  std::vector<std::uint16_t> flags;
  for (const auto& p : window.pairs) {
    pairs.push_back(p.input.substr(root.size() + 1) + " " + p.output.substr(root.size() + 1));
    flags.push_back(p.flags);
  }
  EXPECT_EQ(pairs, (Names{"in/a.txt out/a.txt", "in/b.txt out/b.txt", "in/m/d.txt out/m/d.txt",
                          "in/m/n/e.txt out/m/n/e.txt", "in/z/c.txt out/z/c.txt"}));
  EXPECT_EQ(flags, (std::vector<std::uint16_t>{kJobText, kJobText, 0, kJobText, kJobText}));
  EXPECT_TRUE(window.messages.empty());
  EXPECT_TRUE(fs::exists(root + "/out/m/n/e.txt"));
  // The settings are the user's throughout; the controls come back.
  EXPECT_EQ(settings.FileMode, 116);
  EXPECT_EQ(settings.ExecMode, 0);
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
  RecordingWindow window;
  ConvDriver driver(window, settings, nullptr);
  EXPECT_EQ(driver.Ferrox_Click_Etc({root + "/in", root + "/out", {}, {}}), RunResult::OutputSide);
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
