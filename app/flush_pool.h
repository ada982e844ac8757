#pragma once
// A few threads kept for the whole run that flush files to disk, so that a
// batch's flushes overlap without a thread started for each file. Files on a
// local file system are flushed in groups: one syncfs makes a group durable
// where each fsync would commit the journal and flush the disk on its own.

#include <future>

namespace ferrox {

// The most flushes that run at once; more wait for a free thread.
inline constexpr int kFlushThreads = 16;
// A group starts once this many files wait on one file system, or sooner
// when one of them is waited for.
inline constexpr int kFlushGroup = 32;

// A flush started, or waiting to start with others.
class FlushTicket {
 public:
  FlushTicket() = default;
  [[nodiscard]] bool Valid() const noexcept { return done_.valid(); }
  // Waits for the flush, starting it now if it still waits for others: 0 or the errno.
  int Get();

 private:
  friend FlushTicket StartFlush(int fd);
  std::future<int> done_;
  int fd_ = -1;
};

// Makes the file of `fd` durable on a pool thread, as fsync(fd) does. The
// descriptor must stay open until the ticket's Get has returned. An invalid
// ticket when no thread can be had: the caller flushes on its own.
[[nodiscard]] FlushTicket StartFlush(int fd);

}  // namespace ferrox
