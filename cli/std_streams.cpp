#include "cli/std_streams.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "app/ferrox_job.h"
#include "cli/cli_window.h"
#include "convert/output_file.h"
#include "convert/result_code.h"

namespace ferrox::cli {

namespace {

constexpr std::size_t kBlock = 1 << 16;

}  // namespace

StdinFile::~StdinFile() {
  if (fd_ >= 0) ::close(fd_);
  if (!named_.empty()) ::unlink(named_.c_str());
  if (!folder_.empty()) ::rmdir(folder_.c_str());
}

JobResult StdinFile::Spool() {
  const std::string folder = WorkFolder();
  fd_ = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (fd_ < 0) {
    std::string pattern = folder + "FRXstdin-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
      return errno == ENOSPC || errno == EDQUOT ? JobResult::DiskFull : JobResult::Failed;
    }
    folder_ = pattern;
    named_ = folder_ + "/in";
    fd_ = ::open(named_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd_ < 0) return errno == ENOSPC || errno == EDQUOT ? JobResult::DiskFull : JobResult::Failed;
  }
  std::vector<char> buffer(kBlock);
  for (;;) {
    if (CliWindow::Interrupted()) return JobResult::Cancelled;
    const ssize_t n = ::read(STDIN_FILENO, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return JobResult::Failed;
    if (n == 0) break;
    if (!WriteAll(fd_, buffer.data(), static_cast<std::size_t>(n))) {
      return errno == ENOSPC || errno == EDQUOT ? JobResult::DiskFull : JobResult::Failed;
    }
  }
  // The output takes its permission bits from here: what a redirection would
  // give. Nobody else can reach the file: it has no name, or lies in a private folder.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  if (::fchmod(fd_, 0666 & ~mask) != 0) return JobResult::Failed;
  path_ = named_.empty() ? "/proc/self/fd/" + std::to_string(fd_) : named_;
  return JobResult::Done;
}

StdoutFile::~StdoutFile() {
  if (!path_.empty()) ::unlink(path_.c_str());
  if (!folder_.empty()) ::rmdir(folder_.c_str());
}

bool StdoutFile::Create() {
  std::string pattern = WorkFolder() + "FRXstdout-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) return false;
  folder_ = pattern;
  path_ = folder_ + "/out";
  return true;
}

int StdoutFile::Send() {
  const int fd = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return errno;
  ::unlink(path_.c_str());  // the open descriptor keeps the data until it is sent
  path_.clear();
  std::vector<char> buffer(kBlock);
  int error = 0;
  for (;;) {
    const ssize_t n = ::read(fd, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      if (n < 0) error = errno;
      break;
    }
    if (!WriteAll(STDOUT_FILENO, buffer.data(), static_cast<std::size_t>(n))) {
      error = errno;
      break;
    }
  }
  ::close(fd);
  return error;
}

}  // namespace ferrox::cli
