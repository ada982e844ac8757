// A fresh temporary folder per test.

#include "helpers/scratch_dir.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace ferrox::testing {

ScratchDir::ScratchDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "ferrox-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("cannot create a temporary folder");
  }
  path_ = pattern;
}

ScratchDir::~ScratchDir() {
  std::error_code ec;
  // A test may have left read-only files or folders behind.
  for (const auto& e : std::filesystem::recursive_directory_iterator(path_, ec)) {
    std::filesystem::permissions(e.path(), std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ec);
  }
  std::filesystem::remove_all(path_, ec);
}

std::filesystem::path ScratchDir::Write(const std::string& name, std::string_view bytes) const {
  const auto p = path_ / name;
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return p;
}

std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

}  // namespace ferrox::testing
