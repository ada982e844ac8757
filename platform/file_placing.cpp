#include "platform/file_placing.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "platform/trash.h"

namespace ferrox {

namespace {

bool SameTime(const timespec& a, const timespec& b) noexcept {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

std::string NameOf(const std::string& path) { return path.substr(path.find_last_of('/') + 1); }

// Folder of `path` with a trailing "/", "./" for a bare name.
std::string FolderOf(const std::string& path) {
  const auto slash = path.find_last_of('/');
  if (slash == std::string::npos) return "./";
  return path.substr(0, slash + 1);
}

// The old output goes to the trash while it still lies at its name: a second
// name for it in a private holding folder is trashed (restorable to the
// output's name), then one rename puts the new data in place. The output name
// is never empty.
bool TrashAndReplace(const std::string& staged, const std::string& outPath, const std::string& stem) {
  const std::string holding = FolderOf(outPath) + "." + stem + ".old";
  if (::mkdir(holding.c_str(), 0700) != 0) return false;
  const std::string held = holding + "/" + NameOf(outPath);
  TrashResult trashed;
  if (::link(outPath.c_str(), held.c_str()) == 0) {
    trashed = TrashDelete(held, outPath);
    if (!trashed.ok) {
      ::unlink(held.c_str());
      ::rmdir(holding.c_str());
      return false;
    }
    ::rmdir(holding.c_str());
    if (::rename(staged.c_str(), outPath.c_str()) == 0) return true;
    TrashForget(trashed);  // the old output still lies at its name
    return false;
  }
  // No second names on this file system: the old output is trashed first.
  ::rmdir(holding.c_str());
  trashed = TrashDelete(outPath);
  if (!trashed.ok) return false;
  if (RenameNew(staged, outPath)) return true;
  (void)TrashRestore(trashed, outPath);
  return false;
}

// Keeps the old output as `backup`, which must not exist, then puts the new
// data in place.
bool BackupAndReplace(const std::string& staged, const std::string& outPath, const std::string& backup) {
  // A second name for the old output, then one rename: the output name never
  // stands empty.
  if (::link(outPath.c_str(), backup.c_str()) == 0) {
    if (::rename(staged.c_str(), outPath.c_str()) == 0) return true;
    ::unlink(backup.c_str());
    return false;
  }
  if (!RenameNew(outPath, backup)) return false;
  if (RenameNew(staged, outPath)) return true;
  (void)RenameNew(backup, outPath);
  return false;
}

}  // namespace

bool SameFile(const std::string& a, const std::string& b) {
  struct stat sa {};
  struct stat sb {};
  return ::stat(a.c_str(), &sa) == 0 && ::stat(b.c_str(), &sb) == 0 && SameInode(sa, sb);
}

// Unchanged since `before` was taken: same file, length and times.
bool Unchanged(const std::string& path, const struct stat& before) {
  struct stat now {};
  return ::stat(path.c_str(), &now) == 0 && SameInode(now, before) && now.st_size == before.st_size &&
         SameTime(now.st_mtim, before.st_mtim) && SameTime(now.st_ctim, before.st_ctim);
}

bool WriteAll(int fd, const void* data, std::size_t size) {
  const auto* p = static_cast<const unsigned char*>(data);
  while (size > 0) {
    const ssize_t n = ::write(fd, p, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    p += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

// Copies all of `from` (from its start) into the new file `to`, which is
// created private; returns the open new file, or -1.
int CopyToNewFile(int from, const std::string& to) {
  const int out = ::open(to.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (out < 0) return -1;
  std::vector<char> buffer(1 << 16);
  off_t at = 0;
  for (;;) {
    const ssize_t n = ::pread(from, buffer.data(), buffer.size(), at);
    if (n < 0 && errno == EINTR) continue;
    if (n == 0) return out;
    if (n < 0 || !WriteAll(out, buffer.data(), static_cast<std::size_t>(n))) break;
    at += n;
  }
  ::close(out);
  return -1;
}

// Renames `from` to `to` when `to` does not exist, never over a file that
// appeared meanwhile (where the file system can tell).
bool RenameNew(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  return ::rename(from.c_str(), to.c_str()) == 0;
}

bool PlaceOutput(const std::string& staged, const std::string& outPath, const Disposal& disposal,
                 const struct stat& input, const std::function<std::string()>& freshStem) {
  struct stat old {};
  if (::lstat(outPath.c_str(), &old) != 0) return errno == ENOENT && RenameNew(staged, outPath);
  if (!S_ISREG(old.st_mode) && !S_ISLNK(old.st_mode)) return false;  // folders, pipes, devices stay
  // A symbolic link is replaced as a link: what it leads to is not touched.
  if (S_ISLNK(old.st_mode)) return ::rename(staged.c_str(), outPath.c_str()) == 0;

  if (disposal.kind == OldOutput::BackedUp) {
    const std::string& backup = disposal.backup;
    // An output that is itself named .bak cannot keep a backup of itself;
    // converted in place, the original goes to the trash instead.
    if (backup == outPath) return SameInode(old, input) && TrashAndReplace(staged, outPath, freshStem());
    struct stat bak {};
    if (::lstat(backup.c_str(), &bak) != 0) {
      return errno == ENOENT && BackupAndReplace(staged, outPath, backup);
    }
    if (SameInode(bak, input)) return TrashAndReplace(staged, outPath, freshStem());
    if (!S_ISREG(bak.st_mode) || bak.st_uid != ::geteuid()) return false;
    // The earlier generation is not destroyed: it goes to the trash.
    const TrashResult trashed = TrashDelete(backup);
    if (!trashed.ok) return false;
    if (BackupAndReplace(staged, outPath, backup)) return true;
    (void)TrashRestore(trashed, backup);
    return false;
  }
  if (disposal.kind == OldOutput::Trashed) return TrashAndReplace(staged, outPath, freshStem());
  return ::rename(staged.c_str(), outPath.c_str()) == 0;
}


}  // namespace ferrox
