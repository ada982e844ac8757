// Whatever happens, the input and the old output stay whole and no work file is left.

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

std::string Lines(int count, const char* end = "\n") {
  std::string text;
  for (int i = 0; i < count; ++i) text += "これは試験用の行です。番号 " + std::to_string(i) + end;
  return text;
}
std::string Converted(int count) { return Sjis(Lines(count, "\r\n")); }

class CliSafety : public CliTest {
 protected:
  void TearDown() override {
    for (const auto& point : mounts_) ::umount2(point.c_str(), MNT_DETACH);
  }
  // A tmpfs of `kib` KiB at `relative`; false when this machine does not allow it.
  bool MountSmallTmpfs(const std::string& relative, int kib) {
    fs::create_directories(Path(relative));
    const std::string options = "size=" + std::to_string(kib) + "k,mode=0777";
    if (::mount("tmpfs", Path(relative).c_str(), "tmpfs", 0, options.c_str()) != 0) return false;
    mounts_.push_back(Path(relative));
    return true;
  }
  // Root reads and writes everything, so permission failures run as "nobody".
  static std::vector<std::string> Nobody() {
    if (::geteuid() != 0) return {};
    return {"setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"};
  }
  bool CanDropPrivileges() { return Run(CliCall{{"--version"}, {}, {}, Nobody()}).status == 0; }
  // Runs a conversion that must fail with `message`, leaving no work file.
  void ExpectFailure(const CliCall& call, const std::string& message) {
    const CliResult r = Run(call);
    EXPECT_EQ(r.status, 1) << call.args[2];
    EXPECT_EQ(r.err, message + "\n") << call.args[2];
    EXPECT_TRUE(WorkFilesLeft(root_).empty());
  }
  std::vector<std::string> mounts_;
};

TEST_F(CliSafety, WorkFolderOnAnotherFileSystem) {
  if (!MountSmallTmpfs("tmpfs", 4096)) GTEST_SKIP() << "cannot mount a tmpfs here";
  Write("in.txt", Encode(Lines(2000), "EUC-JP"));
  Write("out.txt", "old output");
  const CliResult r = Run(CliCall{{"convert", "in.txt", "out.txt"}, {}, {{"TMP", Path("tmpfs")}}, {}});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Read("out.txt"), Converted(2000));
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
  ExpectFailure(CliCall{{"convert", "--file-mode", "116", "in", "out"}, {}, {{"TMP", Path("tiny")}}, {}},
                root_ + "/in/b.txt: 作業領域(" + Path("tiny") + "/ﾄﾞﾗｲﾌﾞ)の空き容量不足の為、変換できませんでした");
  EXPECT_TRUE(Exists("out/a.txt"));
  EXPECT_EQ(Read("out/b.txt"), "old output");
  EXPECT_FALSE(Exists("out/c.txt"));  // the run stops at the failing file
  EXPECT_TRUE(fs::is_empty(Path("tiny")));
}

TEST_F(CliSafety, OneFileUnderAnotherSpellingIsNeverDeleted) {
  const std::tuple<const char*, const char*, const char*> spellings[] = {  // input, output, current folder
      {"dir/link.txt", "dir/file.txt", ""}, {"dir/file.txt", "dir/link.txt", ""},
      {"dir/../dir/file.txt", "dir/file.txt", ""}, {"./file.txt", "file.txt", "dir"},
      {"dir/FILE.TXT", "dir/file.txt", ""},  // ASCII case: one file for the comparison
  };
  for (const char* fileMode : {"373", "372", "500"}) {  // backup, replace, trash; each with bit 256
    for (const auto& [in, out, cwd] : spellings) {
      const std::string real = std::string(in) == "dir/FILE.TXT" ? "dir/FILE.TXT" : "dir/file.txt";
      fs::remove_all(Path("dir"));
      Write(real, Encode(Lines(3), "EUC-JP"));
      fs::create_symlink("file.txt", Path("dir/link.txt"));
      const CliResult r = Run(CliCall{{"convert", "--file-mode", fileMode, in, out}, *cwd ? Path(cwd) : "", {}, {}});
      const std::string where = std::string(fileMode) + " " + in + " -> " + out;
      EXPECT_EQ(r.status, 0) << where << ": " << r.err;
      // The file itself is still there, holding its old or its converted bytes.
      const std::string now = Read(real);
      EXPECT_TRUE(now == Encode(Lines(3), "EUC-JP") || now == Converted(3)) << where;
    }
  }
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliSafety, ReplacingIsOneRenameSoAKillLeavesTheOldOutputOrTheNew) {
  Write("in.txt", Encode(Lines(60000), "EUC-JP"));  // a few MB: the run takes long enough to be hit
  Write("out.txt", "old output");
  // Another name for the old output shows whether it was rewritten in place
  // (the other name would change) or swapped by a rename (it keeps the old bytes).
  fs::create_hard_link(Path("out.txt"), Path("watch"));
  ASSERT_EQ(Run({"convert", "--file-mode", "116", "in.txt", "out.txt"}).status, 0);
  EXPECT_EQ(Read("watch"), "old output");
  const std::string fresh = Read("out.txt");
  ASSERT_EQ(fresh, Converted(60000));

  std::mt19937 random(20240607);
  for (const char* fileMode : {"116", "117"}) {
    int sawOld = 0;
    for (int round = 0; round < 12; ++round) {
      Write("out.txt", "old output");
      const CliProcess p = Start(CliCall{{"convert", "--file-mode", fileMode, "in.txt", "out.txt"}, {}, {}, {}});
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 60000));
      ::kill(p.pid, SIGKILL);
      (void)Wait(p);
      const std::string now = Read("out.txt");
      ASSERT_TRUE(now == "old output" || now == fresh) << fileMode << " round " << round << ": " << now.size();
      sawOld += now != fresh;
      for (const auto& left : WorkFilesLeft(root_)) fs::remove(left);  // a kill may leave its work file
    }
    std::printf("FileMode %s: %d kills left the old output, %d the new\n", fileMode, sawOld, 12 - sawOld);
  }
}

TEST_F(CliSafety, UnreadableInputStopsWithItsMessage) {
  if (!CanDropPrivileges()) GTEST_SKIP() << "cannot run as another user";
  for (const char* name : {"in/a.txt", "in/b.txt", "in/c.txt"}) Write(name, Encode(Lines(3), "EUC-JP"));
  ::chmod(Path("in/b.txt").c_str(), 0);
  fs::create_directories(Path("out"));
  fs::permissions(Path("out"), fs::perms::all);
  ExpectFailure(CliCall{{"convert", "in", "out"}, {}, {}, Nobody()}, root_ + "/in/b.txt: 変換出来ませんでした");
  EXPECT_TRUE(Exists("out/a.txt"));
  EXPECT_FALSE(Exists("out/b.txt"));
  EXPECT_FALSE(Exists("out/c.txt"));
}

TEST_F(CliSafety, OutputFolderWithoutWritePermissionOrAFolderInTheWay) {
  const bool nobody = CanDropPrivileges();
  Write("in/x.txt", Encode(Lines(3), "EUC-JP"));
  Write("locked/x.txt", "old output");
  ::chmod(Path("locked/x.txt").c_str(), 0666);
  ::chmod(Path("locked").c_str(), 0555);
  Write("out/x.txt/keep", "inside");
  for (const char* fileMode : {"116", "117", "244"}) {
    if (nobody) {
      ExpectFailure(CliCall{{"convert", "--file-mode", fileMode, "in/x.txt", "locked/x.txt"}, {}, {}, Nobody()},
                    root_ + "/in/x.txt: 変換出来ませんでした");
      EXPECT_EQ(Read("locked/x.txt"), "old output") << fileMode;
      EXPECT_FALSE(Exists("locked/x.bak")) << fileMode;
    }
    ExpectFailure(CliCall{{"convert", "--file-mode", fileMode, "in/*.txt", "out"}, {}, {}, {}},
                  root_ + "/in/x.txt: 変換出来ませんでした");
    EXPECT_EQ(Read("out/x.txt/keep"), "inside") << fileMode;
    EXPECT_FALSE(Exists("out/x.bak")) << fileMode;
  }
}

TEST_F(CliSafety, InputThatVanishesMidBatch) {
  Write("a.txt", Encode(Lines(3), "EUC-JP"));
  // The first pair deletes its input, so the second finds it gone.
  ExpectFailure(CliCall{{"convert", "--file-mode", "373", "\"a.txt\",\"a.txt\"", "\"o1.txt\",\"o2.txt\""}, {}, {}, {}},
                root_ + "/a.txt: 入力ﾌｧｲﾙ [" + root_ + "/a.txt] が見つかりません");
  EXPECT_TRUE(Exists("o1.txt"));
  EXPECT_FALSE(Exists("o2.txt"));
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
  EXPECT_EQ(Read("out/f1000.txt"), Converted(300));  // what was converted is whole
}

}  // namespace
}  // namespace ferrox::testing
