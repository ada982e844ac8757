#include "platform/config_dir.h"

#include <cstdlib>
#include <filesystem>
#include <pwd.h>
#include <system_error>
#include <unistd.h>

namespace ferrox {

namespace {

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::string(value) : std::string();
}

std::string HomeDir() {
  std::string home = Env("HOME");
  if (home.empty()) {
    if (const passwd* pw = ::getpwuid(::getuid()); pw != nullptr && pw->pw_dir != nullptr) home = pw->pw_dir;
  }
  return home;
}

std::string WithoutTrailingSlash(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

}  // namespace

std::string ConfigDir() {
  if (std::string dir = Env("FERROX_CONFIG_DIR"); !dir.empty()) return WithoutTrailingSlash(std::move(dir));
  if (const std::string xdg = Env("XDG_CONFIG_HOME"); !xdg.empty()) return WithoutTrailingSlash(xdg) + "/Ferrox";
  return WithoutTrailingSlash(HomeDir()) + "/.config/Ferrox";
}

std::string EnsureConfigDir() {
  std::string dir = ConfigDir();
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);
  if (!std::filesystem::is_directory(dir, ec)) return {};
  return dir;
}

}  // namespace ferrox
