#pragma once
// Mac files in BinHex 4.0 or AppleSingle: what wraps a file, a sample of its
// data fork for the survey, and the unwrapping of its forks into files.

#include <array>
#include <cstdint>
#include <filesystem>
#include <istream>
#include <string>

#include "analysis/apple_single.h"
#include "suffix/suffix_entry.h"
#include "platform/file_times.h"

namespace ferrox {

enum class MacWrapper { None, BinHex, AppleSingle };

struct WrappedMacFile {
  MacWrapper Kind = MacWrapper::None;
  std::string FileName;   // UTF-8
  std::string FileType;   // blanks trimmed
  std::string Creator;
  std::int64_t DataLength = 0;
  std::int64_t ResourceLength = 0;
  bool HasDates = false;  // BinHex carries none
  DateTime Created;
  DateTime Modified;
  std::array<std::uint8_t, 32> FinderInfo{};
  AppleFileInfo Apple;    // AppleSingle: where the forks lie
};

// Reads only the header. None (and `error` empty) for a file in neither form;
// the kind and a message in `error` for one that is but whose header is
// damaged (a BinHex header CRC, an AppleSingle entry past the end).
[[nodiscard]] MacWrapper ProbeMacWrapper(const std::filesystem::path& path, WrappedMacFile& info,
                                         std::string& error);
// The same from `in`, the open file `path` of `length` bytes.
[[nodiscard]] MacWrapper ProbeMacWrapper(std::istream& in, std::int64_t length, const std::filesystem::path& path,
                                         WrappedMacFile& info, std::string& error);

// The first `limit` bytes of the data fork (all of it when shorter), for the survey.
[[nodiscard]] bool SampleDataFork(const std::filesystem::path& path, const WrappedMacFile& info,
                                  std::int64_t limit, std::string& sample);

// Writes the data fork to `dataPath` and, when `appleDoublePath` is not empty
// and there is a resource fork, the fork with the Finder info as an
// AppleDouble file there. Every CRC and length is checked before true comes
// back; on false `error` holds the message and the caller removes both files.
[[nodiscard]] bool UnwrapMacFile(const std::filesystem::path& path, const WrappedMacFile& info,
                                 const std::filesystem::path& dataPath,
                                 const std::filesystem::path& appleDoublePath, std::string& error);

// Appends the Macintosh information block of the survey report, as for
// MacBinary, naming the wrapper; BinHex carries no dates, so none are shown.
void AppendWrappedMacInfo(std::string& report, const WrappedMacFile& info, const SuffixEntry* match);

// A data file and the AppleDouble sidecar that lends it its Mac information.
struct SidecarOf {
  std::string name;          // the data file's name, UTF-8
  std::int64_t dataLength = 0;
  std::string sidecarName;   // as shown: "._name" or "__MACOSX/._name"
  AppleFileInfo side;
};

// The same block for a data file with a sidecar, naming the sidecar.
void AppendSidecarMacInfo(std::string& report, const SidecarOf& file, const SuffixEntry* match);

// Writes `length` bytes of `source` from `offset` (a resource fork) after an
// AppleDouble header with `finderInfo` into `out`.
[[nodiscard]] bool WriteAppleDoubleFrom(const std::filesystem::path& source, std::int64_t offset,
                                        std::int64_t length, const std::array<std::uint8_t, 32>& finderInfo,
                                        const std::filesystem::path& out);

}  // namespace ferrox
