#pragma once
// A fresh temporary folder per test, removed with everything in it afterwards,
// and small helpers to put bytes into files there.

#include <filesystem>
#include <string>
#include <string_view>

namespace ferrox::testing {

class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

  // Writes `bytes` to `name` inside the folder and returns the full path.
  std::filesystem::path Write(const std::string& name, std::string_view bytes) const;

 private:
  std::filesystem::path path_;
};

// The whole content of a file, or an empty string when it cannot be read.
[[nodiscard]] std::string ReadAll(const std::filesystem::path& path);

}  // namespace ferrox::testing
