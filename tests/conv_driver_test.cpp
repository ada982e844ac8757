// What the batch driver reads entries with (splitting path boxes, the path
// helpers, wildcard listing), and the driver itself through a recording
// window: walk order, the plan handed to each file (flags by the one rule),
// and a window that is only told. Messages, cancelling and one-file runs go
// through the real windows in the CLI and GUI tests, and so do the file tests
// and IsOtherFile (links, "..", letter case: cli_safety_test).

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

#include "app/conv_driver.h"
#include "app/conv_window.h"
#include "app/conversion_settings.h"
#include "app/entry_list.h"
#include "app/folder_listing.h"
#include "app/path_helpers.h"
#include "convert/result_code.h"
#include "helpers/scratch_dir.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

TEST(CommaToDim, SplitsAsTheBoxesAreRead) {
  const std::pair<const char*, Names> cases[] = {
      {"   \t ", {}},
      {"  /a/b c.txt  ", {"/a/b c.txt"}},
      {"\"/a/x\",\"/a/y\", \"/a/z\"", {"/a/x", "/a/y", "/a/z"}},
      {"\"/a/x,y\",\"/b\"", {"/a/x,y", "/b"}},  // a quoted name may hold commas
      {"\"/a/no end", {"/a/no end"}},           // no closing quote: runs to the end
      {"\"/a/x\" \"/a/y\"", {"/a/x"}},          // no comma: the rest is ignored
      {"\"/a/x\",", {"/a/x"}},                  // a trailing comma adds nothing
      {"a , b", {"a", "b"}},                    // unquoted names are trimmed
      {"a,,b", {"a", "", "b"}},                 // an empty name between commas stays
      {"\"\"", {""}},
      {"\"/日本/ｶﾅ.txt\" , \"/b\"", {"/日本/ｶﾅ.txt", "/b"}},
  };
  for (const auto& [text, names] : cases) EXPECT_EQ(CommaToDim(text), names) << "[" << text << "]";
  const Names names = {"/a/x y", "/a/b,c", "/日本語"};
  EXPECT_EQ(CommaToDim(QuotedList(names)), names);
}

TEST(PathHelpers, SplitPathsWithoutTouchingFiles) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      // path, root, parent, without extension
      {"/a/b/c.txt", "/", "/a/b", "/a/b/c"},
      {"/a/x.d/f", "/", "/a/x.d", "/a/x.d/f"},  // a dot in the folder only
      {"/f.tar.gz", "/", "/", "/f.tar"},
      {"/", "/", "/", "/"},
      {"/a/", "/", "/a", "/a/"},
      {"/a/.profile", "/", "/a", "/a/.profile"},  // a hidden name has no extension
      {"/a/.cfg.old", "/", "/a", "/a/.cfg"},
      {"/a/b.", "/", "/a", "/a/b"},
      {"d/*.txt", "", "", "d/*"},  // relative: no root, no parent
  };
  for (const auto& [path, root, parent, stem] : cases) {
    EXPECT_EQ(GetPathRoot(path), root) << path;
    EXPECT_EQ(GetParentFolder(path), parent) << path;
    EXPECT_EQ(GetNameWithoutExtension(path), stem) << path;
  }
  const std::pair<const char*, const char*> separators[] = {{"/a/b", "/a/b/"}, {"/a/b/", "/a/b/"}, {"   ", ""},
                                                            {" /a ", "/a/"}, {"/", "/"}};
  for (const auto& [in, out] : separators) EXPECT_EQ(AddPathSeparator(in), out) << in;
  const std::pair<const char*, const char*> entries[] = {
      {"  /a/b  ", "/a/b"},    {"/a/b///", "/a/b"}, {"/", "/"},     {"\"/a b/c\"", "/a b/c"},
      {"\"/x\",\"/y\"", "/x"}, {"  ", ""},          {"./f", "./f"}, {"/a/../b", "/a/../b"}};
  for (const auto& [in, out] : entries) EXPECT_EQ(NormalizeEntry(in), out) << in;
}

TEST(Wildcard, Matches) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"*.txt", "a.TXT", true},   {"*.txt", "a.txt.gz", false}, {"*.*", "noext", true}, {"a?c", "ac", false},
      {"a?c", "a日c", true},      {"*", ".hidden", true},       {"*a*b", "xxaxxb", true}, {"*a*b", "xxaxxbx", false},
      {"?", "", false},           {"日本*", "日本語.txt", true}, {"**.md", "x.md", true}, {"[ab]", "a", false},
  };
  for (const auto& [pattern, name, match] : cases) {
    EXPECT_EQ(WildcardMatch(pattern, name), match) << pattern << " ~ " << name;
  }
  EXPECT_TRUE(HasWildcard("/a/?"));
  EXPECT_FALSE(HasWildcard("/a/b"));
}

class TempTree : public ::testing::Test {
 protected:
  void Touch(const std::string& relative) const { dir_.Write(relative, "x"); }
  std::string At(const std::string& relative) const { return root_ + "/" + relative; }
  testing::ScratchDir dir_;
  std::string root_ = dir_.Path().string();
};

TEST_F(TempTree, ListFolderSortsAndSkipsWhatCannotBeWalked) {
  for (const char* name : {"b.txt", "a.txt", ".h.txt", "c.bin"}) Touch(name);
  fs::create_directory(At("sub.txt"));
  fs::create_symlink(At("a.txt"), At("la.txt"));
  fs::create_symlink(At("sub.txt"), At("lsub.txt"));  // a linked folder is not walked
  ASSERT_EQ(::mkfifo(At("pipe.txt").c_str(), 0600), 0);
  const FolderListing all = ListFolder(root_);
  EXPECT_EQ(all.files, (Names{".h.txt", "a.txt", "b.txt", "c.bin", "la.txt"}));
  EXPECT_EQ(all.folders, (Names{"sub.txt"}));
  const FolderListing txt = ListFolder(root_, "*.txt");
  EXPECT_EQ(txt.files, (Names{".h.txt", "a.txt", "b.txt", "la.txt"}));
  EXPECT_EQ(txt.folders, (Names{"sub.txt"}));
  EXPECT_TRUE(ListFolder(At("none")).files.empty());
}

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
