#pragma once
// Mac files in folder and wildcard runs: AppleDouble sidecars ("._name"
// beside "name", or "__MACOSX/dir/._name" as unzip leaves them beside
// "dir/name"), the Mac name, type and creator a file carries, and output
// names that no two inputs of one run share.

#include <set>
#include <string>

#include "suffix/suffix_table.h"

namespace ferrox {

struct ConversionSettings;

// True for a "._name" file whose "name" lies beside it, and for the
// "__MACOSX" folder: neither is converted as an input of its own.
[[nodiscard]] bool IsSidecarEntry(const std::string& folder, const std::string& name, bool isFolder);

// The AppleDouble sidecar of `inPath`, looked for beside it and in a
// "__MACOSX" folder of any folder from `runRoot` down; "" when there is none.
[[nodiscard]] std::string FindSidecar(const std::string& inPath, const std::string& runRoot);

// The sidecar a run over the folder of the file `path` would find for it
// (beside it, or in that folder's "__MACOSX"), for its survey report; "" for
// anything but a file.
[[nodiscard]] std::string SidecarBeside(const std::string& path);

// The output name FileNameRec makes for a wrapped Mac file (MacBinary, BinHex,
// AppleSingle) or a file with a sidecar; "" for any other file.
[[nodiscard]] std::string MacOutputName(const SuffixTable& table, const ConversionSettings& settings,
                                        const std::string& inPath, const std::string& sidecar);

// Output paths handed out in one run: a path already given gets " (2)",
// " (3)", ... before its extension.
class RunOutputNames {
 public:
  [[nodiscard]] std::string Claim(const std::string& path);

 private:
  std::set<std::string> given_;
};

}  // namespace ferrox
