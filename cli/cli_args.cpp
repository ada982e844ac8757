#include "cli/cli_args.h"

#include <charconv>
#include <limits>

namespace ferrox::cli {

namespace {

template <typename T>
bool ParseNumber(const std::string& text, T& value) {
  long long n = 0;
  const char* end = text.data() + text.size();
  const auto [ptr, ec] = std::from_chars(text.data(), end, n);
  if (ec != std::errc() || ptr != end) return false;
  if (n < static_cast<long long>(std::numeric_limits<T>::min()) ||
      n > static_cast<long long>(std::numeric_limits<T>::max())) {
    return false;
  }
  value = static_cast<T>(n);
  return true;
}

template <typename T>
bool SetNumber(std::optional<T>& slot, const std::string& name, const std::string& text,
               std::string& error) {
  T value{};
  if (!ParseNumber(text, value)) {
    error = "invalid number for " + name + ": '" + text + "'";
    return false;
  }
  slot = value;
  return true;
}

}  // namespace

std::optional<Arguments> ParseArguments(const std::vector<std::string>& args, std::string& error) {
  Arguments parsed;
  bool haveCommand = false;
  bool onlyOperands = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    std::string arg = args[i];
    if (onlyOperands || arg.size() < 2 || arg[0] != '-' || arg[1] != '-') {
      if (!haveCommand) {
        if (arg == "convert") parsed.command = Command::kConvert;
        else if (arg == "survey") parsed.command = Command::kSurvey;
        else if (arg == "name") parsed.command = Command::kName;
        else if (arg == "help") parsed.command = Command::kHelp;
        else {
          error = "unknown command '" + arg + "'";
          return std::nullopt;
        }
        haveCommand = true;
      } else {
        parsed.operands.push_back(arg);
      }
      continue;
    }
    if (arg == "--") {
      onlyOperands = true;
      continue;
    }
    if (arg == "--help" || arg == "--version") {
      Arguments only;
      only.command = arg == "--help" ? Command::kHelp : Command::kVersion;
      return only;
    }

    std::string value;
    bool hasValue = false;
    if (const auto eq = arg.find('='); eq != std::string::npos) {
      value = arg.substr(eq + 1);
      arg.resize(eq);
      hasValue = true;
    }
    const auto takeValue = [&]() {
      if (hasValue) return true;
      if (i + 1 >= args.size()) {
        error = "option " + arg + " needs a value";
        return false;
      }
      value = args[++i];
      return true;
    };
    const auto noValue = [&]() {
      if (hasValue) error = "option " + arg + " takes no value";
      return !hasValue;
    };

    bool ok = true;
    if (arg == "--conv-mode") ok = takeValue() && SetNumber(parsed.convMode, arg, value, error);
    else if (arg == "--file-mode") ok = takeValue() && SetNumber(parsed.fileMode, arg, value, error);
    else if (arg == "--line-size") ok = takeValue() && SetNumber(parsed.lineSize, arg, value, error);
    else if (arg == "--chk-size") ok = takeValue() && SetNumber(parsed.chkSize, arg, value, error);
    else if (arg == "--bin-rate") ok = takeValue() && SetNumber(parsed.binRate, arg, value, error);
    else if (arg == "--fnc-char") ok = takeValue() && (parsed.fncChar = value, true);
    else if (arg == "--gaiji-table") ok = takeValue() && (parsed.gaijiTable = value, true);
    else if (arg == "--text") ok = noValue() && (parsed.text = true, true);
    else if (arg == "--no-text") ok = noValue() && (parsed.text = false, true);
    else if (arg == "--cut") ok = noValue() && (parsed.cut = true, true);
    else if (arg == "--no-cut") ok = noValue() && (parsed.cut = false, true);
    else if (arg == "--flags") ok = noValue() && (parsed.flagsOnly = true, true);
    else {
      error = "unknown option " + arg;
      ok = false;
    }
    if (!ok) return std::nullopt;
  }

  std::size_t wanted = 0;
  switch (parsed.command) {
    case Command::kConvert: wanted = 2; break;
    case Command::kSurvey: wanted = 1; break;
    case Command::kName: wanted = 3; break;
    default: return parsed;
  }
  if (parsed.operands.size() != wanted) {
    error = "wrong number of operands (expected " + std::to_string(wanted) + ")";
    return std::nullopt;
  }
  if (parsed.flagsOnly && parsed.command != Command::kSurvey) {
    error = "--flags belongs to the survey command";
    return std::nullopt;
  }
  return parsed;
}

void ApplyOverrides(const Arguments& a, ConversionSettings& settings) {
  if (a.convMode) settings.ConvMode = *a.convMode;
  if (a.fileMode) settings.FileMode = *a.fileMode;
  if (a.lineSize) settings.LineSize = *a.lineSize;
  if (a.chkSize) settings.ChkSize = *a.chkSize;
  if (a.binRate) settings.BinRate = *a.binRate;
  if (a.fncChar) settings.FNCChar = *a.fncChar;
  if (a.gaijiTable) settings.GaijiTable = *a.gaijiTable;
}

const char* UsageText() {
  return R"(Usage:
  ferrox convert [OPTIONS] INPUT OUTPUT
  ferrox survey [OPTIONS] [--flags] PATH
  ferrox name [OPTIONS] MACNAME TYPE CREATOR
  ferrox --help | --version

convert  Converts INPUT into OUTPUT as the two path boxes of the window do.
         INPUT is a file, a folder, a wildcard pattern (quote it in the shell)
         or a list of quoted names joined by commas, e.g. '"a.txt","b.txt"';
         OUTPUT is a file, a folder, or a list of as many names. Relative
         paths are taken from the current folder.
survey   Prints the survey report of PATH; with --flags one line instead:
         the survey result code and the survey flag word, e.g. "0 0x0112".
name     Prints the output name made for a Mac file name, type and creator,
         or an empty line.

Options (for this run only; the stored settings stay as they are):
  --conv-mode N      ConvMode flag word
  --file-mode N      FileMode flag word (1 backup .bak, 4 MacBinary dates,
                     16 walk folders, 64 name(creator).type, 128 trash,
                     256 delete the input)
  --line-size N      fold lines at N bytes (0 = no folding)
  --chk-size N       bytes surveyed (at least 100)
  --bin-rate N       percent of binary bytes tolerated in text
  --fnc-char TEXT    substitute for characters not allowed in file names
  --gaiji-table PATH gaiji table file
  --text, --no-text  convert text in every file, or in none
  --cut, --no-cut    strip MacBinary wrappers from every file, or from none
                     (without these, each file's survey decides)

Settings and tables are read from $FERROX_CONFIG_DIR, else
$XDG_CONFIG_HOME/Ferrox, else ~/.config/Ferrox.

Exit status: 0 done, 1 input side, 2 output side, 3 settings, 130 cancelled,
64 bad command line.
)";
}

}  // namespace ferrox::cli
