// No data is lost: other file systems, other spellings of one path, kills at
// any moment, and every failure the job can meet leave the input and the old
// output whole and no work file behind.

#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include "helpers/cli_runner.h"

namespace ferrox::testing {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::string Lines(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += "これは試験用の行です。番号 " + std::to_string(i) + "\n";
  return text;
}

class CliSafety : public CliTest {
 protected:
  void TearDown() override {
    for (const auto& point : mounts_) ::umount2(point.c_str(), MNT_DETACH);
    CliTest::TearDown();
  }
  // A tmpfs of `kib` KiB at `relative`; false when this machine does not allow it.
  bool MountSmallTmpfs(const std::string& relative, int kib) {
    const std::string point = Path(relative);
    fs::create_directories(point);
    const std::string options = "size=" + std::to_string(kib) + "k,mode=0777";
    if (::mount("tmpfs", point.c_str(), "tmpfs", 0, options.c_str()) != 0) return false;
    mounts_.push_back(point);
    return true;
  }
  // A call run as the unprivileged user "nobody" (root reads and writes
  // everything, so permission failures need another user).
  bool CanDropPrivileges() {
    if (::geteuid() != 0) return true;
    const CliResult r = Run(CliCall{{"--version"}, {}, {}, NobodyPrefix()});
    return r.status == 0;
  }
  static std::vector<std::string> NobodyPrefix() {
    if (::geteuid() != 0) return {};
    return {"setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"};
  }
  std::vector<std::string> mounts_;
};

TEST_F(CliSafety, WorkFolderOnAnotherFileSystem) {
  if (!MountSmallTmpfs("tmpfs", 4096)) GTEST_SKIP() << "cannot mount a tmpfs here";
  const std::string text = Lines(2000);
  Write("in.txt", Encode(text, "EUC-JP"));
  Write("out.txt", "old output");
  const CliResult r = Run(CliCall{{"convert", "in.txt", "out.txt"}, {}, {{"TMP", Path("tmpfs")}}, {}});
  EXPECT_EQ(r.status, 0) << r.err;
  std::string expected = Sjis(text);
  for (std::size_t at = expected.find('\n'); at != std::string::npos; at = expected.find('\n', at + 2)) {
    expected.insert(at, "\r");
  }
  EXPECT_EQ(Read("out.txt"), expected);
  EXPECT_EQ(Read("out.bak"), "old output");
  EXPECT_TRUE(fs::is_empty(Path("tmpfs")));
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliSafety, FullWorkAreaStopsCleanly) {
  if (!MountSmallTmpfs("tiny", 64)) GTEST_SKIP() << "cannot mount a tmpfs here";
  Write("in/a.txt", Encode(Lines(10), "EUC-JP"));
  Write("in/b.txt", Encode(Lines(6000), "EUC-JP"));  // far more than 64 KiB
  Write("in/c.txt", Encode(Lines(10), "EUC-JP"));
  Write("out/b.txt", "old output");
  const CliResult r = Run(CliCall{{"convert", "--file-mode", "116", "in", "out"}, {}, {{"TMP", Path("tiny")}}, {}});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "作業領域(/ﾄﾞﾗｲﾌﾞ)の空き容量不足の為、変換できませんでした\n");
  EXPECT_TRUE(Exists("out/a.txt"));
  EXPECT_EQ(Read("out/b.txt"), "old output");
  EXPECT_FALSE(Exists("out/c.txt"));  // the run stops at the failing file
  EXPECT_TRUE(fs::is_empty(Path("tiny")));
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliSafety, OneFileUnderAnotherSpellingIsNeverDeleted) {
  struct Spelling {
    const char* in;
    const char* out;
    const char* cwd;
  };
  const Spelling spellings[] = {
      {"dir/link.txt", "dir/file.txt", ""}, {"dir/file.txt", "dir/link.txt", ""},
      {"dir/../dir/file.txt", "dir/file.txt", ""}, {"./file.txt", "file.txt", "dir"},
      {"dir/FILE.TXT", "dir/file.txt", ""},  // ASCII case: one file for the comparison
  };
  const std::string text = Lines(3);
  std::string converted = text;
  for (std::size_t at = converted.find('\n'); at != std::string::npos; at = converted.find('\n', at + 2)) {
    converted.insert(at, "\r");
  }
  for (const char* fileMode : {"373", "372", "500"}) {  // backup, replace, trash; each with bit 256
    for (const auto& s : spellings) {
      fs::remove_all(Path("dir"));
      Write("dir/file.txt", Encode(text, "EUC-JP"));
      fs::create_symlink("file.txt", Path("dir/link.txt"));
      if (std::string(s.in) == "dir/FILE.TXT") fs::rename(Path("dir/file.txt"), Path("dir/FILE.TXT"));
      const std::string cwd = *s.cwd ? Path(s.cwd) : std::string();
      const CliResult r = Run(CliCall{{"convert", "--file-mode", fileMode, s.in, s.out}, cwd, {}, {}});
      const std::string where = std::string(fileMode) + " " + s.in + " -> " + s.out;
      EXPECT_EQ(r.status, 0) << where << ": " << r.err;
      // The file itself is still there, holding its old or its converted bytes.
      const std::string real = std::string(s.in) == "dir/FILE.TXT" ? "dir/FILE.TXT" : "dir/file.txt";
      ASSERT_TRUE(Exists(real)) << where;
      const std::string now = Read(real);
      EXPECT_TRUE(now == Encode(text, "EUC-JP") || now == Sjis(converted)) << where;
    }
  }
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliSafety, AKillAtAnyMomentLeavesTheOldOutputOrTheNew) {
  const std::string text = Lines(60000);  // a few MB: the run takes long enough to be hit
  Write("in.txt", Encode(text, "EUC-JP"));
  const CliResult reference = Run({"convert", "in.txt", "new.txt"});
  ASSERT_EQ(reference.status, 0) << reference.err;
  const std::string fresh = Read("new.txt");
  std::mt19937 random(20240607);
  for (const char* fileMode : {"116", "117"}) {
    int sawOld = 0;
    int sawNew = 0;
    for (int round = 0; round < 12; ++round) {
      Write("out.txt", "old output");
      const CliProcess p = Start(CliCall{{"convert", "--file-mode", fileMode, "in.txt", "out.txt"}, {}, {}, {}});
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 60000));
      ::kill(p.pid, SIGKILL);
      (void)Wait(p);
      const std::string now = Read("out.txt");
      ASSERT_TRUE(now == "old output" || now == fresh) << fileMode << " round " << round << ": " << now.size();
      (now == fresh ? sawNew : sawOld)++;
      for (const auto& left : WorkFilesLeft(root_)) fs::remove(left);  // a kill may leave its work file
    }
    std::printf("FileMode %s: %d kills left the old output, %d the new\n", fileMode, sawOld, sawNew);
  }
}

TEST_F(CliSafety, ReplacingIsOneRename) {
  Write("in.txt", Encode(Lines(5), "EUC-JP"));
  Write("out.txt", "old output");
  struct stat old {};
  ::stat(Path("out.txt").c_str(), &old);
  // Another name for the old output shows whether it was rewritten in place
  // (the other name would change) or swapped by a rename (it keeps the old bytes).
  fs::create_hard_link(Path("out.txt"), Path("watch"));
  const CliResult r = Run({"convert", "--file-mode", "116", "in.txt", "out.txt"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Read("watch"), "old output");
  struct stat now {};
  ::stat(Path("out.txt").c_str(), &now);
  EXPECT_NE(now.st_ino, old.st_ino);
}

TEST_F(CliSafety, UnreadableInputStopsWithItsMessage) {
  if (!CanDropPrivileges()) GTEST_SKIP() << "cannot run as another user";
  Write("in/a.txt", Encode(Lines(3), "EUC-JP"));
  Write("in/b.txt", Encode(Lines(3), "EUC-JP"));
  Write("in/c.txt", Encode(Lines(3), "EUC-JP"));
  ::chmod(Path("in/b.txt").c_str(), 0);
  fs::create_directories(Path("out"));
  ::chmod(Path("out").c_str(), 0777);
  const CliResult r = Run(CliCall{{"convert", "in", "out"}, {}, {}, NobodyPrefix()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "変換出来ませんでした\n");
  EXPECT_TRUE(Exists("out/a.txt"));
  EXPECT_FALSE(Exists("out/b.txt"));
  EXPECT_FALSE(Exists("out/c.txt"));
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliSafety, OutputFolderWithoutWritePermission) {
  if (!CanDropPrivileges()) GTEST_SKIP() << "cannot run as another user";
  Write("in.txt", Encode(Lines(3), "EUC-JP"));
  Write("locked/out.txt", "old output");
  ::chmod(Path("locked/out.txt").c_str(), 0666);
  ::chmod(Path("locked").c_str(), 0555);
  for (const char* fileMode : {"116", "117"}) {
    const CliResult r = Run(CliCall{{"convert", "--file-mode", fileMode, "in.txt", "locked/out.txt"}, {}, {},
                                    NobodyPrefix()});
    EXPECT_EQ(r.status, 1) << fileMode;
    EXPECT_EQ(r.err, "変換出来ませんでした\n") << fileMode;
    EXPECT_EQ(Read("locked/out.txt"), "old output") << fileMode;
    EXPECT_FALSE(Exists("locked/out.bak")) << fileMode;
  }
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliSafety, InputThatVanishesMidBatch) {
  Write("a.txt", Encode(Lines(3), "EUC-JP"));
  // The first pair deletes its input, so the second finds it gone.
  const CliResult r = Run({"convert", "--file-mode", "373", "\"a.txt\",\"a.txt\"", "\"o1.txt\",\"o2.txt\""});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "入力ﾌｧｲﾙ [" + root_ + "/a.txt] が見つかりません\n");
  EXPECT_TRUE(Exists("o1.txt"));
  EXPECT_FALSE(Exists("o2.txt"));
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliSafety, AFolderInTheWayOfAnOutputFileStaysAFolder) {
  Write("in/x.txt", Encode(Lines(3), "EUC-JP"));
  Write("out/x.txt/keep", "inside");
  for (const char* fileMode : {"116", "117", "244"}) {
    const CliResult r = Run({"convert", "--file-mode", fileMode, "in/*.txt", "out"});
    EXPECT_EQ(r.status, 1) << fileMode;
    EXPECT_EQ(r.err, "変換出来ませんでした\n") << fileMode;
    EXPECT_EQ(Read("out/x.txt/keep"), "inside") << fileMode;
    EXPECT_FALSE(Exists("out/x.bak")) << fileMode;
  }
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliSafety, InterruptCancelsAndRemovesThePartialOutput) {
  for (int i = 0; i < 300; ++i) Write("in/f" + std::to_string(1000 + i) + ".txt", Encode(Lines(300), "EUC-JP"));
  const CliProcess p = Start(CliCall{{"convert", "in", "out"}, {}, {}, {}});
  for (int i = 0; i < 2000 && !Exists("out/f1000.txt"); ++i) std::this_thread::sleep_for(1ms);
  ::kill(p.pid, SIGINT);
  const CliResult r = Wait(p);
  EXPECT_EQ(r.status, 130) << r.err;
  EXPECT_EQ(r.err, "");
  EXPECT_FALSE(Exists("out/f1299.txt"));
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
  // What was converted is whole.
  const std::string first = Read("out/f1000.txt");
  EXPECT_EQ(first.substr(first.size() - 2), "\r\n");
}

}  // namespace
}  // namespace ferrox::testing
