#pragma once
// The file ends of the conversion pass: a reader that hands out blocks of a byte
// range from a large buffer, and an output file that removes itself unless the
// pass finishes it.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

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
  std::vector<std::uint8_t> buf_;
  std::int64_t bufStart_ = 0;  // file offset of buf_[0]
  std::size_t bufFill_ = 0;    // valid bytes in buf_
};

// A new output file, written through a large buffer. Whatever happens, the file
// is removed again unless Finish succeeds.
class OutputFile {
 public:
  OutputFile(std::size_t flushAt, std::size_t largestBlock);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Creates `path`, which must not exist; false with errno set on failure.
  // With `sparse`, stretches of zero bytes become holes.
  [[nodiscard]] bool Create(const std::string& path, bool sparse);

  // Room for `size` bytes (at most largestBlock) at the end of the output; null
  // with errno set when making room failed. Commit says how many were used.
  [[nodiscard]] std::uint8_t* Space(std::size_t size);
  void Commit(std::size_t used) noexcept { used_ += used; }

  [[nodiscard]] bool Append(const std::uint8_t* data, std::size_t size);

  // Writes the rest and closes; the file stays. False with errno set.
  [[nodiscard]] bool Finish();
  // Closes and removes the file.
  void Discard() noexcept;

 private:
  bool Flush();
  bool WriteAll(const std::uint8_t* data, std::size_t size);

  std::string path_;
  int fd_ = -1;
  bool created_ = false;
  bool sparse_ = false;
  bool holeAtEnd_ = false;
  std::int64_t size_ = 0;  // bytes (and holes) written so far
  std::size_t flushAt_;
  std::vector<std::uint8_t> buf_;
  std::size_t used_ = 0;
};

}  // namespace ferrox
