#pragma once
// The attribute word of a file, read from its type, name and permission bits
// the way a Windows user knows it, and the permission changes that stand for
// setting it.

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

// Applies the read-only bit of `attr`: set removes every write permission,
// clear gives the owner write permission. The other bits cannot be set on
// Linux and are ignored. Returns false when the permissions cannot be changed.
[[nodiscard]] bool SetFileAttr(const std::filesystem::path& path, std::uint16_t attr);

// Gives `to` the permission bits of `from`. Returns false on failure.
[[nodiscard]] bool CopyFilePermissions(const std::filesystem::path& from,
                                       const std::filesystem::path& to);

}  // namespace ferrox
