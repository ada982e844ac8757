#pragma once
// The attribute word of a file, read from its type, name and permission bits
// the way a Windows user knows it. (The job gives an output its input's
// permission bits directly, which carries every attribute Linux can hold.)

#include <cstdint>
#include <filesystem>
#include <optional>

namespace ferrox {

namespace file_attr {
inline constexpr std::uint16_t kNormal = 0;
inline constexpr std::uint16_t kReadOnly = 1;  // no write permission for the owner
inline constexpr std::uint16_t kHidden = 2;    // the name begins with "."
inline constexpr std::uint16_t kSystem = 4;    // never set on Linux
inline constexpr std::uint16_t kFolder = 16;   // a directory
inline constexpr std::uint16_t kArchive = 32;  // every regular file
}  // namespace file_attr

// The attribute word of `path` (symbolic links followed); nullopt when the
// file cannot be examined.
[[nodiscard]] std::optional<std::uint16_t> GetFileAttr(const std::filesystem::path& path);

}  // namespace ferrox
