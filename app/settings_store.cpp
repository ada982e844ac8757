#include "app/settings_store.h"

#include <QDir>
#include <QSettings>
#include <QStringList>

#include <charconv>
#include <filesystem>
#include <limits>
#include <optional>
#include <system_error>

#include "app/version.h"
#include "platform/config_dir.h"

namespace ferrox {

namespace {

namespace fs = std::filesystem;

constexpr const char* kGroup = "Setting";
// Stored versions below this predate naming unknown types name(creator).type.
constexpr const char* kUnknownNameVersion = "2.4";

// The stored text of a key; nullopt when the key does not exist.
std::optional<std::string> ReadText(const QSettings& store, const char* key) {
  if (!store.contains(QString::fromLatin1(key))) return std::nullopt;
  const QVariant value = store.value(QString::fromLatin1(key));
  // A hand-edited value with an unquoted comma reads back as a list.
  if (value.typeId() == QMetaType::QStringList) return value.toStringList().join(u',').toStdString();
  return value.toString().toStdString();
}

// The stored decimal text of a key, in [lo, hi]; nullopt when the key is
// missing, empty, not a number or out of range.
std::optional<std::int64_t> ReadNumber(const QSettings& store, const char* key, std::int64_t lo, std::int64_t hi) {
  const std::optional<std::string> text = ReadText(store, key);
  if (!text) return std::nullopt;
  const std::size_t first = text->find_first_not_of(' ');
  if (first == std::string::npos) return std::nullopt;
  const std::size_t last = text->find_last_not_of(' ');
  const char* begin = text->data() + first;
  const char* end = text->data() + last + 1;
  if (*begin == '+') ++begin;
  std::int64_t value = 0;
  const auto [ptr, ec] = std::from_chars(begin, end, value);
  if (ec != std::errc() || ptr != end || value < lo || value > hi) return std::nullopt;
  return value;
}

template <typename T>
void Read(const QSettings& store, const char* key, T& field, T fallback) {
  using Limits = std::numeric_limits<T>;
  std::int64_t lo = Limits::min();
  const std::int64_t hi = Limits::max();
  // Flag words may have been stored as the signed 16-bit value.
  if constexpr (std::is_unsigned_v<T>) lo = -static_cast<std::int64_t>(hi / 2) - 1;
  const std::optional<std::int64_t> value = ReadNumber(store, key, lo, hi);
  field = value ? static_cast<T>(*value) : fallback;
}

void ReadString(const QSettings& store, const char* key, std::string& field) {
  if (std::optional<std::string> text = ReadText(store, key)) field = std::move(*text);
}

void Write(QSettings& store, const char* key, const std::string& text) {
  store.setValue(QString::fromLatin1(key), QString::fromStdString(text));
}

template <typename T>
void WriteNumber(QSettings& store, const char* key, T value) {
  Write(store, key, std::to_string(value));
}

}  // namespace

SettingsStore::SettingsStore(std::string configDir) : configDir_(std::move(configDir)) {
  if (configDir_.empty()) configDir_ = EnsureConfigDir();
  if (configDir_.empty()) configDir_ = ConfigDir();
  std::error_code ec;
  fs::create_directories(configDir_, ec);
  Settings.GaijiTable = DefaultGaijiTablePath();
}

std::string SettingsStore::SettingsFile() const { return configDir_ + "/Ferrox.conf"; }

std::string SettingsStore::DefaultGaijiTablePath() const { return configDir_ + "/GaiTbl.txt"; }

std::string SettingsStore::GaijiTablePath() const {
  const std::string& path = Settings.GaijiTable;
  if (path.empty() || path.front() == '/') return path;
  return configDir_ + "/" + path;
}

void SettingsStore::ReloadGaijiTable() { Gaiji.LoadGaijiTable(GaijiTablePath()); }

SettingsLoadResult SettingsStore::Load(WindowPosition firstRunPosition, bool withGaijiTable) {
  SettingsLoadResult result;
  const ConversionSettings builtIn;
  Settings = builtIn;
  Settings.GaijiTable = DefaultGaijiTablePath();
  Settings.Left = firstRunPosition.left;
  Settings.Top = firstRunPosition.top;

  {
    QSettings probe(QString::fromStdString(SettingsFile()), QSettings::IniFormat);
    probe.beginGroup(QString::fromLatin1(kGroup));
    const std::optional<std::string> chkSize = ReadText(probe, "ChkSize");
    result.firstRun = !chkSize || chkSize->empty();
  }
  if (result.firstRun) Save();  // from now on every key exists

  QSettings store(QString::fromStdString(SettingsFile()), QSettings::IniFormat);
  store.beginGroup(QString::fromLatin1(kGroup));
  Read(store, "ChkSize", Settings.ChkSize, builtIn.ChkSize);
  Read(store, "BinRate", Settings.BinRate, builtIn.BinRate);
  Read(store, "LineSize", Settings.LineSize, builtIn.LineSize);
  Read(store, "ConvMode", Settings.ConvMode, builtIn.ConvMode);
  Read(store, "FileMode", Settings.FileMode, builtIn.FileMode);
  Read(store, "ExecMode", Settings.ExecMode, builtIn.ExecMode);
  Read(store, "Left", Settings.Left, firstRunPosition.left);
  Read(store, "Top", Settings.Top, firstRunPosition.top);
  ReadString(store, "FNCChar", Settings.FNCChar);
  ReadString(store, "Version", Settings.Version);
  ReadString(store, "GaijiTable", Settings.GaijiTable);
  Read(store, "SfxSetWidth", Settings.SfxSetWidth, builtIn.SfxSetWidth);
  Read(store, "SfxSetHeight", Settings.SfxSetHeight, builtIn.SfxSetHeight);

  // Compared by character codes on purpose: "10.0" sorts below "2.4".
  if (Settings.Version < kUnknownNameVersion) Settings.FileMode |= file_mode::kUnknownName;
  if (Settings.Version != ProgramVersion()) DeleteHelpIndex(helpFile);

  result.suffix = SuffixTableLoad(Suffixes, configDir_);
  if (withGaijiTable) ReloadGaijiTable();
  SuffixTableChanged = false;
  return result;
}

bool SettingsStore::Save() {
  QSettings store(QString::fromStdString(SettingsFile()), QSettings::IniFormat);
  store.beginGroup(QString::fromLatin1(kGroup));
  WriteNumber(store, "ChkSize", Settings.ChkSize);
  WriteNumber(store, "BinRate", Settings.BinRate);
  WriteNumber(store, "Left", Settings.Left);
  WriteNumber(store, "Top", Settings.Top);
  WriteNumber(store, "ExecMode", Settings.ExecMode);
  WriteNumber(store, "FileMode", Settings.FileMode);
  WriteNumber(store, "LineSize", Settings.LineSize);
  WriteNumber(store, "ConvMode", Settings.ConvMode);
  Write(store, "FNCChar", Settings.FNCChar);
  Write(store, "GaijiTable", Settings.GaijiTable);
  WriteNumber(store, "SfxSetWidth", Settings.SfxSetWidth);
  WriteNumber(store, "SfxSetHeight", Settings.SfxSetHeight);

  // A store last written by a newer version keeps its mark.
  const std::string running = ProgramVersion();
  const std::string stored = ReadText(store, "Version").value_or(Settings.Version);
  if (VersionValue(running) > VersionValue(stored)) {
    Write(store, "Version", running);
    Settings.Version = running;
  }
  store.endGroup();
  store.sync();
  bool ok = store.status() == QSettings::NoError;

  if (SuffixTableChanged) {
    SuffixTableBackup(configDir_);
    if (SuffixTableSave(Suffixes, configDir_)) {
      SuffixTableChanged = false;
    } else {
      ok = false;
    }
  }
  return ok;
}

void DeleteHelpIndex(const std::string& helpFile) {
  constexpr std::string_view kHlp = ".hlp";
  if (helpFile.size() < kHlp.size() || helpFile.find('/') == std::string::npos) return;
  for (std::size_t i = 0; i < kHlp.size(); ++i) {
    const char c = helpFile[helpFile.size() - kHlp.size() + i];
    if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c) != kHlp[i]) return;
  }
  const fs::path index = helpFile.substr(0, helpFile.size() - 3) + "GID";
  std::error_code ec;
  if (!fs::is_regular_file(index, ec)) return;
  fs::permissions(index, fs::perms::owner_write, fs::perm_options::add, ec);
  fs::remove(index, ec);
}

double VersionValue(const std::string& version) {
  std::size_t i = version.find_first_not_of(' ');
  if (i == std::string::npos) return 0;
  double value = 0;
  for (; i < version.size() && version[i] >= '0' && version[i] <= '9'; ++i) value = value * 10 + (version[i] - '0');
  if (i < version.size() && version[i] == '.') {
    double scale = 0.1;
    for (++i; i < version.size() && version[i] >= '0' && version[i] <= '9'; ++i, scale /= 10) {
      value += (version[i] - '0') * scale;
    }
  }
  return value;
}

}  // namespace ferrox
