#pragma once
// A fresh temporary folder per test, removed with everything in it afterwards.

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

namespace ferrox::testing {

// Whether every user may pass through each folder down to `folder`.
inline bool EveryoneMayEnter(std::filesystem::path folder) {
  for (folder = std::filesystem::absolute(folder);; folder = folder.parent_path()) {
    struct stat st {};
    if (::stat(folder.c_str(), &st) != 0 || (st.st_mode & S_IXOTH) == 0) return false;
    if (folder == folder.root_path()) return true;
  }
}

// Where tests that run programs as another user keep their folders: the
// temporary folder when others may enter it, else the first shared one.
inline std::filesystem::path SharedTempBase() {
  const std::filesystem::path temp = std::filesystem::temp_directory_path();
  if (EveryoneMayEnter(temp)) return temp;
  for (const char* shared : {"/tmp", "/var/tmp", "/dev/shm"}) {
    if (EveryoneMayEnter(shared) && ::access(shared, W_OK | X_OK) == 0) return shared;
  }
  return temp;
}

class ScratchDir {
 public:
  explicit ScratchDir(const std::filesystem::path& base = std::filesystem::temp_directory_path()) {
    std::string pattern = (base / "ferrox-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::filesystem::filesystem_error("mkdtemp", std::error_code());
    path_ = pattern;
  }
  ~ScratchDir() {
    std::error_code ec;  // folders a test made read-only must be writable again to be removed
    for (auto it = std::filesystem::recursive_directory_iterator(path_, ec);
         it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
      if (it->is_directory(ec) && !it->is_symlink(ec)) {
        std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ec);
      }
    }
    std::filesystem::remove_all(path_, ec);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
  // Writes `bytes` to `name` inside the folder (its folders must exist) and returns the full path.
  std::filesystem::path Write(const std::string& name, std::string_view bytes) const {
    const auto p = path_ / name;
    std::ofstream(p, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return p;
  }

 private:
  std::filesystem::path path_;
};

// The whole content of a file, or an empty string when it cannot be read.
inline std::string ReadAll(const std::filesystem::path& path) {
  std::ostringstream s;
  s << std::ifstream(path, std::ios::binary).rdbuf();
  return s.str();
}

}  // namespace ferrox::testing
