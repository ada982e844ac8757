#pragma once
// The mount point of the file system that holds a path: where its free space
// is to be found when a write runs out of it.

#include <string>

namespace ferrox {

// The mount point of the file system holding `path` (a folder or file that
// exists), ending in "/"; "/" when it cannot be told.
[[nodiscard]] std::string MountPointOf(const std::string& path);

}  // namespace ferrox
