#include "helpers/cli_runner.h"

#include <fcntl.h>
#include <iconv.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace ferrox::testing {

namespace fs = std::filesystem;

void CliTest::SetUp() {
  for (const std::string& dir : {root_, config_, work_}) {
    fs::create_directories(dir);
    fs::permissions(dir, fs::perms::all);  // tests that drop privileges work in here too
  }
}

CliProcess CliTest::Start(const CliCall& call) {
  static int serial = 0;
  ++serial;
  CliProcess process{-1, root_ + "/.out" + std::to_string(serial), root_ + "/.err" + std::to_string(serial)};
  std::vector<std::string> argv = call.prefix;
  argv.emplace_back(FERROX_CLI_PATH);
  argv.insert(argv.end(), call.args.begin(), call.args.end());
  std::vector<std::pair<std::string, std::string>> env = {
      {"FERROX_CONFIG_DIR", config_}, {"TMP", work_}, {"HOME", root_ + "/.home"},
      {"XDG_DATA_HOME", root_ + "/.home/.local/share"}, {"TZ", "UTC"}, {"LC_ALL", "C.UTF-8"}};
  env.insert(env.end(), call.env.begin(), call.env.end());  // later settings win
  const std::string cwd = call.cwd.empty() ? root_ : call.cwd;

  process.pid = ::fork();
  if (process.pid == 0) {
    ::unsetenv("TMPDIR");
    ::unsetenv("XDG_CONFIG_HOME");
    for (const auto& [name, value] : env) ::setenv(name.c_str(), value.c_str(), 1);
    const int out = ::open(process.outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    const int err = ::open(process.errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    const int nul = ::open(stdin_.empty() ? "/dev/null" : stdin_.c_str(), O_RDONLY);
    if (out < 0 || err < 0 || nul < 0 || ::chdir(cwd.c_str()) != 0) ::_exit(126);
    ::dup2(nul, 0);
    ::dup2(out, 1);
    ::dup2(err, 2);
    std::vector<char*> raw;
    for (auto& a : argv) raw.push_back(a.data());
    raw.push_back(nullptr);
    ::execvp(raw[0], raw.data());
    ::_exit(127);
  }
  return process;
}

CliResult CliTest::Wait(const CliProcess& process) {
  int status = 0;
  struct rusage usage {};
  while (::wait4(process.pid, &status, 0, &usage) < 0 && errno == EINTR) {
  }
  CliResult result{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), ReadAll(process.outFile),
                   ReadAll(process.errFile), usage.ru_maxrss};
  fs::remove(process.outFile);
  fs::remove(process.errFile);
  return result;
}

CliResult CliTest::RunOk(const CliCall& call) {
  CliResult result = Run(call);
  std::string command = "ferrox";
  for (const std::string& arg : call.args) command += " " + arg;
  EXPECT_EQ(result.status, 0) << command << ": " << result.err;
  return result;
}

void CliTest::Write(const std::string& relative, const std::string& bytes) const {
  const fs::path path = Path(relative);
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

bool CliTest::Exists(const std::string& relative) const {
  struct stat st {};
  return ::lstat(Path(relative).c_str(), &st) == 0;
}

std::vector<std::string> CliTest::WorkFilesLeft(const std::string& folder) const {
  std::vector<std::string> left;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(work_, ec)) left.push_back(entry.path().string());
  if (folder.empty()) return left;
  for (const auto& entry : fs::recursive_directory_iterator(folder, ec)) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with("FRX") || name.starts_with(".FRX")) left.push_back(entry.path().string());
  }
  return left;
}

std::map<std::string, long> FaultCounts(const std::string& file) {
  std::map<std::string, long> counts;
  std::ifstream in(file);
  std::string family;
  for (long n = 0; in >> family >> n;) counts[family] = n;
  return counts;
}

std::optional<std::string> Iconv(const char* to, const char* from, std::string text) {
  iconv_t cd = ::iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  std::string out(text.size() * 4 + 16, '\0');
  char* src = text.data();
  std::size_t srcLeft = text.size();
  char* dst = out.data();
  std::size_t dstLeft = out.size();
  const bool ok = ::iconv(cd, &src, &srcLeft, &dst, &dstLeft) != static_cast<std::size_t>(-1) &&
                  ::iconv(cd, nullptr, nullptr, &dst, &dstLeft) != static_cast<std::size_t>(-1);
  ::iconv_close(cd);
  if (!ok) return std::nullopt;
  out.resize(out.size() - dstLeft);
  return out;
}

std::string Encode(const std::string& utf8, const char* code) { return Iconv(code, "UTF-8", utf8).value_or(""); }

std::string Sjis(const std::string& utf8) { return Encode(utf8, "CP932"); }

}  // namespace ferrox::testing
