// Block reader of the conversion pass.

#include "convert/block_reader.h"

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
    : size_(chunk + largestBlock + 2), buf_(new std::uint8_t[size_]) {}

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
  // A file longer than the buffer is read from start to end once: the kernel
  // may read further ahead. Only a hint.
  if (limit > static_cast<std::int64_t>(size_)) (void)::posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL);
  return true;
}

// Makes buf_ hold [offset, offset + length): keeps what is still ahead, moves
// it to the front and reads up to a full buffer behind it.
bool BlockReader::Fill(std::int64_t offset, std::size_t length) {
  const std::int64_t bufEnd = bufStart_ + static_cast<std::int64_t>(bufFill_);
  std::size_t keep = 0;
  if (offset >= bufStart_ && offset < bufEnd) {
    keep = static_cast<std::size_t>(bufEnd - offset);
    std::memmove(buf_.get(), buf_.get() + (offset - bufStart_), keep);
  }
  bufStart_ = offset;
  bufFill_ = keep;
  const std::size_t room = size_ - 2;
  while (bufFill_ < room) {
    const std::int64_t at = bufStart_ + static_cast<std::int64_t>(bufFill_);
    if (at >= limit_) break;
    const std::size_t want =
        static_cast<std::size_t>(std::min<std::int64_t>(static_cast<std::int64_t>(room - bufFill_),
                                                        limit_ - at));
    const ssize_t got = ::pread(fd_, buf_.get() + bufFill_, want, at);
    if (got < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (got == 0) break;  // end of file: the rest reads as zeros
    bufFill_ += static_cast<std::size_t>(got);
  }
  if (bufFill_ < length) {
    std::memset(buf_.get() + bufFill_, 0, length - bufFill_);
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
  std::uint8_t* p = buf_.get() + (offset - bufStart_);
  for (std::size_t z = 0; z < zeros; ++z) p[length + z] = 0;
  return p;
}

}  // namespace ferrox
