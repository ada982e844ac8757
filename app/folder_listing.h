#pragma once
// Listing a folder for the batch driver: every entry (hidden ones included)
// except "." and "..", sorted by name so that runs are repeatable, and split
// into files and folders. Symbolic links to files count as files; links to
// folders and special files (pipes, devices, sockets) are left out, so a walk
// can never loop or block on a pipe, and so are the work files of runs.

#include <string>
#include <string_view>
#include <vector>

namespace ferrox {

struct FolderListing {
  std::vector<std::string> files;    // names, not paths
  std::vector<std::string> folders;
};

// "*" matches any run of characters, "?" one character (a UTF-8 sequence);
// letters match without regard to ASCII case. "*.*" matches every name.
[[nodiscard]] bool WildcardMatch(std::string_view pattern, std::string_view name);

// The entries of `folder` whose names match `pattern` (empty = all).
[[nodiscard]] FolderListing ListFolder(const std::string& folder, std::string_view pattern = {});

}  // namespace ferrox
