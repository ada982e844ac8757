#include "app/settings_store.h"

#include <QDir>
#include <QSettings>
#include <QStringList>

#include <charconv>
#include <filesystem>
#include <limits>
#include <optional>
#include <system_error>
#include <type_traits>
#include <variant>

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

// One stored key and the field it fills. A key that is missing or unreadable
// leaves the field as Load set it beforehand (built-in or first-run value).
struct Key {
  const char* name;
  std::variant<std::int32_t ConversionSettings::*, std::int16_t ConversionSettings::*,
               std::uint16_t ConversionSettings::*, std::string ConversionSettings::*>
      field;
  bool saved = true;  // Version is written by its own rule
};

const Key kKeys[] = {
    {"ChkSize", &ConversionSettings::ChkSize},         {"BinRate", &ConversionSettings::BinRate},
    {"LineSize", &ConversionSettings::LineSize},       {"ConvMode", &ConversionSettings::ConvMode},
    {"FileMode", &ConversionSettings::FileMode},       {"ExecMode", &ConversionSettings::ExecMode},
    {"Left", &ConversionSettings::Left},               {"Top", &ConversionSettings::Top},
    {"FNCChar", &ConversionSettings::FNCChar},         {"Version", &ConversionSettings::Version, false},
    {"GaijiTable", &ConversionSettings::GaijiTable},   {"SfxSetWidth", &ConversionSettings::SfxSetWidth},
    {"SfxSetHeight", &ConversionSettings::SfxSetHeight},
};

void ReadKey(const QSettings& store, const Key& key, ConversionSettings& settings) {
  std::visit(
      [&](auto member) {
        auto& field = settings.*member;
        if constexpr (std::is_same_v<std::decay_t<decltype(field)>, std::string>) {
          ReadString(store, key.name, field);
        } else {
          Read(store, key.name, field, field);
        }
      },
      key.field);
}

void WriteKey(QSettings& store, const Key& key, const ConversionSettings& settings) {
  std::visit(
      [&](auto member) {
        const auto& field = settings.*member;
        if constexpr (std::is_same_v<std::decay_t<decltype(field)>, std::string>) {
          Write(store, key.name, field);
        } else {
          Write(store, key.name, std::to_string(field));
        }
      },
      key.field);
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
  Settings = ConversionSettings{};
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
  for (const Key& key : kKeys) ReadKey(store, key, Settings);

  // Compared by character codes on purpose: "10.0" sorts below "2.4".
  if (Settings.Version < kUnknownNameVersion) Settings.FileMode |= file_mode::kUnknownName;

  result.suffix = SuffixTableLoad(Suffixes, configDir_);
  if (withGaijiTable) ReloadGaijiTable();
  SuffixTableChanged = false;
  return result;
}

bool SettingsStore::Save() {
  QSettings store(QString::fromStdString(SettingsFile()), QSettings::IniFormat);
  store.beginGroup(QString::fromLatin1(kGroup));
  for (const Key& key : kKeys) {
    if (key.saved) WriteKey(store, key, Settings);
  }

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
