// The attribute word of a file and the permission changes that stand for it.

#include "platform/file_attributes.h"

// POSIX
#include <sys/stat.h>

namespace ferrox {

std::optional<std::uint16_t> GetFileAttr(const std::filesystem::path& path) {
  struct stat st {};
  if (stat(path.c_str(), &st) != 0) {
    return std::nullopt;
  }
  std::uint16_t attr = file_attr::kNormal;
  if ((st.st_mode & S_IWUSR) == 0) {
    attr |= file_attr::kReadOnly;
  }
  const std::string name = path.filename().string();
  if (!name.empty() && name.front() == '.' && name != "." && name != "..") {
    attr |= file_attr::kHidden;
  }
  if (S_ISDIR(st.st_mode)) {
    attr |= file_attr::kFolder;
  } else if (S_ISREG(st.st_mode)) {
    attr |= file_attr::kArchive;
  }
  return attr;
}

}  // namespace ferrox
