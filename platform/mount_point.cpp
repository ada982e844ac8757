#include "platform/mount_point.h"

#include <sys/stat.h>

#include <cstdlib>
#include <memory>

namespace ferrox {

// Walks up from the real path until the parent lies on another device.
std::string MountPointOf(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
  if (!real) return "/";
  std::string folder = real.get();
  struct stat st {};
  if (::stat(folder.c_str(), &st) != 0) return "/";
  if (!S_ISDIR(st.st_mode)) folder.resize(folder.find_last_of('/') + 1);
  while (folder.size() > 1) {
    if (folder.back() == '/') folder.pop_back();
    const std::string parent = folder.substr(0, folder.find_last_of('/') + 1);
    struct stat here {};
    struct stat above {};
    if (::stat(folder.c_str(), &here) != 0 || ::stat(parent.c_str(), &above) != 0) return "/";
    if (here.st_dev != above.st_dev) return folder + "/";
    folder = parent;
  }
  return "/";
}

}  // namespace ferrox
