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

// Moves `path` to the trash as if it had lain at `shownPath`: restoring it
// from the trash puts it there. For a file moved to a private name first.
TrashResult TrashDelete(const std::string& path, const std::string& shownPath);

// Drops a trashed file and its description: for a second name of a file that
// still lies at its own name.
void TrashForget(const TrashResult& trashed);

// Undoes a TrashDelete of `path`: moves the file back and drops its
// .trashinfo. True when the file is at `path` again.
bool TrashRestore(const TrashResult& trashed, const std::string& path);

}  // namespace ferrox
