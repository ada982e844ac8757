#pragma once
// MacBinary header: recognise, read and rewrite the 128-byte header, and the
// Macintosh information block of the survey report.

#include <cstdint>
#include <filesystem>
#include <istream>
#include <optional>
#include <span>
#include <string>

#include "platform/file_times.h"
#include "suffix/suffix_entry.h"

namespace ferrox {

inline constexpr std::int64_t kMacBinaryHeaderSize = 128;

struct MacBinaryInfo {
  std::string FileName;            // original Macintosh name, UTF-8 (decoded from CP932)
  // Fork lengths: the four-byte fields whenever the file is long enough to
  // hold what they say, else their low three bytes (old writers left the top
  // byte undefined). The resource length may exceed what the file holds.
  std::int64_t DataLength = 0;
  std::int64_t ResourceLength = 0;
  std::string FileType;            // up to 4 printable ASCII characters, blanks trimmed
  std::string Creator;             // likewise
  DateTime Created;                // Macintosh seconds, no zone shift
  DateTime Modified;

  friend bool operator==(const MacBinaryInfo&, const MacBinaryInfo&) = default;
};

// Reads a header already in memory. `fileLength` is the length of the whole
// file the header starts. nullopt when the bytes are not a MacBinary header.
[[nodiscard]] std::optional<MacBinaryInfo> ParseMacBinaryHeader(
    std::span<const std::uint8_t, 128> header, std::int64_t fileLength);

// 0 when `path` starts with a valid MacBinary header (`info` is filled),
// 1 when it does not or cannot be read (`info` is left as it was).
[[nodiscard]] int MBInfGet(const std::filesystem::path& path, MacBinaryInfo& info);
// The same from `in`, read from its start, of a file `fileLength` bytes long.
[[nodiscard]] int MBInfGet(std::istream& in, std::int64_t fileLength, MacBinaryInfo& info);

// Rewrites the fork lengths of the header of `path` after a conversion that
// kept it: bytes 83..86 get `dataLength` (big-endian; lengths above
// 0xFFFFFFFF are written as 0xFFFFFFFF), bytes 87..90 get 0. Every other
// header byte is kept, except a MacBinary II CRC (bytes 124..125) that was
// right: it is computed again, and the file is padded with zeros to a
// multiple of 128 bytes. 0 when done, 1 when the file is shorter than 128 bytes
// or cannot be read or written.
[[nodiscard]] int MBInfPut(const std::filesystem::path& path, std::int64_t dataLength);
// The same on an open file (read and write).
[[nodiscard]] int MBInfPut(int fd, std::int64_t dataLength);

// Appends the Macintosh information block (it starts with an empty line, and
// every line ends with CR LF) to `report`. `match` is the suffix table's entry
// for the file's type and creator, or null when none matches.
void AppendMacBinaryInfo(std::string& report, const MacBinaryInfo& info,
                         const SuffixEntry* match);

}  // namespace ferrox
