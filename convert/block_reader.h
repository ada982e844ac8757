#pragma once
// The input end of the conversion pass: a reader that hands out blocks of a
// byte range from a large buffer.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace ferrox {

// Reads [0, limit) of a file sequentially in large chunks. Blocks are asked for
// at offsets that never go back past the previous block's start; bytes past the
// end of the file read as zero.
class BlockReader {
 public:
  BlockReader(std::size_t chunk, std::size_t largestBlock);
  ~BlockReader();
  BlockReader(const BlockReader&) = delete;
  BlockReader& operator=(const BlockReader&) = delete;

  // Opens `path`; false with errno set on failure.
  [[nodiscard]] bool Open(const std::string& path, std::int64_t limit);

  // After Open: the file is the head of a stream that `follow` continues (a
  // pipe, read once and in order). The limit is then where the stream ends,
  // known once it has ended. When a read would wait, `whileWaiting` runs
  // first and every 100 ms (the pass sends what it has and looks for a
  // cancel); its false, or a signal, fails the read with EINTR.
  void Follow(int follow, std::function<bool()> whileWaiting);

  // Makes [offset, offset + length) readable, or as much of it as the input
  // has; false with errno set. For the pass that must know the end of a stream.
  [[nodiscard]] bool Ahead(std::int64_t offset, std::size_t length) {
    return Ready(offset, length) || Fill(offset, length);
  }
  [[nodiscard]] std::int64_t Limit() const noexcept { return limit_; }

  // The `length` bytes at `offset`, followed by `zeros` zero bytes (at most 2).
  // Null with errno set on a read error.
  [[nodiscard]] const std::uint8_t* Block(std::int64_t offset, std::size_t length,
                                          std::size_t zeros);

 private:
  bool Fill(std::int64_t offset, std::size_t length);
  [[nodiscard]] bool Ready(std::int64_t offset, std::size_t length) const noexcept {
    return offset >= bufStart_ &&
           offset + static_cast<std::int64_t>(length) <= bufStart_ + static_cast<std::int64_t>(bufFill_);
  }
  ssize_t ReadAt(std::uint8_t* into, std::size_t want, std::int64_t at);

  int fd_ = -1;
  int follow_ = -1;             // the stream after the file, or -1
  std::int64_t headLength_ = 0;  // bytes of the file before the stream
  std::function<bool()> whileWaiting_;
  std::int64_t limit_ = 0;
  std::size_t size_;                     // bytes in buf_, the last two for the zeros
  std::unique_ptr<std::uint8_t[]> buf_;  // left uninitialised: only what was read is used
  std::int64_t bufStart_ = 0;  // file offset of buf_[0]
  std::size_t bufFill_ = 0;    // valid bytes in buf_
};

}  // namespace ferrox
