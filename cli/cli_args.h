#pragma once
// The command line of `ferrox`: the command, its operands and the options
// that override the stored settings for one run. Every option is a row of one
// table (cli_options.h), which drives parsing, the overrides and --help.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/conversion_settings.h"

namespace ferrox::cli {

enum class Command { kHelp, kVersion, kConvert, kSurvey, kName, kSettings };

struct Arguments {
  Command command = Command::kHelp;
  std::vector<std::string> operands;
  // This run's changes to the stored settings, in command-line order, so an
  // option given later wins over an earlier one (--conv-mode 13 --no-eof).
  std::vector<std::function<void(ConversionSettings&)>> edits;
  bool chkSizeGiven = false;
  bool fncCharGiven = false;
  bool gaijiTableGiven = false;
  // The two check boxes, pinned for every file; unset = from each survey.
  std::optional<bool> text;
  std::optional<bool> cut;
  bool flagsOnly = false;  // survey --flags
  bool json = false;       // survey --json
  bool force = false;      // convert --force: binary output to a terminal too
  std::string changes;     // convert --changes: where the list of changes goes
};

// Parses argv; on a usage error returns nullopt and sets `error`.
[[nodiscard]] std::optional<Arguments> ParseArguments(const std::vector<std::string>& args,
                                                      std::string& error);

// Writes the given overrides into `settings`, in the order they were given.
void ApplyOverrides(const Arguments& arguments, ConversionSettings& settings);

// --help, in the language of the locale.
[[nodiscard]] std::string UsageText();

}  // namespace ferrox::cli
