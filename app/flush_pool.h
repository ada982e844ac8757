#pragma once
// A few threads kept for the whole run that flush files to disk, so that a
// batch's flushes overlap without a thread started for each file.

#include <future>

namespace ferrox {

// The most flushes that run at once; more wait for a free thread.
inline constexpr int kFlushThreads = 16;

// Starts fsync(fd) on a pool thread; the future gives 0 or the errno. The
// descriptor must stay open until the future is ready. An invalid future
// when no thread can be had: the caller flushes on its own.
[[nodiscard]] std::future<int> StartFlush(int fd);

}  // namespace ferrox
