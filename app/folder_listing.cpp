#include "app/folder_listing.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>

#include "app/work_files.h"
#include "text/ascii_text.h"
#include "text/glob_match.h"

namespace ferrox {

namespace {

// Length of the UTF-8 sequence that starts with `lead` (1 for a stray byte).
std::size_t SequenceLength(unsigned char lead) noexcept {
  if (lead >= 0xF0 && lead < 0xF8) return 4;
  if (lead >= 0xE0) return lead < 0xF0 ? 3 : 1;
  if (lead >= 0xC0) return 2;
  return 1;
}

}  // namespace

bool WildcardMatch(std::string_view pattern, std::string_view name) {
  if (pattern == "*.*") return true;
  return GlobMatch(
      pattern.size(), name.size(), [pattern](std::size_t p) { return pattern[p] == '*'; },
      [pattern, name](std::size_t p, std::size_t n) -> std::size_t {
        if (pattern[p] == '?') return std::min(name.size() - n, SequenceLength(static_cast<unsigned char>(name[n])));
        return ascii::Lower(pattern[p]) == ascii::Lower(name[n]) ? 1 : 0;
      });
}

FolderListing ListFolder(const std::string& folder, std::string_view pattern) {
  FolderListing listing;
  DIR* dir = ::opendir(folder.c_str());
  if (dir == nullptr) return listing;
  std::string base = folder;
  if (base.empty() || base.back() != '/') base += '/';
  while (const dirent* entry = ::readdir(dir)) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    if (ClassifyWorkName(name) != WorkName::kNone) continue;  // a run's work file is never an input
    if (!pattern.empty() && !WildcardMatch(pattern, name)) continue;
    // The listing's own type saves a stat per name where the file system gives it.
    const std::string path = base + name;
    struct stat own {};
    struct stat target {};
    mode_t type = DTTOIF(entry->d_type);
    if (entry->d_type == DT_UNKNOWN) {
      if (::lstat(path.c_str(), &own) != 0) continue;
      type = own.st_mode & S_IFMT;
    }
    if (S_ISDIR(type)) {
      listing.folders.push_back(name);
    } else if (S_ISREG(type) || (S_ISLNK(type) && ::stat(path.c_str(), &target) == 0 && S_ISREG(target.st_mode))) {
      listing.files.push_back(name);
    }
  }
  ::closedir(dir);
  std::sort(listing.files.begin(), listing.files.end());
  std::sort(listing.folders.begin(), listing.folders.end());
  return listing;
}

}  // namespace ferrox
