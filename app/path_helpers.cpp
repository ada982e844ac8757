#include "app/path_helpers.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <vector>

#include "app/entry_list.h"
#include "platform/file_placing.h"

namespace ferrox {

namespace {

bool StatOf(const std::string& path, struct stat& st) {
  return !path.empty() && ::stat(path.c_str(), &st) == 0;
}

std::string LexicalForm(const std::string& path) {
  std::string form = std::filesystem::path(path).lexically_normal().string();
  while (form.size() > 1 && form.back() == '/') form.pop_back();
  return form;
}

}  // namespace

std::string GetPathRoot(std::string_view path) {
  return (!path.empty() && path.front() == '/') ? std::string("/") : std::string();
}

std::string GetParentFolder(std::string_view path) {
  if (GetPathRoot(path).empty()) return {};
  const auto slash = path.find_last_of('/');
  if (slash == 0) return "/";
  return std::string(path.substr(0, slash));
}

std::string GetNameWithoutExtension(std::string_view path) {
  for (std::size_t i = path.size(); i-- > 0;) {
    if (path[i] == '/') break;
    if (path[i] == '.') {
      const bool beginsName = i == 0 || path[i - 1] == '/';
      if (beginsName) break;
      return std::string(path.substr(0, i));
    }
  }
  return std::string(path);
}

bool FileExists(const std::string& path) {
  struct stat st {};
  return StatOf(path, st);
}

bool IsFolder(const std::string& path) {
  struct stat st {};
  return StatOf(path, st) && S_ISDIR(st.st_mode);
}

bool IsFile(const std::string& path) {
  struct stat st {};
  return StatOf(path, st) && !S_ISDIR(st.st_mode);
}

std::string AddPathSeparator(std::string_view path) {
  std::string result(TrimBlanks(path));
  if (!result.empty() && result.back() != '/') result += '/';
  return result;
}

bool MakeFolder(const std::string& path) {
  if (IsFolder(path)) return true;
  if (path.empty()) return false;
  // Level by level after the root, so every missing folder above is made.
  for (std::size_t pos = path.find('/', 1);; pos = path.find('/', pos + 1)) {
    const std::string level = path.substr(0, pos);
    if (!level.empty() && ::mkdir(level.c_str(), 0777) != 0 && errno != EEXIST) return false;
    if (pos == std::string::npos) break;
  }
  return IsFolder(path);
}

std::string FileKey(const std::string& path) {
  struct stat st {};
  if (StatOf(path, st)) return "@" + std::to_string(st.st_dev) + ":" + std::to_string(st.st_ino);
  return LexicalForm(path);
}

bool IsSpecialFile(const std::string& path) {
  struct stat st {};
  return StatOf(path, st) && !S_ISREG(st.st_mode) && !S_ISDIR(st.st_mode);
}

int IsOtherFile(const std::string& a, const std::string& b) {
  struct stat sa {};
  struct stat sb {};
  if (StatOf(a, sa) && StatOf(b, sb)) {
    if (SameInode(sa, sb)) return 0;
    return sa.st_ino < sb.st_ino ? -1 : 1;
  }
  const std::string la = LexicalForm(a);
  const std::string lb = LexicalForm(b);
  if (la == lb) return 0;
  return la < lb ? -1 : 1;
}

std::string NormalizeEntry(std::string_view boxText) {
  std::string_view text = TrimBlanks(boxText);
  std::string path;
  if (!text.empty() && text.front() == '"') {
    const auto names = CommaToDim(text);
    if (!names.empty()) path = names.front();
  } else {
    path = std::string(text);
  }
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

bool HasWildcard(std::string_view text) noexcept {
  return text.find_first_of("*?") != std::string_view::npos;
}

std::string MakeAbsolute(std::string_view path, std::string_view cwd) {
  if (path.empty() || path.front() == '/') return std::string(path);
  std::string result(cwd);
  if (result.empty() || result.back() != '/') result += '/';
  result += path;
  return result;
}

std::string CurrentFolder() {
  std::vector<char> buffer(4096);
  while (::getcwd(buffer.data(), buffer.size()) == nullptr) {
    if (errno != ERANGE || buffer.size() > (1u << 20)) return "/";
    buffer.resize(buffer.size() * 2);
  }
  return std::string(buffer.data());
}

}  // namespace ferrox
