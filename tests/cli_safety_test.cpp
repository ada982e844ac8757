// Whatever happens, the input and the old output stay whole and no work file is left
// (a kill before each file-changing call, and a work folder on another file system:
// fault_injection_test).

#include <pwd.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "helpers/cli_runner.h"
#include "helpers/macbinary_builder.h"

namespace ferrox::testing {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::string Lines(int count, const char* end = "\n") {
  std::string text;
  for (int i = 0; i < count; ++i) text += "これは試験用の行です。番号 " + std::to_string(i) + end;
  return text;
}
std::string Euc(int count) { return Encode(Lines(count), "EUC-JP"); }
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
  void ExpectFailure(const CliCall& call, const std::string& message, int status = 1) {
    const CliResult r = Run(call);
    EXPECT_EQ(r.status, status) << call.args[2];
    EXPECT_EQ(r.err, message + "\n") << call.args[2];
    EXPECT_TRUE(WorkFilesLeft(root_).empty());
  }
  std::vector<std::string> mounts_;
};

TEST_F(CliSafety, FullWorkAreaStopsCleanly) {
  if (!MountSmallTmpfs("tiny", 64)) GTEST_SKIP() << "cannot mount a tmpfs here";
  Write("in/a.txt", Euc(10));
  Write("in/b.txt", Euc(6000));  // far more than 64 KiB
  Write("in/c.txt", Euc(10));
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
  };
  for (const char* fileMode : {"373", "372", "500"}) {  // backup, replace, trash; each with bit 256
    for (const auto& [in, out, cwd] : spellings) {
      const std::string real = "dir/file.txt";
      fs::remove_all(Path("dir"));
      Write(real, Euc(3));
      fs::create_symlink("file.txt", Path("dir/link.txt"));
      const CliResult r = Run(CliCall{{"convert", "--file-mode", fileMode, in, out}, *cwd ? Path(cwd) : "", {}, {}});
      const std::string where = std::string(fileMode) + " " + in + " -> " + out;
      EXPECT_EQ(r.status, 0) << where << ": " << r.err;
      // The file itself is still there, holding its old or its converted bytes.
      const std::string now = Read(real);
      EXPECT_TRUE(now == Euc(3) || now == Converted(3)) << where;
    }
  }
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

TEST_F(CliSafety, UnreadableInputStopsWithItsMessage) {
  if (!CanDropPrivileges()) GTEST_SKIP() << "cannot run as another user";
  for (const char* name : {"in/a.txt", "in/b.txt", "in/c.txt"}) Write(name, Euc(3));
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
  Write("in/x.txt", Euc(3));
  Write("locked/x.txt", "old output");
  ::chmod(Path("locked/x.txt").c_str(), 0666);
  ::chmod(Path("locked").c_str(), 0555);
  Write("out/x.txt/keep", "inside");
  for (const char* fileMode : {"116", "117", "244"}) {
    if (nobody) {
      ExpectFailure(CliCall{{"convert", "--file-mode", fileMode, "in/x.txt", "locked/x.txt"}, {}, {}, Nobody()},
                    root_ + "/in/x.txt: 変換出来ませんでした", 2);
      EXPECT_EQ(Read("locked/x.txt"), "old output") << fileMode;
      EXPECT_FALSE(Exists("locked/x.bak")) << fileMode;
    }
    ExpectFailure(CliCall{{"convert", "--file-mode", fileMode, "in/*.txt", "out"}, {}, {}, {}},
                  root_ + "/in/x.txt: 出力ﾌｧｲﾙ [" + Path("out/x.txt") + "] が不正です", 2);
    EXPECT_EQ(Read("out/x.txt/keep"), "inside") << fileMode;
    EXPECT_FALSE(Exists("out/x.bak")) << fileMode;
  }
}

TEST_F(CliSafety, InputThatVanishesMidBatch) {
  Write("a.txt", Euc(3));
  // The first pair deletes its input, so the second finds it gone.
  ExpectFailure(CliCall{{"convert", "--file-mode", "373", "\"a.txt\",\"a.txt\"", "\"o1.txt\",\"o2.txt\""}, {}, {}, {}},
                root_ + "/a.txt: 入力ﾌｧｲﾙ [" + root_ + "/a.txt] が見つかりません");
  EXPECT_TRUE(Exists("o1.txt"));
  EXPECT_FALSE(Exists("o2.txt"));
}

TEST_F(CliSafety, InterruptTerminateAndHangupCancelAndRemoveThePartialOutput) {
  for (int i = 0; i < 300; ++i) Write("in/f" + std::to_string(1000 + i) + ".txt", Euc(300));
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    fs::remove_all(Path("out"));
    const CliProcess p = Start(CliCall{{"convert", "in", "out"}, {}, {}, {}});
    for (int i = 0; i < 2000 && !Exists("out/f1000.txt"); ++i) std::this_thread::sleep_for(1ms);
    ::kill(p.pid, signal);
    const CliResult r = Wait(p);
    EXPECT_EQ(r.status, 130) << signal << ": " << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_FALSE(Exists("out/f1299.txt"));
    EXPECT_TRUE(WorkFilesLeft(root_).empty());
    EXPECT_EQ(Read("out/f1000.txt"), Converted(300));  // what was converted is whole
  }
}

// Every regular file under `folder` (the trash included when given the home),
// by content: where an original may have gone.
std::vector<std::string> ContentsUnder(const std::string& folder) {
  std::vector<std::string> all;
  std::error_code ec;
  for (const auto& e : fs::recursive_directory_iterator(folder, ec)) {
    if (e.is_regular_file(ec) && !e.path().filename().string().starts_with(".")) all.push_back(ReadAll(e.path()));
  }
  return all;
}

bool Holds(const std::vector<std::string>& all, const std::string& bytes) {
  return std::find(all.begin(), all.end(), bytes) != all.end();
}

// An input named like the output's backup, a folder converted in place twice,
// and two inputs sharing a backup name: every original survives, in place, as
// a .bak or in the trash.
TEST_F(CliSafety, NoOriginalIsLostWithDefaultSettings) {
  const std::string mac = MacBinaryFile({"memo"}, Euc(2), "resource fork");
  Write("one/memo.bak", mac);
  Write("one/memo.txt", "old memo");
  CliResult r = RunOk({"convert", "one/memo.bak", "one/memo.txt"});
  EXPECT_EQ(Read("one/memo.bak"), mac);
  EXPECT_EQ(Read("one/memo.txt"), Converted(2));
  EXPECT_TRUE(Holds(ContentsUnder(Path(".home")), "old memo"));

  Write("col/memo.bin", mac);
  Write("col/memo.txt", Euc(3));
  Write("col/a.txt", "text a\n");
  Write("col/a.csv", "text,csv\n");
  for (int round = 1; round <= 2; ++round) {
    r = Run({"convert", "col", "col"});
    EXPECT_EQ(r.status, 0) << "round " << round << ": " << r.err;
  }
  std::vector<std::string> kept = ContentsUnder(Path("col"));
  const std::vector<std::string> trashed = ContentsUnder(Path(".home"));
  kept.insert(kept.end(), trashed.begin(), trashed.end());
  for (const std::string& original : {mac, Euc(3), std::string("text a\n"), std::string("text,csv\n")}) {
    EXPECT_TRUE(Holds(kept, original)) << original.size() << " bytes lost";
  }
  EXPECT_TRUE(WorkFilesLeft(Path("col")).empty());
}

TEST_F(CliSafety, ListsWhoseOutputsRepeatOrAreInputsAreRefused) {
  const struct { const char* inputs; const char* outputs; const char* refused; } cases[] = {
      {"\"a.txt\",\"b.txt\"", "\"o.txt\",\"o.txt\"", "o.txt"},
      {"\"a.txt\",\"b.txt\"", "\"b.txt\",\"c.txt\"", "b.txt"},
      {"\"a.txt\",\"a.txt\"", "\"a.txt\",\"b.txt\"", "a.txt"},  // the same file twice, once in place
      {"\"a.txt\",\"b.txt\"", "\"o.txt\",\"sub/../o.txt\"", "sub/../o.txt"},
  };
  for (const auto& c : cases) {
    Write("a.txt", Euc(2));
    Write("b.txt", Euc(3));
    fs::remove(Path("o.txt"));
    fs::remove(Path("c.txt"));
    ExpectFailure(CliCall{{"convert", "--file-mode", "372", c.inputs, c.outputs}, {}, {}, {}},
                  "出力ﾌｧｲﾙ [" + Path(c.refused) + "] が不正です", 2);
    EXPECT_EQ(Read("a.txt"), Euc(2)) << c.outputs;
    EXPECT_EQ(Read("b.txt"), Euc(3)) << c.outputs;
    EXPECT_FALSE(Exists("o.txt") || Exists("c.txt")) << c.outputs;
  }
}

TEST_F(CliSafety, DevicesPipesAndSocketsAtTheOutputAreLeftAlone) {
  Write("in/x.txt", Euc(2));
  fs::create_directories(Path("out"));
  ASSERT_EQ(::mkfifo(Path("fifo").c_str(), 0600), 0);
  ASSERT_EQ(::mkfifo(Path("out/x.txt").c_str(), 0600), 0);
  const int sock = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string socketPath = Path("sock");
  if (socketPath.size() < sizeof address.sun_path) {
    std::copy(socketPath.begin(), socketPath.end(), address.sun_path);
    ASSERT_EQ(::bind(sock, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  for (const auto& [in, out, refused] : {std::tuple{"in/x.txt", "fifo", "fifo"}, {"in/x.txt", "sock", "sock"},
                                         {"in", "out", "out/x.txt"}}) {
    if (!Exists(out)) continue;
    const CliResult r = Run({"convert", "--text", in, out});
    EXPECT_EQ(r.status, 2) << out;
    // Refused while walking, the message names the file being converted.
    const std::string about = std::string(in) == "in" ? Path("in/x.txt") + ": " : "";
    EXPECT_EQ(r.err, about + "出力ﾌｧｲﾙ [" + Path(refused) + "] が不正です\n");
    struct stat st {};
    EXPECT_TRUE(::lstat(Path(refused).c_str(), &st) == 0 && !S_ISREG(st.st_mode)) << refused;
  }
  ::close(sock);
}

TEST_F(CliSafety, NamesFromAListingAndLetterCase) {
  // "?" and "*" are legal in Mac names: a walk takes them as names.
  for (const char* name : {"a?b.txt", "c*d.txt", "z.txt"}) Write(std::string("Case/") + name, Euc(2));
  CliResult r = RunOk({"convert", "Case", "case"});
  for (const char* name : {"a?b.txt", "c*d.txt", "z.txt"}) {
    EXPECT_EQ(Read(std::string("case/") + name), Converted(2)) << name;
    EXPECT_EQ(Read(std::string("Case/") + name), Euc(2)) << name;
  }
  // Two names that differ in case are two files: the input goes as asked.
  Write("FILE.TXT", Euc(2));
  r = Run({"convert", "--file-mode", "372", "FILE.TXT", "file.txt"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Read("file.txt"), Converted(2));
  EXPECT_FALSE(Exists("FILE.TXT"));
}

TEST_F(CliSafety, AnOutputEndingInSlashIsAFolder) {
  Write("f.txt", Euc(2));
  fs::create_directories(Path("old"));
  for (const char* out : {"newdir/", "old/", "deep/er/"}) {
    RunOk({"convert", "f.txt", out});
    EXPECT_EQ(Read(std::string(out) + "f.txt"), Converted(2)) << out;
  }
}

// A name the run must replace that is a link or a folder is refused, and
// nothing it leads to changes.
TEST_F(CliSafety, BackupNamesThatAreNotTheUsersFilesAreRefused) {
  Write("in.txt", Euc(2));
  Write("victim", "private key");
  ::chmod(Path("victim").c_str(), 0600);
  Write("x.txt", "old x");
  fs::create_symlink(Path("victim"), Path("x.bak"));
  Write("y.txt", "old y");
  fs::create_directories(Path("y.bak/inside"));
  ::chmod(Path("y.bak").c_str(), 0755);
  for (const char* out : {"x", "y"}) {
    ExpectFailure(CliCall{{"convert", "--file-mode", "117", "in.txt", std::string(out) + ".txt"}, {}, {}, {}},
                  Path("in.txt") + ": 出力ﾌｧｲﾙ [" + Path(std::string(out) + ".bak") + "] が不正です", 2);
    EXPECT_EQ(Read(std::string(out) + ".txt"), std::string("old ") + out);
  }
  EXPECT_EQ(fs::status(Path("victim")).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(Read("victim"), "private key");
  EXPECT_EQ(fs::status(Path("y.bak")).permissions() & fs::perms::all, static_cast<fs::perms>(0755));
}

// Another user plants look-alike work files in a shared sticky work folder:
// links to the victim's files, a pipe. The run never touches them.
TEST_F(CliSafety, PlantedWorkFilesInASharedFolderAreNeverTouched) {
  if (!CanDropPrivileges()) GTEST_SKIP() << "cannot run as another user here";
  const std::string shared = Path("shared");
  fs::create_directories(shared);
  ::chmod(shared.c_str(), 01777);
  Write("victim", "secret");
  ::chmod(Path("victim").c_str(), 0600);
  const std::string plant = "ln -s " + Path("victim") + " " + shared + "/FRX1-0123456789abcdef-1.tmp && ln -s " +
                            Path("victim") + " " + shared + "/FRX1-0123456789abcdef.lock && mkfifo " + shared +
                            "/FRX2-0123456789abcdef-1.tmp";
  ASSERT_EQ(Run(CliCall{{}, {}, {}, {"setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups", "sh", "-c", plant}})
                .status, 0);
  Write("in.txt", Euc(2));
  RunOk(CliCall{{"convert", "in.txt", "out.txt"}, {}, {{"TMP", shared}}, {}});
  EXPECT_EQ(Read("out.txt"), Converted(2));
  EXPECT_EQ(Read("victim"), "secret");
  EXPECT_EQ(fs::status(Path("victim")).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  for (const char* name : {"FRX1-0123456789abcdef-1.tmp", "FRX1-0123456789abcdef.lock", "FRX2-0123456789abcdef-1.tmp"}) {
    EXPECT_TRUE(fs::is_symlink(shared + "/" + name) || fs::is_fifo(shared + "/" + name)) << name;
  }
}

// Two runs whose process ids are equal (each the first process of its own
// process-id space, as in two containers) share a work folder.
TEST_F(CliSafety, RunsWithTheSameProcessIdNeverShareWorkFiles) {
  if (Run(CliCall{{"--version"}, {}, {}, {"unshare", "--pid", "--fork"}}).status != 0) {
    GTEST_SKIP() << "cannot start a process in its own process-id space here";
  }
  Write("a.txt", Euc(40000));
  Write("b.txt", Encode(Lines(40000, "\r"), "EUC-JP"));
  for (int round = 0; round < 3; ++round) {
    const CliProcess a = Start(CliCall{{"convert", "a.txt", "oa.txt"}, {}, {}, {"unshare", "--pid", "--fork"}});
    const CliProcess b = Start(CliCall{{"convert", "b.txt", "ob.txt"}, {}, {}, {"unshare", "--pid", "--fork"}});
    EXPECT_EQ(Wait(a).status, 0);
    EXPECT_EQ(Wait(b).status, 0);
    EXPECT_EQ(Read("oa.txt"), Converted(40000)) << round;
    EXPECT_EQ(Read("ob.txt"), Converted(40000)) << round;
  }
  EXPECT_TRUE(WorkFilesLeft(root_).empty());
}

// What a crashed run left (its lock is gone) is removed by the next run that
// works in that folder, an old output on its way to the trash goes there, and
// a walk never takes such files as inputs.
TEST_F(CliSafety, CrashLeftoversAreSweptAndNeverInputs) {
  Write("col/a.txt", Euc(2));
  Write("col/.FRX7-0123456789abcdef-1.tmp", "partial");
  Write("col/.FRX7-0123456789abcdef-2.old/a.txt", "held old output");
  Write(".work/FRX7-0123456789abcdef-3.tmp", "partial");
  Write(".work/FRX7-0123456789abcdef.lock", "");
  CliResult r = RunOk({"convert", "col", "out"});
  EXPECT_EQ(ContentsUnder(Path("out")), std::vector<std::string>{Converted(2)});
  EXPECT_TRUE(fs::is_empty(Path(".work")));
  r = Run({"convert", "col", "col"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(WorkFilesLeft(Path("col")).empty());
  EXPECT_TRUE(Holds(ContentsUnder(Path(".home")), "held old output"));
}

// A cancel that comes while a file is being put in place lets that file
// finish; the run stops after it, and 130 says the next file is untouched.
TEST_F(CliSafety, CancelWhileAnOutputIsPutInPlaceFinishesThatFile) {
  Write("a.txt", Euc(2));
  Write("b.txt", Euc(3));
  for (const char* fileMode : {"117", "372", "244"}) {  // backup, replace and delete the input, trash
    for (const auto& [inputs, outputs, status] : {std::tuple{"a.txt", "oa.txt", 0},
                                                  {"\"a.txt\",\"b.txt\"", "\"oa.txt\",\"ob.txt\"", 130}}) {
      Write("a.txt", Euc(2));
      Write("oa.txt", "old");
      fs::remove(Path("ob.txt"));
      const CliResult r = Run(CliCall{{"convert", "--file-mode", fileMode, inputs, outputs}, {}, 
                                      {{"LD_PRELOAD", FERROX_FAULT_SHIM}, {"FERROX_FAULT_CALL", "rename"},
                                       {"FERROX_FAULT_NTH", "1"}, {"FERROX_FAULT_KILL", std::to_string(SIGINT)}}, {}});
      EXPECT_EQ(r.status, status) << fileMode << " " << inputs << ": " << r.err;
      EXPECT_EQ(Read("oa.txt"), Converted(2)) << fileMode;
      EXPECT_EQ(Read("b.txt"), Euc(3));
      EXPECT_FALSE(Exists("ob.txt"));
      EXPECT_TRUE(WorkFilesLeft(root_).empty());
    }
  }
}

TEST_F(CliSafety, DeleteInputKeepsAnInputThatGrewDuringTheRun) {
  Write("in.txt", Euc(400000));
  std::ofstream grow(Path("in.txt"), std::ios::app | std::ios::binary);
  const CliProcess p = Start(CliCall{{"convert", "--file-mode", "372", "in.txt", "out.txt"}, {}, {}, {}});
  // Appended once the conversion has begun (its work file is there).
  for (int i = 0; i < 5000 && WorkFilesLeft().size() < 2; ++i) std::this_thread::sleep_for(100us);
  grow << "appended\n" << std::flush;
  EXPECT_EQ(Wait(p).status, 0);
  const std::string now = Read("in.txt");
  EXPECT_TRUE(now.ends_with("appended\n")) << "the input went with what was appended";
}

TEST_F(CliSafety, OutputOnABindMountOfTheWorkFileSystem) {
  fs::create_directories(Path("real"));
  fs::create_directories(Path("bound"));
  if (::mount(Path("real").c_str(), Path("bound").c_str(), nullptr, MS_BIND, nullptr) != 0) {
    GTEST_SKIP() << "cannot bind-mount here";
  }
  mounts_.push_back(Path("bound"));
  Write("in.txt", Euc(2));
  Write("bound/out.txt", "old");
  Write("bound/out.bak", "older");
  RunOk({"convert", "--file-mode", "117", "in.txt", "bound/out.txt"});
  EXPECT_EQ(Read("bound/out.txt"), Converted(2));
  EXPECT_EQ(Read("bound/out.bak"), "old");
  EXPECT_TRUE(Holds(ContentsUnder(root_), "older"));  // in the trash of that file system
  EXPECT_TRUE(WorkFilesLeft(Path("real")).empty());
}

TEST_F(CliSafety, GaijiTableIsReadOnlyWhenNeededAndOnlyARegularBoundedFile) {
  ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0600), 0);
  const std::string huge = Path("huge.txt");
  std::ofstream(huge).close();
  fs::resize_file(huge, 200u << 20);  // sparse: takes no room
  const std::vector<std::string> timeout = {"timeout", "20"};
  for (const auto& [table, message] : {std::pair{Path("pipe"), std::string("] は通常のﾌｧｲﾙではありません\n")},
                                       {huge, std::string("] が大き過ぎます (4 MiB まで)\n")}}) {
    CliResult r = RunOk(CliCall{{"name", "--gaiji-table", table, "memo", "TEXT", "ttxt"}, {}, {}, timeout});
    EXPECT_EQ(r.out, "memo.txt\n");
    Write("in.txt", Euc(2));
    r = Run(CliCall{{"convert", "--gaiji-table", table, "in.txt", "out.txt"}, {}, {}, timeout});
    EXPECT_EQ(r.status, 3) << table;
    EXPECT_EQ(r.err, "外字ﾃｰﾌﾞﾙ [" + table + message);
    EXPECT_FALSE(Exists("out.txt"));
  }
}

// In an output folder that others may write to (no sticky bit), another user
// swaps the staged work file for a link to the victim's private file just
// before each rename, mode and time call of the run. Nothing reaches the
// victim through that link, and the run either finishes or says it could not.
class StagedFileSwap : public CliSafety {
 protected:
  struct Outcome { long swapped = 0; int failed = 0; };

  // Permission bits of what the name leads to, in octal.
  std::string ModeOf(const std::string& relative) const {
    struct stat st {};
    if (::stat(Path(relative).c_str(), &st) != 0) return "gone";
    char text[8];
    std::snprintf(text, sizeof text, "%o", static_cast<unsigned>(st.st_mode & 07777));
    return text;
  }

  Outcome Attack(const char* fileMode, const std::vector<std::string>& as, uid_t owner) {
    const std::string shared = Path("shared");
    const std::string input = Euc(3);
    auto fresh = [&] {
      fs::remove_all(shared);
      fs::create_directories(shared);
      ::chmod(shared.c_str(), 0777);
      Write("in.txt", input);
      Write("victim", "private key");
      Write("shared/out.txt", "old output");
      for (const char* name : {"in.txt", "victim", "shared/out.txt"}) {
        if (::lchown(Path(name).c_str(), owner, static_cast<gid_t>(-1)) != 0) ADD_FAILURE() << name;
      }
      ::chmod(Path("in.txt").c_str(), 0644);
      ::chmod(Path("victim").c_str(), 0600);
      fs::last_write_time(Path("victim"), fs::file_time_type::clock::now() - std::chrono::hours(24 * 400));
    };
    auto call = [&](const char* family, long nth) {
      return CliCall{{"convert", "--text", "--file-mode", fileMode, "in.txt", "shared/out.txt"}, {},
                     {{"LD_PRELOAD", FERROX_FAULT_SHIM}, {"FERROX_FAULT_SWAP", shared},
                      {"FERROX_FAULT_SWAP_TO", Path("victim")}, {"FERROX_FAULT_CALL", family},
                      {"FERROX_FAULT_NTH", std::to_string(nth)}, {"FERROX_FAULT_COUNT", Path(".counts")}},
                     as};
    };
    fresh();
    RunOk(call("rename", 0));
    std::map<std::string, long> calls = FaultCounts(Path(".counts"));
    EXPECT_GT(calls["rename"], 0) << fileMode;

    Outcome outcome;
    for (const char* family : {"rename", "mode", "times"}) {
      for (long nth = 1; nth <= calls[family]; ++nth) {
        fresh();
        const auto victimTime = fs::last_write_time(Path("victim"));
        const CliResult r = Run(call(family, nth));
        const std::string where = std::string(fileMode) + " " + family + " #" + std::to_string(nth);
        const long swapped = FaultCounts(Path(".counts"))["swapped"];
        outcome.swapped += swapped;

        EXPECT_EQ(Read("victim"), "private key") << where;
        EXPECT_EQ(ModeOf("victim"), "600") << where;
        EXPECT_TRUE(fs::last_write_time(Path("victim")) == victimTime) << where << ": the victim's time changed";
        EXPECT_EQ(Read("in.txt"), input) << where;
        EXPECT_EQ(ModeOf("in.txt"), "644") << where;
        if (r.status == 0) {
          // Finished: the output is the job's own file, with the input's bits.
          EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(Path("shared/out.txt")))) << where;
          EXPECT_EQ(Read("shared/out.txt"), Converted(3)) << where;
          EXPECT_EQ(ModeOf("shared/out.txt"), "644") << where;
        } else {
          ++outcome.failed;
          EXPECT_GT(swapped, 0) << where << ": failed without an attack: " << r.err;
          EXPECT_EQ(r.status, 2) << where;
          EXPECT_EQ(r.err, Path("in.txt") + ": 変換出来ませんでした\n") << where;
        }
        // A kept old output is whole wherever this mode keeps it.
        if (std::string(fileMode) == "117") {
          const bool kept = (Exists("shared/out.bak") && Read("shared/out.bak") == "old output") ||
                            (fs::is_regular_file(fs::symlink_status(Path("shared/out.txt"))) &&
                             Read("shared/out.txt") == "old output");
          EXPECT_TRUE(kept) << where << ": the old output is lost";
        }
        EXPECT_TRUE(WorkFilesLeft(shared).empty()) << where;
      }
    }
    return outcome;
  }
};

TEST_F(StagedFileSwap, NothingIsDoneToTheStagedFileThroughItsName) {
  for (const char* fileMode : {"116", "117", "244"}) {  // replace, backup, trash
    const Outcome o = Attack(fileMode, {}, ::geteuid());
    // The swap before the rename that puts the output in place always lands.
    EXPECT_GT(o.swapped, 0) << fileMode;
    EXPECT_GT(o.failed, 0) << fileMode;
  }
}

TEST_F(StagedFileSwap, AsAnotherUser) {
  if (!CanDropPrivileges()) GTEST_SKIP() << "cannot run as another user here: the swap attack ran only as this user";
  const passwd* nobody = ::getpwnam("nobody");
  ASSERT_NE(nobody, nullptr);
  const Outcome o = Attack("117", Nobody(), nobody->pw_uid);
  EXPECT_GT(o.swapped, 0);
}

}  // namespace
}  // namespace ferrox::testing
