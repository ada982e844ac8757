#pragma once
// AppleSingle and AppleDouble (version 2): read the entry table of a file,
// bounds-checked against the file's length. The forks stay where they are;
// callers copy them by offset and length.

#include <array>
#include <cstdint>
#include <filesystem>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

#include "platform/file_times.h"

namespace ferrox {

enum class AppleFileKind { Single, Double };

struct AppleForkRange {
  std::int64_t Offset = 0;
  std::int64_t Length = 0;
  friend bool operator==(const AppleForkRange&, const AppleForkRange&) = default;
};

struct AppleFileInfo {
  AppleFileKind Kind = AppleFileKind::Single;
  std::string FileName;                  // the real-name entry, UTF-8; empty when absent
  std::string FileType;                  // from the Finder info, blanks trimmed
  std::string Creator;
  std::array<std::uint8_t, 32> FinderInfo{};  // as stored (zeros when absent)
  bool HasFinderInfo = false;
  bool HasDates = false;
  DateTime Created;                      // from the dates entry, local time
  DateTime Modified;
  std::optional<AppleForkRange> DataFork;
  std::optional<AppleForkRange> ResourceFork;
};

enum class AppleFileStatus {
  Ok,
  NotAppleFile,  // neither magic number, or not version 2
  Truncated,     // the file ends inside the header or the entry table
  EntryPastEnd,  // an entry reaches beyond the end of the file
  BadEntry,      // a known entry of the wrong size (Finder info, dates)
  NameTooLong,   // a real-name entry longer than any Macintosh name
  ReadError,
};

inline constexpr std::int64_t kAppleMaxNameLength = 255;

[[nodiscard]] std::string_view AppleFileMessage(AppleFileStatus status);

// Reads the header and entry table from `in` (positioned at the file's start),
// whose whole length is `fileLength`. Only the header, the table and the small
// entries (name, dates, Finder info) are read.
[[nodiscard]] AppleFileStatus ReadAppleFile(std::istream& in, std::int64_t fileLength,
                                            AppleFileInfo& info);
[[nodiscard]] AppleFileStatus ReadAppleFile(const std::filesystem::path& path, AppleFileInfo& info);

// True when the first four bytes are the AppleSingle or AppleDouble magic number.
[[nodiscard]] bool HasAppleFileMagic(std::string_view head) noexcept;

// The AppleDouble header that puts `finderInfo` and a resource fork of
// `resourceLength` bytes in a file; the fork's bytes follow it directly.
[[nodiscard]] std::string AppleDoubleHeader(const std::array<std::uint8_t, 32>& finderInfo,
                                            std::int64_t resourceLength);

// Finder info with just the type and creator set (blank-padded to four bytes).
[[nodiscard]] std::array<std::uint8_t, 32> MakeFinderInfo(std::string_view type, std::string_view creator,
                                                          std::uint16_t flags = 0);

}  // namespace ferrox
