#pragma once
// The input end of the conversion pass: a reader that hands out blocks of a
// byte range from a large buffer.

#include <cstddef>
#include <cstdint>
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

  // The `length` bytes at `offset`, followed by `zeros` zero bytes (at most 2).
  // Null with errno set on a read error.
  [[nodiscard]] const std::uint8_t* Block(std::int64_t offset, std::size_t length,
                                          std::size_t zeros);

 private:
  bool Fill(std::int64_t offset, std::size_t length);

  int fd_ = -1;
  std::int64_t limit_ = 0;
  std::size_t size_;                     // bytes in buf_, the last two for the zeros
  std::unique_ptr<std::uint8_t[]> buf_;  // left uninitialised: only what was read is used
  std::int64_t bufStart_ = 0;  // file offset of buf_[0]
  std::size_t bufFill_ = 0;    // valid bytes in buf_
};

}  // namespace ferrox
