// The file ends of the conversion pass: block reader and self-removing output.

#include "convert/block_io.h"

// system
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// std
#include <algorithm>
#include <cerrno>
#include <cstring>

namespace ferrox {

BlockReader::BlockReader(std::size_t chunk, std::size_t largestBlock)
    : buf_(chunk + largestBlock + 2) {}

BlockReader::~BlockReader() {
  if (fd_ >= 0) ::close(fd_);
}

bool BlockReader::Open(const std::string& path, std::int64_t limit) {
  fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  limit_ = limit;
  if (fd_ < 0) return false;
  struct stat st {};
  if (::fstat(fd_, &st) != 0) return false;
  if (S_ISDIR(st.st_mode)) {
    errno = EISDIR;
    return false;
  }
  return true;
}

// Makes buf_ hold [offset, offset + length): keeps what is still ahead, moves
// it to the front and reads up to a full buffer behind it.
bool BlockReader::Fill(std::int64_t offset, std::size_t length) {
  const std::int64_t bufEnd = bufStart_ + static_cast<std::int64_t>(bufFill_);
  std::size_t keep = 0;
  if (offset >= bufStart_ && offset < bufEnd) {
    keep = static_cast<std::size_t>(bufEnd - offset);
    std::memmove(buf_.data(), buf_.data() + (offset - bufStart_), keep);
  }
  bufStart_ = offset;
  bufFill_ = keep;
  const std::size_t room = buf_.size() - 2;
  while (bufFill_ < room) {
    const std::int64_t at = bufStart_ + static_cast<std::int64_t>(bufFill_);
    if (at >= limit_) break;
    const std::size_t want =
        static_cast<std::size_t>(std::min<std::int64_t>(static_cast<std::int64_t>(room - bufFill_),
                                                        limit_ - at));
    const ssize_t got = ::pread(fd_, buf_.data() + bufFill_, want, at);
    if (got < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (got == 0) break;  // end of file: the rest reads as zeros
    bufFill_ += static_cast<std::size_t>(got);
  }
  if (bufFill_ < length) {
    std::memset(buf_.data() + bufFill_, 0, length - bufFill_);
    bufFill_ = length;
  }
  return true;
}

const std::uint8_t* BlockReader::Block(std::int64_t offset, std::size_t length,
                                       std::size_t zeros) {
  const std::int64_t bufEnd = bufStart_ + static_cast<std::int64_t>(bufFill_);
  if (offset < bufStart_ || offset + static_cast<std::int64_t>(length) > bufEnd) {
    if (!Fill(offset, length)) return nullptr;
  }
  std::uint8_t* p = buf_.data() + (offset - bufStart_);
  for (std::size_t z = 0; z < zeros; ++z) p[length + z] = 0;
  return p;
}

OutputFile::OutputFile(std::size_t flushAt, std::size_t largestBlock)
    : flushAt_(flushAt), buf_(flushAt + largestBlock) {}

OutputFile::~OutputFile() { Discard(); }

bool OutputFile::Create(const std::string& path, bool sparse) {
  path_ = path;
  sparse_ = sparse;
  fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  created_ = fd_ >= 0;
  return created_;
}

std::uint8_t* OutputFile::Space(std::size_t size) {
  if (used_ + size > buf_.size() && !Flush()) return nullptr;
  return buf_.data() + used_;
}

bool OutputFile::Append(const std::uint8_t* data, std::size_t size) {
  std::uint8_t* p = Space(size);
  if (p == nullptr) return false;
  std::memcpy(p, data, size);
  used_ += size;
  if (used_ >= flushAt_) return Flush();
  return true;
}

bool OutputFile::WriteAll(const std::uint8_t* data, std::size_t size) {
  while (size > 0) {
    const ssize_t n = ::write(fd_, data, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += n;
    size -= static_cast<std::size_t>(n);
    size_ += n;
  }
  holeAtEnd_ = false;
  return true;
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
  const std::uint8_t* p = buf_.data();
  std::size_t n = used_;
  used_ = 0;
  if (!sparse_) return WriteAll(p, n);
  // Whole zero pieces are skipped, leaving holes; Finish sets the length.
  while (n > 0) {
    const std::size_t piece = std::min(n, kHolePiece);
    if (piece == kHolePiece && AllZero(p, piece)) {
      if (::lseek(fd_, static_cast<off_t>(piece), SEEK_CUR) < 0) return false;
      size_ += static_cast<std::int64_t>(piece);
      holeAtEnd_ = true;
    } else if (!WriteAll(p, piece)) {
      return false;
    }
    p += piece;
    n -= piece;
  }
  return true;
}

bool OutputFile::Finish() {
  if (!Flush()) return false;
  if (holeAtEnd_ && ::ftruncate(fd_, static_cast<off_t>(size_)) != 0) return false;
  const int fd = fd_;
  fd_ = -1;
  if (::close(fd) != 0) return false;  // a late write error (full disk) shows here
  created_ = false;                    // the file is the caller's now
  return true;
}

void OutputFile::Discard() noexcept {
  const int saved = errno;
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
