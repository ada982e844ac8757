#include "app/mac_batch_names.h"

#include <sys/stat.h>

#include "analysis/apple_single.h"
#include "analysis/mac_wrapper.h"
#include "analysis/macbinary.h"
#include "app/conversion_settings.h"
#include "app/engine_settings.h"
#include "suffix/file_name_rec.h"

namespace ferrox {

namespace {

constexpr const char* kMacOsxFolder = "__MACOSX";

bool IsFile(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

std::string Slash(std::string folder) {
  if (folder.empty() || folder.back() != '/') folder += '/';
  return folder;
}

}  // namespace

bool IsSidecarEntry(const std::string& folder, const std::string& name, bool isFolder) {
  if (isFolder) return name == kMacOsxFolder;
  return name.size() > 2 && name.starts_with("._") && IsFile(Slash(folder) + name.substr(2));
}

std::string FindSidecar(const std::string& inPath, const std::string& runRoot) {
  const auto slash = inPath.find_last_of('/');
  const std::string folder = inPath.substr(0, slash + 1);
  const std::string name = inPath.substr(slash + 1);
  if (IsFile(folder + "._" + name)) return folder + "._" + name;
  // unzip puts "dir/name"'s sidecar at "__MACOSX/dir/._name" in the folder it unzipped into.
  const std::string root = Slash(runRoot);
  if (!folder.starts_with(root)) return {};
  std::string rest = folder.substr(root.size());  // "" or "a/b/"
  std::string base = root;
  for (;;) {
    const std::string candidate = base + kMacOsxFolder + "/" + rest + "._" + name;
    if (IsFile(candidate)) return candidate;
    const auto next = rest.find('/');
    if (next == std::string::npos) return {};
    base += rest.substr(0, next + 1);
    rest = rest.substr(next + 1);
  }
}

std::string SidecarBeside(const std::string& path) {
  const auto slash = path.find_last_of('/');
  if (slash == std::string::npos || !IsFile(path)) return {};
  return FindSidecar(path, path.substr(0, slash + 1));
}

std::string MacOutputName(const SuffixTable& table, const ConversionSettings& settings,
                          const std::string& inPath, const std::string& sidecar) {
  const FileNameRules rules = NameRulesOf(settings);
  MacBinaryInfo mac;
  if (MBInfGet(inPath, mac) == 0) return FileNameRec(table, rules, mac.FileName, mac.FileType, mac.Creator);
  WrappedMacFile wrapped;
  std::string error;
  if (ProbeMacWrapper(inPath, wrapped, error) != MacWrapper::None && error.empty()) {
    return FileNameRec(table, rules, wrapped.FileName, wrapped.FileType, wrapped.Creator);
  }
  AppleFileInfo apple;
  if (!sidecar.empty() && ReadAppleFile(sidecar, apple) == AppleFileStatus::Ok && apple.HasFinderInfo) {
    return FileNameRec(table, rules, inPath.substr(inPath.find_last_of('/') + 1), apple.FileType,
                       apple.Creator);
  }
  return {};
}

std::string RunOutputNames::Claim(const std::string& path) {
  if (given_.insert(path).second) return path;
  const auto slash = path.find_last_of('/');
  const auto dot = path.find_last_of('.');
  const bool hasExtension = dot != std::string::npos && dot > slash + 1;
  const std::string stem = hasExtension ? path.substr(0, dot) : path;
  const std::string extension = hasExtension ? path.substr(dot) : std::string();
  for (int n = 2;; ++n) {
    std::string candidate = stem + " (" + std::to_string(n) + ")" + extension;
    if (given_.insert(candidate).second) return candidate;
  }
}

}  // namespace ferrox
