#pragma once
// The command line of `ferrox`: the command, its operands and the options
// that override the stored settings for one run.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/conversion_settings.h"

namespace ferrox::cli {

enum class Command { kHelp, kVersion, kConvert, kSurvey, kName };

struct Arguments {
  Command command = Command::kHelp;
  std::vector<std::string> operands;
  // Overrides of ConversionSettings, each only when given.
  std::optional<std::uint16_t> convMode;
  std::optional<std::uint16_t> fileMode;
  std::optional<std::int16_t> lineSize;
  std::optional<std::int32_t> chkSize;
  std::optional<std::int16_t> binRate;
  std::optional<std::string> fncChar;
  std::optional<std::string> gaijiTable;
  // The two check boxes, pinned for every file; unset = from each survey.
  std::optional<bool> text;
  std::optional<bool> cut;
  bool flagsOnly = false;  // survey --flags
};

// Parses argv; on a usage error returns nullopt and sets `error`.
[[nodiscard]] std::optional<Arguments> ParseArguments(const std::vector<std::string>& args,
                                                      std::string& error);

// Writes the given overrides into `settings`.
void ApplyOverrides(const Arguments& arguments, ConversionSettings& settings);

[[nodiscard]] const char* UsageText();

}  // namespace ferrox::cli
