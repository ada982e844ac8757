#pragma once
// The small path operations the batch driver and the job decide on. Paths are
// UTF-8 Linux paths: "/" separates folders and an absolute path begins at the
// root "/". The string operations touch no file; the tests below ask the file
// system and follow symbolic links.

#include <string>
#include <string_view>

namespace ferrox {

// "/" for an absolute path, else the empty string.
[[nodiscard]] std::string GetPathRoot(std::string_view path);

// Everything before the last "/" after the root ("/a/b" -> "/a", "/a" -> "/",
// "/" -> "/"); the empty string for a relative path, which has no parent.
[[nodiscard]] std::string GetParentFolder(std::string_view path);

// The path without its last extension. Scanning backwards, the first "." cuts;
// a "/" met first, or a dot that begins the file name (a hidden file such as
// ".profile"), leaves the path unchanged.
[[nodiscard]] std::string GetNameWithoutExtension(std::string_view path);

// A file or folder of that name exists (symbolic links followed).
[[nodiscard]] bool FileExists(const std::string& path);
// The path exists and is a folder.
[[nodiscard]] bool IsFolder(const std::string& path);
// The path exists and is not a folder.
[[nodiscard]] bool IsFile(const std::string& path);

// The path exists and is neither a regular file nor a folder (a device, a
// pipe, a socket), symbolic links followed.
[[nodiscard]] bool IsSpecialFile(const std::string& path);

// The path trimmed of blanks, with one "/" appended unless it is empty or
// already ends in "/".
[[nodiscard]] std::string AddPathSeparator(std::string_view path);

// Creates the folder and every missing folder above it; true when the folder
// exists afterwards.
[[nodiscard]] bool MakeFolder(const std::string& path);

// 0 when a and b name the same file, non-zero otherwise. Two existing paths
// are the same file when they lead to the same device and inode; otherwise
// their texts are compared once "." and ".." are resolved. Letter case alone
// never makes two paths one file: Linux names are case-sensitive.
[[nodiscard]] int IsOtherFile(const std::string& a, const std::string& b);

// A text equal for two paths exactly when IsOtherFile finds them the same
// file (for paths that do not change meanwhile).
[[nodiscard]] std::string FileKey(const std::string& path);

// The one path that a box holding a single name stands for: blanks trimmed,
// surrounding quotes removed, trailing "/" removed except from the root.
[[nodiscard]] std::string NormalizeEntry(std::string_view boxText);

// The text holds "*" or "?".
[[nodiscard]] bool HasWildcard(std::string_view text) noexcept;

// An absolute path for `path` against `cwd`, joined as text: links and ".."
// are kept as typed.
[[nodiscard]] std::string MakeAbsolute(std::string_view path, std::string_view cwd);

// The current folder, or "/" when it cannot be read.
[[nodiscard]] std::string CurrentFolder();

}  // namespace ferrox
