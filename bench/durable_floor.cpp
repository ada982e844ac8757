// The floor under `ferrox convert DIR OUT` on a folder of small files: each
// file of DIR copied to OUT under its own name with only what makes a copy
// durable before it takes its name (write a new file, fsync, rename), one file
// after another or, with THREADS above 1, several at once. bench/small_files.sh
// times it next to Ferrox.
//   durable_floor THREADS DIR OUT

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

bool CopyDurably(const std::string& from, const std::string& folder, const std::string& name) {
  char buffer[1 << 16];
  const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) return false;
  const ssize_t n = ::read(in, buffer, sizeof buffer);
  ::close(in);
  const std::string work = folder + "/." + name + ".tmp";
  const int out = ::open(work.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (out < 0) return false;
  const bool ok = n >= 0 && ::write(out, buffer, static_cast<std::size_t>(n)) == n && ::fsync(out) == 0;
  ::close(out);
  return ok && ::rename(work.c_str(), (folder + "/" + name).c_str()) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: durable_floor THREADS DIR OUT\n");
    return 2;
  }
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(argv[2])) files.push_back(entry.path());
  const std::string out = argv[3];
  std::atomic<std::size_t> next{0};
  std::atomic<bool> failed{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < std::max(1, std::atoi(argv[1])); ++t) {
    threads.emplace_back([&] {
      for (std::size_t i; (i = next++) < files.size();) {
        if (!CopyDurably(files[i].string(), out, files[i].filename().string())) failed = true;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  if (failed) std::perror("durable_floor");
  return failed ? 1 : 0;
}
