// Block reader of the conversion pass.

#include "convert/block_reader.h"

// system
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

// std
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>

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

void BlockReader::Follow(int follow, std::function<bool()> whileWaiting) {
  struct stat st {};
  if (fd_ < 0 || ::fstat(fd_, &st) != 0) return;  // Open failed and said so
  follow_ = follow;
  headLength_ = st.st_size;
  limit_ = std::numeric_limits<std::int64_t>::max();
  whileWaiting_ = std::move(whileWaiting);
}

// One read at `at`: from the file, or past its end from the stream, which
// the buffer always asks for in order.
ssize_t BlockReader::ReadAt(std::uint8_t* into, std::size_t want, std::int64_t at) {
  if (follow_ < 0 || at < headLength_) {
    if (follow_ >= 0) want = std::min(want, static_cast<std::size_t>(headLength_ - at));
    ssize_t got;
    do got = ::pread(fd_, into, want, at); while (got < 0 && errno == EINTR);
    return got;
  }
  // Waits in steps: a cancel that came just before the wait is seen too.
  pollfd ready{follow_, POLLIN, 0};
  int polled = 0;
  for (int step = 0; (polled = ::poll(&ready, 1, step)) == 0; step = 100) {
    if (whileWaiting_ && !whileWaiting_()) {
      errno = EINTR;
      return -1;
    }
  }
  if (polled < 0) return -1;
  const ssize_t got = ::read(follow_, into, want);
  if (got == 0) limit_ = at;  // the stream has ended here
  return got;
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
  // A stream is read only as far as the block needs: what it has not sent
  // yet may be long in coming.
  const std::size_t enough = follow_ >= 0 ? length : room;
  while (bufFill_ < enough) {
    const std::int64_t at = bufStart_ + static_cast<std::int64_t>(bufFill_);
    if (at >= limit_) break;
    const std::size_t want =
        static_cast<std::size_t>(std::min<std::int64_t>(static_cast<std::int64_t>(room - bufFill_),
                                                        limit_ - at));
    const ssize_t got = ReadAt(buf_.get() + bufFill_, want, at);
    if (got < 0) return false;
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
