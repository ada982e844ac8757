#pragma once
// The one settings record of the program. Plain data: the store that loads and
// saves it lives in settings_store.h; every other unit reads fields by name.

#include <cstdint>
#include <string>

#include "text/conv_mode.h"

namespace ferrox {

namespace file_mode {
inline constexpr std::uint16_t kBackup = 1;         // keep an existing output as ".bak"
inline constexpr std::uint16_t kBatch = 2;          // one-file runs too: the check boxes follow the survey
inline constexpr std::uint16_t kMacDates = 4;       // MacBinary output gets the header's dates
inline constexpr std::uint16_t kFolderSelect = 16;  // a folder may be the input; subfolders are walked
inline constexpr std::uint16_t kEntry32 = 32;       // read by the entry builders of the main window
inline constexpr std::uint16_t kUnknownName = 64;   // unknown types are named name(creator).type
inline constexpr std::uint16_t kTrash = 128;        // an existing output goes to the trash
inline constexpr std::uint16_t kDeleteInput = 256;  // delete the input after success
inline constexpr std::uint16_t kMacNames = 512;       // folder and wildcard runs name wrapped Mac files by FileNameRec
inline constexpr std::uint16_t kResourceForks = 1024; // resource forks kept beside the output as AppleDouble "._" files
}  // namespace file_mode

namespace exec_mode {
inline constexpr std::uint16_t kAuto = 1;          // convert as soon as the window is first shown
inline constexpr std::uint16_t kEndAfterAuto = 2;  // with kAuto: end the program after that run
}  // namespace exec_mode

struct ConversionSettings {
  std::int32_t ChkSize = 10000;  // bytes examined by the survey; below 1 = no limit
  std::int16_t BinRate = 3;      // percent of binary bytes tolerated in text
  std::int16_t LineSize = 0;     // fold lines at this many bytes; 0 = no folding
  std::uint16_t ConvMode = 12;
  std::uint16_t FileMode = 117;
  std::uint16_t ExecMode = 0;
  std::int32_t Left = 0;
  std::int32_t Top = 0;
  std::string FNCChar = "_";     // UTF-8
  std::string Version = "0.0";   // version that last wrote the store
  std::string GaijiTable;        // path of the gaiji table file
  std::int32_t SfxSetWidth = 0;
  std::int32_t SfxSetHeight = 0;
};

}  // namespace ferrox
