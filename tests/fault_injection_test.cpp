// Fault injection through the real ferrox program: a preloaded shim makes the
// Nth write, rename, fsync or file creation fail, or kills the program (kill
// -9) just before the Nth call that changes a file. For every such call of a
// conversion the input survives; a failure keeps the old output (in place, as
// the backup or in the trash) and gives one of the job's own messages; a
// success has the new output; after a kill the output name holds the old or
// the new output whole; and no work file stays behind (after a kill, once the
// next run has started). The table of what was tried is printed, one row per
// call.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <filesystem>
#include <iostream>
#include <string>

#include "helpers/cli_runner.h"

namespace ferrox::testing {
namespace {

namespace fs = std::filesystem;

const std::string kOld = "OLD OUTPUT\r\n";

struct Scenario {
  const char* name;
  const char* fileMode;
  bool workOnOtherFileSystem;
  const char* error = "ENOSPC";  // what the failing call reports
  bool kill = false;              // kill -9 before the call instead of failing it
  bool inPlace = false;           // the input is the output
};

// The messages a failed job may give; anything else is a finding.
bool KnownMessage(const std::string& err) {
  for (const char* m : {"変換出来ませんでした", "の空き容量不足の為、変換できませんでした", "出力ﾌｧｲﾙのﾊﾟｽが不正です", "入力ﾌｧｲﾙ ["}) {
    if (err.find(m) != std::string::npos) return true;
  }
  return false;
}

class FaultInjection : public CliTest {
 protected:
  std::map<std::string, long> CountCalls(const CliCall& call) {
    CliCall counted = call;
    const std::string countFile = Path(".counts");
    counted.env.emplace_back("LD_PRELOAD", FERROX_FAULT_SHIM);
    counted.env.emplace_back("FERROX_FAULT_COUNT", countFile);
    const CliResult r = Run(counted);
    EXPECT_EQ(r.status, 0) << r.err;
    return FaultCounts(countFile);
  }

  std::string TrashedOld(const std::string& dir, const std::string& old = kOld) const {
    std::error_code ec;
    const fs::path trash = fs::path(root_) / ".home/.local/share/Trash/files";
    for (const auto& entry : fs::directory_iterator(trash, ec)) {
      if (ReadAll(entry.path()) == old && entry.path().filename().string().starts_with("out")) {
        fs::remove(entry.path());
        fs::remove(trash.parent_path() / "info" / (entry.path().filename().string() + ".trashinfo"));
        return dir;
      }
    }
    return {};
  }

  void RunScenario(const Scenario& s) {
    const std::string input = Encode("変換の途中で失敗しても、何も失われません。\n二行目。\n", "EUC-JP");
    std::string work = work_;
    if (s.workOnOtherFileSystem) {
      work = "/dev/shm/ferrox-fault-" + std::to_string(::getpid());
      fs::create_directories(work);
    }
    const std::string inName = s.inPlace ? "/out.txt" : "/in.txt";
    auto call = [&](const std::string& dir) {
      return CliCall{{"convert", "--text", "--file-mode", s.fileMode, Path(dir + inName), Path(dir + "/out.txt")},
                     {}, {{"TMP", work}}, {}};
    };
    const std::string old = s.inPlace ? input : kOld;

    // The first run of a fresh config folder writes the settings store; run
    // once so that the counted run and the faulty runs make the same calls.
    Write("clean/in.txt", input);
    Write("clean/out.txt", old);
    ASSERT_EQ(Run(call("clean")).status, 0);
    Write("clean/in.txt", input);
    Write("clean/out.txt", old);
    TrashedOld("clean", old);
    const std::map<std::string, long> counts = CountCalls(call("clean"));
    ASSERT_GT(counts.contains("rename") ? counts.at("rename") : 0, 0) << "the fault shim counted no call";
    const std::string expected = Read("clean/out.txt");
    ASSERT_NE(expected, old);

    int run = 0;
    for (const auto& [family, count] : counts) {
      // A failing removal cannot clean up; a kill before one is what matters.
      if (family == "remove" && !s.kill) continue;
      for (long nth = 1; nth <= count; ++nth) {
        const std::string dir = "run" + std::to_string(++run);
        if (!s.inPlace) Write(dir + "/in.txt", input);
        Write(dir + "/out.txt", old);
        // As in the counted run, an earlier backup is there to go to the trash.
        if (s.fileMode == std::string("1")) Write(dir + "/out.bak", "older backup");
        CliCall faulty = call(dir);
        faulty.env.emplace_back("LD_PRELOAD", FERROX_FAULT_SHIM);
        faulty.env.emplace_back("FERROX_FAULT_CALL", family);
        faulty.env.emplace_back("FERROX_FAULT_NTH", std::to_string(nth));
        faulty.env.emplace_back("FERROX_FAULT_ERRNO", s.error);
        if (s.kill) faulty.env.emplace_back("FERROX_FAULT_KILL", std::to_string(SIGKILL));
        const CliResult r = Run(faulty);
        const std::string where = std::string(s.name) + " " + family + " #" + std::to_string(nth);

        const bool outIsOld = Exists(dir + "/out.txt") && Read(dir + "/out.txt") == old;
        const bool outIsNew = Exists(dir + "/out.txt") && Read(dir + "/out.txt") == expected;
        const bool bakIsOld = Exists(dir + "/out.bak") && Read(dir + "/out.bak") == old;
        const bool oldInTrash = !outIsOld && !bakIsOld && !TrashedOld(dir, old).empty();
        if (s.inPlace) {
          EXPECT_TRUE(outIsOld || bakIsOld || oldInTrash) << where << ": the input is lost";
        } else if (s.fileMode == std::string("256") && !Exists(dir + "/in.txt")) {
          EXPECT_TRUE(outIsNew) << where << ": the input was deleted without the new output";
        } else if (s.fileMode == std::string("256") && r.status == 0) {
          ADD_FAILURE() << where << ": the input was not deleted";
        } else {
          EXPECT_EQ(Read(dir + "/in.txt"), input) << where << ": the input changed";
        }
        if (s.kill && r.status != 0) {  // 0: the counted run made more such calls than this one
          EXPECT_EQ(r.status, 128 + SIGKILL) << where;
          EXPECT_TRUE(outIsOld || outIsNew) << where << ": the output name holds neither the old nor the new";
          if (outIsNew && s.fileMode == std::string("1")) {
            EXPECT_TRUE(bakIsOld) << where << ": no backup";
          }
          // What a crash leaves is private, and the next run removes it.
          for (const auto& left : WorkFilesLeft(Path(dir))) {
            struct stat st {};
            if (::lstat(left.c_str(), &st) == 0 && S_ISREG(st.st_mode)) {
              EXPECT_EQ(st.st_mode & 077, 0u) << where << ": " << left;
            }
          }
          Write("next/in.txt", input);
          CliCall next{{"convert", "--text", Path("next/in.txt"), Path(dir + "/next.txt")}, {}, {{"TMP", work}}, {}};
          EXPECT_EQ(Run(next).status, 0) << where;
        } else if (r.status == 0) {
          // Success: the new output stands, and the old one is where FileMode sends it.
          EXPECT_TRUE(outIsNew) << where << ": success without the new output";
          if (s.fileMode == std::string("1")) {
            EXPECT_TRUE(bakIsOld) << where << ": no backup";
          }
          if (s.fileMode == std::string("128")) {
            EXPECT_TRUE(oldInTrash) << where << ": old output not in the trash";
          }
        } else {
          EXPECT_TRUE(outIsOld || bakIsOld || oldInTrash) << where << ": the old output is lost";
          EXPECT_TRUE(KnownMessage(r.err)) << where << ": unexpected message: " << r.err;
        }
        // Every description in the trash belongs to a file still there (a kill
        // between the two steps of a move to the trash may leave a description).
        std::error_code ec;
        for (const auto& info : fs::directory_iterator(fs::path(root_) / ".home/.local/share/Trash/info", ec)) {
          const std::string name = info.path().stem().string();
          if (!s.kill) {
            EXPECT_TRUE(fs::exists(fs::path(root_) / ".home/.local/share/Trash/files" / name))
                << where << ": orphan " << info.path();
          }
        }
        std::vector<std::string> left = WorkFilesLeft(Path(dir));
        if (s.workOnOtherFileSystem)
          for (const auto& entry : fs::directory_iterator(work)) left.push_back(entry.path().string());
        EXPECT_TRUE(left.empty()) << where << ": work file left: " << left.front();

        std::string message = r.err.substr(0, r.err.find('\n'));
        std::cout << "| " << s.name << " | " << family << " #" << nth << " | "
                  << (r.status == 128 + SIGKILL ? "kill -9" : "exit " + std::to_string(r.status)) << " | "
                  << (message.empty() ? "(none)" : message) << " | "
                  << (outIsNew ? "new output" : outIsOld ? "old output kept" : "output absent")
                  << (bakIsOld ? ", old in .bak" : "") << (oldInTrash ? ", old in trash" : "")
                  << (left.empty() ? ", no work file" : ", WORK FILE LEFT") << " |\n";
      }
    }
    if (s.workOnOtherFileSystem) fs::remove_all(work);
  }
};

// A folder run flushes its outputs in groups: when the group's flush fails,
// each file's own flush decides, and an output goes into place only once it
// is on the disk; a file whose flush fails keeps its old output.
TEST_F(FaultInjection, FolderRunFlushes) {
  const std::string input = Encode("まとめて書き出す。\n", "EUC-JP");
  auto prepare = [&](const std::string& dir) {
    for (const char* name : {"a.txt", "b.txt", "c.txt"}) {
      Write(dir + "/in/" + name, input);
      Write(dir + "/out/" + name, kOld);
    }
    return CliCall{{"convert", "--text", Path(dir + "/in"), Path(dir + "/out")}, {}, {{"TMP", work_}}, {}};
  };
  ASSERT_EQ(Run(prepare("clean")).status, 0);
  const std::string expected = Read("clean/out/a.txt");
  const long flushes = CountCalls(prepare("clean"))["fsync"];
  ASSERT_GE(flushes, 1);
  for (long nth = 1; nth <= flushes + 1; ++nth) {
    const std::string dir = "run" + std::to_string(nth);
    CliCall faulty = prepare(dir);
    faulty.env.emplace_back("LD_PRELOAD", FERROX_FAULT_SHIM);
    faulty.env.emplace_back("FERROX_FAULT_CALL", "fsync");
    faulty.env.emplace_back("FERROX_FAULT_NTH", std::to_string(nth));
    const CliResult r = Run(faulty);
    // One flush for three files is a group flush: its failure is not the end.
    if (flushes == 1) {
      EXPECT_EQ(r.status, 0) << "a failed group flush must fall back to each file's own";
    }
    int renewed = 0;
    for (const char* name : {"a.txt", "b.txt", "c.txt"}) {
      const std::string out = Read(dir + "/out/" + name);
      EXPECT_TRUE(out == kOld || out == expected) << "fsync #" << nth << ": " << name;
      renewed += out == expected ? 1 : 0;
    }
    if (r.status == 0) {
      EXPECT_EQ(renewed, 3) << "fsync #" << nth;
    } else {
      EXPECT_LT(renewed, 3) << "fsync #" << nth;
      EXPECT_TRUE(KnownMessage(r.err)) << "fsync #" << nth << ": " << r.err;
    }
    EXPECT_TRUE(WorkFilesLeft(Path(dir)).empty()) << "fsync #" << nth;
    std::cout << "| folder run | fsync #" << nth << " | exit " << r.status << " | " << renewed << " of 3 new |\n";
  }
}

TEST_F(FaultInjection, ReplaceOldOutput) { RunScenario({"replace", "0", false}); }
TEST_F(FaultInjection, BackupOldOutput) { RunScenario({"backup", "1", false}); }
TEST_F(FaultInjection, TrashOldOutput) { RunScenario({"trash", "128", false}); }
TEST_F(FaultInjection, WorkFolderOnAnotherFileSystem) { RunScenario({"other-fs", "0", true}); }
TEST_F(FaultInjection, InputOutputErrors) { RunScenario({"backup-EIO", "1", false, "EIO"}); }
TEST_F(FaultInjection, InputOutputErrorsAcrossFileSystems) { RunScenario({"trash-other-fs-EIO", "128", true, "EIO"}); }
// The kill column: kill -9 just before each file-changing call, in every mode.
TEST_F(FaultInjection, KillReplace) { RunScenario({"kill replace", "0", false, "ENOSPC", true}); }
TEST_F(FaultInjection, KillBackup) { RunScenario({"kill backup", "1", false, "ENOSPC", true}); }
TEST_F(FaultInjection, KillTrash) { RunScenario({"kill trash", "128", false, "ENOSPC", true}); }
TEST_F(FaultInjection, KillDeleteInput) { RunScenario({"kill delete-input", "256", false, "ENOSPC", true}); }
TEST_F(FaultInjection, KillOtherFileSystem) { RunScenario({"kill other-fs backup", "1", true, "ENOSPC", true}); }
TEST_F(FaultInjection, KillInPlace) { RunScenario({"kill in-place backup", "1", false, "ENOSPC", true, true}); }
TEST_F(FaultInjection, KillInPlaceTrash) { RunScenario({"kill in-place trash", "128", false, "ENOSPC", true, true}); }

}  // namespace
}  // namespace ferrox::testing
