#include "cli/std_streams.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <vector>

#include "analysis/apple_single.h"
#include "analysis/binhex.h"
#include "analysis/macbinary.h"
#include "app/ferrox_job.h"
#include "cli/cli_window.h"
#include "convert/output_file.h"
#include "convert/result_code.h"

namespace ferrox::cli {

namespace {

constexpr std::size_t kBlock = 1 << 16;
constexpr std::int64_t kMostHead = 16 << 20;

JobResult SpoolFailure() { return errno == ENOSPC || errno == EDQUOT ? JobResult::DiskFull : JobResult::Failed; }

// Reads standard input into `into` until it holds `limit` bytes or the input
// ends; false on a read error or a cancel (errno EINTR).
bool ReadHead(std::string& into, std::size_t limit, bool& ended) {
  into.resize(limit);
  std::size_t have = 0;
  ended = false;
  while (have < limit) {
    if (CliWindow::Interrupted()) {
      errno = EINTR;
      return false;
    }
    const ssize_t n = ::read(STDIN_FILENO, into.data() + have, limit - have);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0) {
      ended = true;
      break;
    }
    have += static_cast<std::size_t>(n);
  }
  into.resize(have);
  return true;
}

// Whether the data after `head` can be read as it comes: the head shows no
// MacBinary header (whose lengths need the whole input to be checked), no
// AppleSingle header, and no line that starts with ':' where a BinHex file
// would show one.
bool MayFollow(const std::string& head) {
  if (head.size() >= kMacBinaryHeaderSize) {
    std::array<std::uint8_t, kMacBinaryHeaderSize> header{};
    std::copy_n(head.begin(), header.size(), header.begin());
    if (ParseMacBinaryHeader(header, std::numeric_limits<std::int64_t>::max())) return false;
  }
  if (HasAppleFileMagic(head)) return false;
  const std::size_t preamble = std::min<std::size_t>(head.size(), BinHexDecoder::kBinHexPreamble);
  for (std::size_t at = head.find(':'); at < preamble; at = head.find(':', at + 1)) {
    if (at == 0 || head[at - 1] == '\n' || head[at - 1] == '\r') return false;
  }
  return true;
}

// The output takes its permission bits from the input file: what a
// redirection would give.
bool GiveUmaskMode(int fd) {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return ::fchmod(fd, 0666 & ~mask) == 0;
}

}  // namespace

StdinFile::~StdinFile() {
  if (fd_ >= 0) ::close(fd_);
  if (!named_.empty()) ::unlink(named_.c_str());
  if (!folder_.empty()) ::rmdir(folder_.c_str());
}

JobResult StdinFile::Spool(std::int32_t chkSize, bool mayFollow) {
  std::string head;
  if (mayFollow && chkSize >= 1 && chkSize <= kMostHead) {
    bool ended = false;
    const auto limit = static_cast<std::size_t>(std::max<std::int64_t>(chkSize, BinHexDecoder::kBinHexPreamble));
    if (!ReadHead(head, limit, ended)) return errno == EINTR ? JobResult::Cancelled : JobResult::Failed;
    if (ended || MayFollow(head)) {
      // In memory: no more than the head, and nothing in the work folder.
      fd_ = ::memfd_create("ferrox-stdin", MFD_CLOEXEC);
      if (fd_ < 0 || !WriteAll(fd_, head.data(), head.size()) || !GiveUmaskMode(fd_)) return JobResult::Failed;
      followed_ = !ended;
      path_ = "/proc/self/fd/" + std::to_string(fd_);
      return JobResult::Done;
    }
  }
  return SpoolRest(head);
}

// Copies `head` and the rest of standard input into a work file.
JobResult StdinFile::SpoolRest(const std::string& head) {
  const std::string folder = WorkFolder();
  fd_ = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (fd_ < 0) {
    std::string pattern = folder + "FRXstdin-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) return SpoolFailure();
    folder_ = pattern;
    named_ = folder_ + "/in";
    fd_ = ::open(named_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd_ < 0) return SpoolFailure();
  }
  if (!WriteAll(fd_, head.data(), head.size())) return SpoolFailure();
  std::vector<char> buffer(kBlock);
  for (;;) {
    if (CliWindow::Interrupted()) return JobResult::Cancelled;
    const ssize_t n = ::read(STDIN_FILENO, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return JobResult::Failed;
    if (n == 0) break;
    if (!WriteAll(fd_, buffer.data(), static_cast<std::size_t>(n))) return SpoolFailure();
  }
  // Nobody else can reach the file: it has no name, or lies in a private folder.
  if (!GiveUmaskMode(fd_)) return JobResult::Failed;
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
  if (fd < 0) return errno == ENOENT ? 0 : errno;
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
