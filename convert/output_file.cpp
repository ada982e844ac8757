// Self-removing output file of the conversion pass.

#include "convert/output_file.h"

// system
#include <fcntl.h>  // sync_file_range (a GNU extension, on by default in g++)
#include <unistd.h>

// std
#include <algorithm>
#include <cerrno>
#include <cstring>

namespace ferrox {

OutputFile::OutputFile(std::size_t flushAt, std::size_t largestBlock)
    : flushAt_(flushAt), capacity_(flushAt + largestBlock), buf_(new std::uint8_t[capacity_]) {}

OutputFile::~OutputFile() { Discard(); }

bool OutputFile::Create(const std::string& path, bool sparse) {
  path_ = path;
  sparse_ = sparse;
  // Private until its owner gives it the input's permissions, whatever the umask.
  fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  created_ = fd_ >= 0;
  return created_;
}

std::uint8_t* OutputFile::Space(std::size_t size) {
  if (used_ + size > capacity_ && !Flush()) return nullptr;
  return buf_.get() + used_;
}

bool OutputFile::Append(const std::uint8_t* data, std::size_t size) {
  std::uint8_t* p = Space(size);
  if (p == nullptr) return false;
  std::memcpy(p, data, size);
  used_ += size;
  if (used_ >= flushAt_) return Flush();
  return true;
}

bool OutputFile::Write(const std::uint8_t* data, std::size_t size) {
  if (attached_) {
    for (ssize_t n = 0; size > 0; data += n, size -= static_cast<std::size_t>(n)) {
      n = ::write(fd_, data, size);
      if (n < 0) {
        writeError_ = errno;
        return false;
      }
    }
    return true;
  }
  if (!WriteAll(fd_, data, size)) {
    writeError_ = errno;
    return false;
  }
  const std::int64_t at = size_;
  size_ += static_cast<std::int64_t>(size);
  holeAtEnd_ = false;
  StartWriteBack(at, size);
  return true;
}

// The disk writes what was just written while the pass goes on, and the pass
// waits for what lies well behind it: the flush that makes the finished file
// durable then has only the last stretch left, and dirty pages never pile up.
// A small file is left whole to that flush, which in a batch writes it
// together with others. Only a hint: a file system that does not take it
// loses nothing.
void OutputFile::StartWriteBack(std::int64_t at, std::size_t size) noexcept {
  constexpr std::int64_t kBehind = 8 << 20;
  constexpr std::int64_t kSmall = 1 << 20;
  if (size_ <= kSmall) return;
  ::sync_file_range(fd_, at, static_cast<off_t>(size), SYNC_FILE_RANGE_WRITE);
  if (size_ - kBehind > waitedTo_) {
    const std::int64_t to = size_ - kBehind;
    ::sync_file_range(fd_, waitedTo_, to - waitedTo_,
                      SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE |
                          SYNC_FILE_RANGE_WAIT_AFTER);
    waitedTo_ = to;
  }
}

namespace {

constexpr std::size_t kHolePiece = 64 * 1024;

bool AllZero(const std::uint8_t* p, std::size_t n) noexcept {
  std::uint64_t acc = 0;
  std::size_t k = 0;
  for (; k + 8 <= n; k += 8) {
    std::uint64_t w;
    std::memcpy(&w, p + k, 8);
    acc |= w;
    if (acc != 0) return false;
  }
  for (; k < n; ++k) acc |= p[k];
  return acc == 0;
}

}  // namespace

bool OutputFile::Flush() {
  const std::uint8_t* p = buf_.get();
  std::size_t n = used_;
  used_ = 0;
  if (!sparse_) return Write(p, n);
  // Whole zero pieces are skipped, leaving holes; Finish sets the length.
  while (n > 0) {
    const std::size_t piece = std::min(n, kHolePiece);
    if (piece == kHolePiece && AllZero(p, piece)) {
      if (::lseek(fd_, static_cast<off_t>(piece), SEEK_CUR) < 0) return false;
      size_ += static_cast<std::int64_t>(piece);
      holeAtEnd_ = true;
    } else if (!Write(p, piece)) {
      return false;
    }
    p += piece;
    n -= piece;
  }
  return true;
}

bool OutputFile::Finish(int* keep) {
  if (!Flush()) return false;
  if (attached_) return true;
  if (holeAtEnd_ && ::ftruncate(fd_, static_cast<off_t>(size_)) != 0) return false;
  const int fd = fd_;
  fd_ = -1;
  if (keep != nullptr) {
    *keep = fd;
  } else if (::close(fd) != 0) {
    return false;  // a late write error (full disk) shows here
  }
  created_ = false;                    // the file is the caller's now
  return true;
}

void OutputFile::Discard() noexcept {
  const int saved = errno;
  if (attached_) fd_ = -1;
  if (fd_ >= 0) {
    ::close(fd_);
    fd_ = -1;
  }
  if (created_) {
    ::unlink(path_.c_str());
    created_ = false;
  }
  errno = saved;
}

}  // namespace ferrox
