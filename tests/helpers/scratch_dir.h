#pragma once
// A fresh temporary folder per test, removed with everything in it afterwards.

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

namespace ferrox::testing {

class ScratchDir {
 public:
  ScratchDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ferrox-test-XXXXXX").string();
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
