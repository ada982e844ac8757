#include "app/entry_expand.h"

#include "app/conversion_settings.h"
#include "app/entry_list.h"
#include "app/folder_listing.h"
#include "app/path_helpers.h"

namespace ferrox {

namespace {

void AddFolderFiles(const std::string& folder, bool walk, std::vector<std::string>& files) {
  const std::string base = AddPathSeparator(folder);
  const FolderListing listing = ListFolder(folder);
  for (const auto& name : listing.files) files.push_back(base + name);
  if (!walk) return;
  for (const auto& name : listing.folders) AddFolderFiles(base + name, walk, files);
}

}  // namespace

std::vector<std::string> ExpandEntry(std::string_view boxText, std::uint16_t fileMode) {
  const std::string_view text = TrimBlanks(boxText);
  if (!text.empty() && text.front() == '"') return CommaToDim(text);
  const std::string entry = NormalizeEntry(text);
  const bool walk = (fileMode & file_mode::kFolderSelect) != 0;
  std::vector<std::string> files;
  if (HasWildcard(entry)) {
    const std::string folder = GetParentFolder(entry);
    if (folder.empty()) return files;
    const std::string base = AddPathSeparator(folder);
    const FolderListing listing = ListFolder(folder, entry.substr(entry.find_last_of('/') + 1));
    for (const auto& name : listing.files) files.push_back(base + name);
  } else if (IsFolder(entry)) {
    AddFolderFiles(entry, walk, files);
  } else if (!entry.empty()) {
    files.push_back(entry);
  }
  return files;
}

}  // namespace ferrox
