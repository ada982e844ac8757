#pragma once
// The options of `ferrox`, one row each: the name, the value it takes, the
// commands it belongs to, its --help line in English and Japanese, and what it
// does to the arguments. Parsing, the overrides and --help all read this table.

#include <span>
#include <string>
#include <string_view>

#include "cli/cli_args.h"

namespace ferrox::cli {

// The --help section an option is listed in.
enum class OptionTopic { kSettings, kConvMode, kFileMode, kCommand };

struct OptionSpec {
  std::string_view name;       // "--eof"
  std::string_view valueName;  // "N", "TEXT", ...; empty when it takes no value
  OptionTopic topic;
  // The one command it belongs to; kHelp = every command.
  Command only;
  const char* english;
  const char* japanese;
  // Records the option; false (with `error` set) for a bad value.
  bool (*apply)(Arguments& arguments, const std::string& value, std::string& error);
};

[[nodiscard]] std::span<const OptionSpec> Options();
// The row named `name`, or null.
[[nodiscard]] const OptionSpec* FindOption(std::string_view name);

}  // namespace ferrox::cli
