#pragma once
// Deleting a file or folder into the desktop trash (freedesktop.org), so the
// user can still restore it.

#include <string>

namespace ferrox {

struct TrashResult {
  bool ok = false;
  std::string trashPath;  // where the file now lies in the trash (absolute)
};

// Moves `path` to the trash. Nothing is done for an empty path (not ok). A
// trailing "/" (other than the root) is dropped first. On failure the file
// stays where it was.
TrashResult TrashDelete(const std::string& path);

}  // namespace ferrox
