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

bool SetFileAttr(const std::filesystem::path& path, std::uint16_t attr) {
  struct stat st {};
  if (stat(path.c_str(), &st) != 0) {
    return false;
  }
  mode_t mode = st.st_mode & 07777;
  if ((attr & file_attr::kReadOnly) != 0) {
    mode &= static_cast<mode_t>(~(S_IWUSR | S_IWGRP | S_IWOTH));
  } else {
    mode |= S_IWUSR;
  }
  return chmod(path.c_str(), mode) == 0;
}

bool CopyFilePermissions(const std::filesystem::path& from, const std::filesystem::path& to) {
  struct stat st {};
  if (stat(from.c_str(), &st) != 0) {
    return false;
  }
  return chmod(to.c_str(), st.st_mode & 07777) == 0;
}

}  // namespace ferrox
