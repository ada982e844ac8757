#include "app/flush_pool.h"

#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace ferrox {

namespace {

class FlushPool {
 public:
  FlushPool() = default;
  FlushPool(const FlushPool&) = delete;
  FlushPool& operator=(const FlushPool&) = delete;
  ~FlushPool() {
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    wake_.notify_all();
    for (auto& thread : threads_) thread.join();
  }

  std::future<int> Start(int fd) {
    std::promise<int> done;
    std::future<int> result = done.get_future();
    std::unique_lock lock(mutex_);
    // A thread more only while every one is busy; they stay for later flushes.
    if (idle_ <= static_cast<int>(queue_.size()) && static_cast<int>(threads_.size()) < kFlushThreads) {
      try {
        threads_.emplace_back([this] { Work(); });
      } catch (const std::system_error&) {
        if (threads_.empty()) return {};
      }
    }
    queue_.push_back({fd, std::move(done)});
    lock.unlock();
    wake_.notify_one();
    return result;
  }

 private:
  struct Task {
    int fd;
    std::promise<int> done;
  };

  void Work() {
    std::unique_lock lock(mutex_);
    for (;;) {
      ++idle_;
      wake_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
      --idle_;
      if (queue_.empty()) return;
      Task task = std::move(queue_.front());
      queue_.pop_front();
      lock.unlock();
      task.done.set_value(::fsync(task.fd) == 0 ? 0 : errno);
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<Task> queue_;
  std::vector<std::thread> threads_;
  int idle_ = 0;
  bool stopping_ = false;
};

}  // namespace

std::future<int> StartFlush(int fd) {
  static FlushPool pool;
  return pool.Start(fd);
}

}  // namespace ferrox
