#include "app/flush_pool.h"

#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace ferrox {

namespace {

// File systems whose syncfs writes every dirty page and inode, commits the
// journal and flushes the disk's cache before it returns: there one syncfs
// makes a whole group of new files durable, where each fsync would commit
// and flush on its own. Elsewhere (network and user-space file systems among
// them) every file gets its own fsync.
bool SyncfsCoversFiles(int fd) {
  constexpr std::int64_t kExt = 0xEF53;
  constexpr std::int64_t kXfs = 0x58465342;
  constexpr std::int64_t kBtrfs = 0x9123683E;
  constexpr std::int64_t kTmpfs = 0x01021994;
  struct statfs fs {};
  if (::fstatfs(fd, &fs) != 0) return false;
  const auto type = static_cast<std::int64_t>(fs.f_type);
  return type == kExt || type == kXfs || type == kBtrfs || type == kTmpfs;
}

int FsyncError(int fd) { return ::fsync(fd) == 0 ? 0 : errno; }

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
    Task task{fd, 0, false, false, {}};
    struct stat st {};
    if (::fstat(fd, &st) == 0 && SyncfsCoversFiles(fd)) {
      task.device = st.st_dev;
      task.grouped = true;
    }
    std::future<int> result = task.done.get_future();
    std::unique_lock lock(mutex_);
    // A thread more only while every one is busy; they stay for later flushes.
    if (idle_ == 0 && static_cast<int>(threads_.size()) < kFlushThreads) {
      try {
        threads_.emplace_back([this] { Work(); });
      } catch (const std::system_error&) {
        if (threads_.empty()) return {};
      }
    }
    queue_.push_back(std::move(task));
    lock.unlock();
    wake_.notify_one();
    return result;
  }

  // Starts the group of `fd` if it still waits for others.
  void Want(int fd) {
    {
      const std::lock_guard lock(mutex_);
      const auto it = std::find_if(queue_.begin(), queue_.end(), [fd](const Task& task) { return task.fd == fd; });
      if (it == queue_.end()) return;  // under way already
      it->wanted = true;
    }
    wake_.notify_all();
  }

 private:
  struct Task {
    int fd;
    dev_t device;
    bool grouped;  // made durable with the others of its device by one syncfs
    bool wanted;   // someone waits for it: its group starts however small
    std::promise<int> done;
  };

  // The next work under the lock: one file of its own, or every file waiting
  // on a device that no flush is under way for, once they are enough or one
  // is wanted. A file queued while a syncfs runs waits for the next: the
  // running one may have started before its data.
  bool Next(std::vector<Task>& batch) {
    const auto ready = [this](const Task& task) {
      if (!task.grouped) return true;
      if (syncing_.contains(task.device)) return false;
      const auto same = [&task](const Task& other) { return other.grouped && other.device == task.device; };
      const auto wanted = [&same](const Task& other) { return same(other) && other.wanted; };
      return stopping_ || std::count_if(queue_.begin(), queue_.end(), same) >= kFlushGroup ||
             std::any_of(queue_.begin(), queue_.end(), wanted);
    };
    const auto first = std::find_if(queue_.begin(), queue_.end(), ready);
    if (first == queue_.end()) return false;
    if (!first->grouped) {
      batch.push_back(std::move(*first));
      queue_.erase(first);
      return true;
    }
    const dev_t device = first->device;
    for (auto it = queue_.begin(); it != queue_.end();) {
      if (it->grouped && it->device == device) {
        batch.push_back(std::move(*it));
        it = queue_.erase(it);
      } else {
        ++it;
      }
    }
    syncing_.insert(device);
    return true;
  }

  // One syncfs for a group; should it fail, each file's own fsync tells
  // which of them the failure touched.
  static void Flush(std::vector<Task>& batch) {
    if (batch.size() > 1 && ::syncfs(batch.front().fd) == 0) {
      for (Task& task : batch) task.done.set_value(0);
      return;
    }
    for (Task& task : batch) task.done.set_value(FsyncError(task.fd));
  }

  void Work() {
    std::unique_lock lock(mutex_);
    std::vector<Task> batch;
    for (;;) {
      ++idle_;
      wake_.wait(lock, [this, &batch] { return Next(batch) || (stopping_ && queue_.empty()); });
      --idle_;
      if (batch.empty()) return;
      lock.unlock();
      const bool grouped = batch.front().grouped;
      const dev_t device = batch.front().device;
      Flush(batch);
      batch.clear();
      lock.lock();
      if (grouped) {
        syncing_.erase(device);
        wake_.notify_all();  // files that waited for this flush can go now
      }
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<Task> queue_;
  std::set<dev_t> syncing_;
  std::vector<std::thread> threads_;
  int idle_ = 0;
  bool stopping_ = false;
};

FlushPool& Pool() {
  static FlushPool pool;
  return pool;
}

}  // namespace

int FlushTicket::Get() {
  Pool().Want(fd_);
  return done_.get();
}

FlushTicket StartFlush(int fd) {
  FlushTicket ticket;
  ticket.fd_ = fd;
  ticket.done_ = Pool().Start(fd);
  return ticket;
}

}  // namespace ferrox
