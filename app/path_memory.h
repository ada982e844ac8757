#pragma once
// What the window remembers of its path boxes between runs: the folders the
// choosers last opened in, and a short history of entries per box. Kept in
// the settings file beside the settings record, under keys of their own, so
// the record's keys keep their meaning.

#include <string>
#include <vector>

namespace ferrox {

struct PathMemory {
  static constexpr std::size_t kHistorySize = 10;

  std::string inFolder;   // where the input chooser last opened
  std::string outFolder;  // where the output chooser last opened
  std::vector<std::string> inHistory;   // newest first
  std::vector<std::string> outHistory;  // newest first

  // Puts `entry` first in `history`, once, and keeps at most kHistorySize.
  static void Remember(std::vector<std::string>& history, const std::string& entry);
};

// Keys InFolder, OutFolder, InHistory1..10, OutHistory1..10 of group [Setting]
// in `settingsFile`. Load of a missing file or key gives empty fields; Save
// leaves every other key alone and returns false when the file cannot be written.
[[nodiscard]] PathMemory LoadPathMemory(const std::string& settingsFile);
bool SavePathMemory(const std::string& settingsFile, const PathMemory& memory);

}  // namespace ferrox
