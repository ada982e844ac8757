#pragma once
// The output end of the conversion pass: a new file that removes itself unless
// the pass finishes it.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/file_placing.h"  // WriteAll

namespace ferrox {

// A new output file, written through a large buffer. Whatever happens, the file
// is removed again unless Finish succeeds.
class OutputFile {
 public:
  OutputFile(std::size_t flushAt, std::size_t largestBlock);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Creates `path`, which must not exist, readable and writable by its owner
  // only; false with errno set on failure.
  // With `sparse`, stretches of zero bytes become holes.
  [[nodiscard]] bool Create(const std::string& path, bool sparse);
  // Writes into `fd` instead (a pipe, a terminal), which stays open and is
  // never removed. A signal stops a write that waits on it (errno EINTR).
  void Attach(int fd) noexcept { fd_ = fd; attached_ = true; }
  // The errno of the write that failed, or 0: tells the output's failure from the input's.
  [[nodiscard]] int WriteError() const noexcept { return writeError_; }

  // Room for `size` bytes (at most largestBlock) at the end of the output; null
  // with errno set when making room failed. Commit says how many were used.
  [[nodiscard]] std::uint8_t* Space(std::size_t size);
  void Commit(std::size_t used) noexcept { used_ += used; }

  [[nodiscard]] bool Append(const std::uint8_t* data, std::size_t size);

  // Writes what is buffered. False with errno set.
  [[nodiscard]] bool Flush();
  // Writes the rest and closes; the file stays. False with errno set. With
  // `keep`, the descriptor (open for reading and writing) is handed there
  // instead of closed: a late write error then shows at the owner's fsync.
  [[nodiscard]] bool Finish(int* keep = nullptr);
  // Closes and removes the file.
  void Discard() noexcept;

 private:
  bool Write(const std::uint8_t* data, std::size_t size);
  void StartWriteBack(std::int64_t at, std::size_t size) noexcept;

  std::string path_;
  int fd_ = -1;
  bool created_ = false;
  bool attached_ = false;
  int writeError_ = 0;
  bool sparse_ = false;
  bool holeAtEnd_ = false;
  std::int64_t size_ = 0;      // bytes (and holes) written so far
  std::int64_t waitedTo_ = 0;  // bytes known to be on the disk
  std::size_t flushAt_;
  std::size_t capacity_;                 // bytes in buf_
  std::unique_ptr<std::uint8_t[]> buf_;  // left uninitialised: only what was put in is written
  std::size_t used_ = 0;
};

}  // namespace ferrox
