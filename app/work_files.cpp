#include "app/work_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "platform/file_placing.h"
#include "platform/trash.h"

namespace ferrox {

namespace {

constexpr std::string_view kPrefix = "FRX";
constexpr std::size_t kTokenLength = 16;

bool AllDigits(std::string_view s) noexcept {
  if (s.empty()) return false;
  for (const char c : s) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

bool AllHex(std::string_view s) noexcept {
  for (const char c : s) {
    if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) return false;
  }
  return true;
}

// "FRX<pid>-<token>" at the start of `name` (after a leading dot); its length,
// or 0 when the name does not start so.
std::size_t RunPrefixLength(std::string_view name) noexcept {
  if (!name.starts_with(kPrefix)) return 0;
  const std::size_t dash = name.find('-');
  if (dash == std::string_view::npos || !AllDigits(name.substr(3, dash - 3))) return 0;
  const std::size_t end = dash + 1 + kTokenLength;
  if (name.size() < end || !AllHex(name.substr(dash + 1, kTokenLength))) return 0;
  return end;
}

std::string RandomToken() {
  unsigned char bytes[kTokenLength / 2] = {};
  std::size_t got = 0;
  while (got < sizeof bytes) {
    const ssize_t n = ::getrandom(bytes + got, sizeof bytes - got, 0);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    got += static_cast<std::size_t>(n);
  }
  std::string token;
  char hex[3];
  for (const unsigned char b : bytes) {
    std::snprintf(hex, sizeof hex, "%02x", b);
    token += hex;
  }
  return token;
}

std::string g_lockPath;  // this run's lock, removed when the program ends normally

extern "C" void RemoveOwnLock() {
  if (!g_lockPath.empty()) ::unlink(g_lockPath.c_str());
}

// Creates and locks this run's lock file. The lock is held until the process
// ends: the descriptor is never closed.
std::string MakeRunPrefix() {
  const std::string folder = WorkFolder();
  for (int attempt = 0; attempt < 8; ++attempt) {
    const std::string prefix = std::string(kPrefix) + std::to_string(::getpid()) + "-" + RandomToken();
    const std::string lock = folder + prefix + ".lock";
    const int fd = ::open(lock.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) {
      if (errno == EEXIST) continue;
      return prefix;  // no lock without a work folder; creating work files fails the same way
    }
    // A sweeping run may have taken the fresh file for a dead run's lock
    // before this flock: then the name is gone, and a new one is made.
    struct stat held {};
    struct stat named {};
    if (::flock(fd, LOCK_EX) == 0 && ::fstat(fd, &held) == 0 && ::lstat(lock.c_str(), &named) == 0 &&
        SameInode(held, named)) {
      g_lockPath = lock;
      std::atexit(RemoveOwnLock);
      return prefix;
    }
    ::close(fd);
  }
  return std::string(kPrefix) + std::to_string(::getpid()) + "-" + RandomToken();
}

// True when the run with `prefix` still lives. A lock that can be taken
// belongs to a dead run; it is removed while held.
bool RunAlive(const std::string& prefix) {
  if (prefix == RunPrefix()) return true;
  const std::string lock = WorkFolder() + prefix + ".lock";
  const int fd = ::open(lock.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) return errno != ENOENT && errno != ELOOP;
  const bool alive = ::flock(fd, LOCK_EX | LOCK_NB) != 0;
  ::close(fd);
  return alive;
}

void RemoveLockIfDead(const std::string& lock) {
  const int fd = ::open(lock.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) return;
  struct stat held {};
  struct stat named {};
  if (::flock(fd, LOCK_EX | LOCK_NB) == 0 && ::fstat(fd, &held) == 0 && ::lstat(lock.c_str(), &named) == 0 &&
      SameInode(held, named)) {
    ::unlink(lock.c_str());
  }
  ::close(fd);
}

// An old output a crash left on its way to the trash goes there now, under
// the name it had in `folder`.
void TrashHolding(const std::string& folder, const std::string& holding) {
  DIR* dir = ::opendir(holding.c_str());
  if (dir == nullptr) return;
  std::vector<std::string> names;
  while (const dirent* entry = ::readdir(dir)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  ::closedir(dir);
  for (const auto& name : names) (void)TrashDelete(holding + "/" + name, folder + name);
  ::rmdir(holding.c_str());  // stays when something could not go to the trash
}

}  // namespace

std::string WorkFolder() {
  std::string folder;
  for (const char* name : {"TMP", "TMPDIR"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') {
      folder = value;
      break;
    }
  }
  if (folder.empty()) folder = "/tmp";
  if (folder.back() != '/') folder += '/';
  return folder;
}

WorkName ClassifyWorkName(std::string_view name) noexcept {
  const bool hidden = name.starts_with('.');
  if (hidden) name.remove_prefix(1);
  const std::size_t prefix = RunPrefixLength(name);
  if (prefix == 0) return WorkName::kNone;
  std::string_view rest = name.substr(prefix);
  if (rest == ".lock") return hidden ? WorkName::kNone : WorkName::kLock;
  if (!rest.starts_with('-')) return WorkName::kNone;
  rest.remove_prefix(1);
  const std::size_t dot = rest.find('.');
  if (dot == std::string_view::npos || !AllDigits(rest.substr(0, dot))) return WorkName::kNone;
  const std::string_view suffix = rest.substr(dot);
  if (suffix == ".tmp") return hidden ? WorkName::kStaged : WorkName::kWorkFile;
  if (suffix == ".old" && hidden) return WorkName::kHolding;
  return WorkName::kNone;
}

const std::string& RunPrefix() {
  static const std::string prefix = MakeRunPrefix();
  return prefix;
}

std::string NextWorkStem() {
  static unsigned long count = 0;
  return RunPrefix() + "-" + std::to_string(++count);
}

void SweepDeadWorkFiles(const std::string& folder) {
  std::string base = folder.empty() ? std::string("./") : folder;
  if (base.back() != '/') base += '/';
  DIR* dir = ::opendir(base.c_str());
  if (dir == nullptr) return;
  std::vector<std::pair<std::string, WorkName>> found;
  while (const dirent* entry = ::readdir(dir)) {
    const WorkName kind = ClassifyWorkName(entry->d_name);
    if (kind != WorkName::kNone) found.emplace_back(entry->d_name, kind);
  }
  ::closedir(dir);

  const uid_t me = ::geteuid();
  std::vector<std::string> locks;
  for (const auto& [name, kind] : found) {
    const std::string path = base + name;
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0 || st.st_uid != me) continue;  // never another user's
    const std::string_view bare = name.front() == '.' ? std::string_view(name).substr(1) : std::string_view(name);
    const std::string prefix(bare.substr(0, RunPrefixLength(bare)));
    if (kind == WorkName::kLock) {
      locks.push_back(path);
      continue;
    }
    if (RunAlive(prefix)) continue;
    if (kind == WorkName::kHolding) {
      if (S_ISDIR(st.st_mode)) TrashHolding(base, path);
    } else if (S_ISREG(st.st_mode)) {
      ::unlink(path.c_str());
    }
  }
  // Locks last, once the files they guarded are gone.
  for (const auto& lock : locks) RemoveLockIfDead(lock);
}

namespace {
std::set<std::string>& SweptFolders() {
  static std::set<std::string> swept;
  return swept;
}
}  // namespace

void SweepDeadWorkFilesOnce(const std::string& folder) {
  if (SweptFolders().insert(folder).second) SweepDeadWorkFiles(folder);
}

void ForgetSweptFolders() { SweptFolders().clear(); }

}  // namespace ferrox
