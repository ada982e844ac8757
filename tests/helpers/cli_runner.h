#pragma once
// Runs the built `ferrox` program in a child process for end-to-end tests,
// each in a fresh temporary folder with its own config folder and work folder.

#include <gtest/gtest.h>
#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "helpers/scratch_dir.h"

namespace ferrox::testing {

struct CliResult {
  int status = -1;  // exit status, or 128 + signal number
  std::string out, err;
  long maxRssKib = 0;  // the child's peak memory
};

struct CliCall {
  std::vector<std::string> args;                         // after the program name
  std::string cwd;                                       // empty = the test's root
  std::vector<std::pair<std::string, std::string>> env;  // added to (or replacing) the fixture's
  std::vector<std::string> prefix;                       // a wrapper such as setpriv
};

// A started ferrox; stdout and stderr go to files in the test's root.
struct CliProcess { pid_t pid = -1; std::string outFile, errFile; };

class CliTest : public ::testing::Test {
 protected:
  void SetUp() override;

  CliResult Run(const CliCall& call) { return Wait(Start(call)); }
  CliResult Run(std::vector<std::string> args) { return Run(CliCall{std::move(args), {}, {}, {}}); }
  // Runs a call that must succeed (exit status 0).
  CliResult RunOk(const CliCall& call);
  CliResult RunOk(std::vector<std::string> args) { return RunOk(CliCall{std::move(args), {}, {}, {}}); }
  // With the file `input` as standard input (else it is /dev/null).
  CliResult RunWithInput(std::vector<std::string> args, const std::string& input) {
    stdin_ = input;
    CliResult result = Run(std::move(args));
    stdin_.clear();
    return result;
  }
  CliProcess Start(const CliCall& call);
  CliResult Wait(const CliProcess& process);

  // Paths inside the test's root folder.
  [[nodiscard]] std::string Path(const std::string& relative) const { return root_ + "/" + relative; }
  void Write(const std::string& relative, const std::string& bytes) const;
  [[nodiscard]] std::string Read(const std::string& relative) const { return ReadAll(Path(relative)); }
  [[nodiscard]] bool Exists(const std::string& relative) const;
  // Names in the work folder (TMP) and any work files left in `folder`.
  [[nodiscard]] std::vector<std::string> WorkFilesLeft(const std::string& folder = {}) const;

  ScratchDir scratch_{SharedTempBase()};  // some tests run ferrox as "nobody" in here
  std::string root_ = scratch_.Path().string();  // the test's own folder
  std::string config_ = root_ + "/.config";      // FERROX_CONFIG_DIR
  std::string work_ = root_ + "/.work";          // TMP
  std::string stdin_;
};

// What the fault shim counted into `file` (FERROX_FAULT_COUNT): calls by family.
std::map<std::string, long> FaultCounts(const std::string& file);

// `text` in another code through iconv, back in the initial shift state;
// nothing when iconv cannot convert all of it.
std::optional<std::string> Iconv(const char* to, const char* from, std::string text);
// CP932 bytes of a UTF-8 text, and EUC-JP / ISO-2022-JP bytes.
std::string Sjis(const std::string& utf8);
std::string Encode(const std::string& utf8, const char* code);

}  // namespace ferrox::testing
