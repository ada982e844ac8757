#pragma once
// Putting a finished file in place: descriptors, the same-file test, copies
// into new private files, renames that never replace what appeared
// meanwhile, and the disposal of an old output (kept as a backup, sent to the
// trash or replaced) so that the output name is never empty.

#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <functional>
#include <string>

namespace ferrox {

// An open file descriptor, closed on destruction.
class Fd {
 public:
  explicit Fd(int fd = -1) noexcept : fd_(fd) {}
  ~Fd() { Reset(-1); }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  void Reset(int fd) noexcept {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
  }
  [[nodiscard]] int get() const noexcept { return fd_; }
  int Release() noexcept {
    const int fd = fd_;
    fd_ = -1;
    return fd;
  }

 private:
  int fd_;
};

// The same file: same device and inode.
[[nodiscard]] inline bool SameInode(const struct stat& a, const struct stat& b) noexcept {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}
// Both paths lead to one existing file (links followed).
[[nodiscard]] bool SameFile(const std::string& a, const std::string& b);

// Unchanged since `before` was taken: same file, length and times.
[[nodiscard]] bool Unchanged(const std::string& path, const struct stat& before);

// Writes all `size` bytes to `fd`, going on after interrupted or short writes.
// False with errno set on failure.
[[nodiscard]] bool WriteAll(int fd, const void* data, std::size_t size);

// Copies all of `from` (from its start) into the new file `to`, which is
// created private; returns the open new file, or -1.
[[nodiscard]] int CopyToNewFile(int from, const std::string& to);

// Renames `from` to `to` when `to` does not exist, never over a file that
// appeared meanwhile (where the file system can tell).
[[nodiscard]] bool RenameNew(const std::string& from, const std::string& to);

// What becomes of an old output.
enum class OldOutput { Replaced, Trashed, BackedUp };
struct Disposal {
  OldOutput kind = OldOutput::Replaced;
  std::string backup;  // BackedUp: where the old output goes
};

// Puts the finished new data (`staged`, beside the output) at `outPath`,
// disposing of an old output as `disposal` says. Nothing the job did not
// make is deleted: an old backup goes to the trash, and when the backup name
// is the input itself, the old output goes to the trash instead. `freshStem`
// names a private holding folder when one is needed.
[[nodiscard]] bool PlaceOutput(const std::string& staged, const std::string& outPath, const Disposal& disposal,
                               const struct stat& input, const std::function<std::string()>& freshStem);

}  // namespace ferrox
