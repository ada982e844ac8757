#pragma once
// The settings store: loads ConversionSettings (with the suffix and gaiji
// tables) at start-up and saves them at exit, through the INI file
// Ferrox.conf, group [Setting], one string value per key, in the config folder.

#include <cstdint>
#include <string>

#include "app/conversion_settings.h"
#include "convert/gaiji_table.h"
#include "suffix/suffix_table.h"

namespace ferrox {

struct WindowPosition {
  std::int32_t left = 0;
  std::int32_t top = 0;
};

struct SettingsLoadResult {
  bool firstRun = false;
  SuffixLoadResult suffix;  // Failed(): show SuffixLoadMessage(suffix) once
};

class SettingsStore {
 public:
  // `configDir` holds Ferrox.conf and the tables; "" = EnsureConfigDir().
  explicit SettingsStore(std::string configDir = {});

  // Built-in values, the first-run test (a first run saves at once, with
  // `firstRunPosition` as the window position), every key, the upgrade rules,
  // then the suffix and gaiji tables. Settings.Left/Top hold the stored
  // window position afterwards.
  // The gaiji table is read only with `withGaijiTable` (what converts needs it).
  SettingsLoadResult Load(WindowPosition firstRunPosition = {}, bool withGaijiTable = true);

  // Every key (Left/Top from Settings: set them to the window's position
  // first), the version rule, then the suffix table when it was changed.
  // False when the settings file could not be written.
  bool Save();

  // Reloads the gaiji table from Settings.GaijiTable (after the gaiji dialog).
  void ReloadGaijiTable();

  [[nodiscard]] const std::string& ConfigFolder() const noexcept { return configDir_; }
  [[nodiscard]] std::string SettingsFile() const;
  [[nodiscard]] std::string DefaultGaijiTablePath() const;
  // Settings.GaijiTable, a path without a folder taken inside the config folder.
  [[nodiscard]] std::string GaijiTablePath() const;

  ConversionSettings Settings;
  SuffixTable Suffixes;
  bool SuffixTableChanged = false;  // set by the suffix editor's OK
  GaijiTable Gaiji;

 private:
  std::string configDir_;
};

// The numeric value of a version text, read like "2.9" or "10.0" (leading
// number, 0 when there is none).
[[nodiscard]] double VersionValue(const std::string& version);

}  // namespace ferrox
