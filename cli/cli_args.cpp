#include "cli/cli_args.h"

#include "cli/cli_options.h"
#include "cli/cli_text.h"

namespace ferrox::cli {

namespace {

struct CommandName {
  const char* name;
  Command command;
  std::size_t minOperands;
  std::size_t maxOperands;
};

constexpr CommandName kCommands[] = {
    {"convert", Command::kConvert, 2, 2}, {"survey", Command::kSurvey, 1, SIZE_MAX},
    {"name", Command::kName, 3, 3},       {"settings", Command::kSettings, 0, 0},
    {"help", Command::kHelp, 0, SIZE_MAX},
};

const CommandName& Find(Command command) {
  for (const auto& c : kCommands) {
    if (c.command == command) return c;
  }
  return kCommands[std::size(kCommands) - 1];
}

}  // namespace

namespace {

// The command, or one more operand after it.
bool TakeWord(const std::string& arg, Arguments& parsed, bool& haveCommand, std::string& error) {
  if (haveCommand) {
    parsed.operands.push_back(arg);
    return true;
  }
  for (const auto& c : kCommands) {
    if (arg == c.name) {
      parsed.command = c.command;
      haveCommand = true;
    }
  }
  if (!haveCommand) error = Tr("unknown command '", "不明なコマンドです: '") + arg + "'";
  return haveCommand;
}

// The option at args[i] ("--name", "--name=value" or "--name value"), applied.
const OptionSpec* TakeOption(const std::vector<std::string>& args, std::size_t& i, Arguments& parsed,
                             std::string& error) {
  std::string arg = args[i];
  std::string value;
  bool hasValue = false;
  if (const auto eq = arg.find('='); eq != std::string::npos) {
    value = arg.substr(eq + 1);
    arg.resize(eq);
    hasValue = true;
  }
  const OptionSpec* option = FindOption(arg);
  if (option == nullptr) {
    error = Tr("unknown option ", "不明なオプションです: ") + arg;
    return nullptr;
  }
  if (option->valueName.empty() && hasValue) {
    error = arg + Tr(" takes no value", " に値は指定できません");
    return nullptr;
  }
  if (!option->valueName.empty() && !hasValue) {
    if (i + 1 >= args.size()) {
      error = arg + Tr(" needs a value", " には値が必要です");
      return nullptr;
    }
    value = args[++i];
  }
  if (!option->apply(parsed, value, error)) {
    error = arg + ": " + error;
    return nullptr;
  }
  return option;
}

// Every option belongs to the command, and the operands are as many as it takes.
bool FitsCommand(const Arguments& parsed, const std::vector<const OptionSpec*>& given, std::string& error) {
  for (const OptionSpec* option : given) {
    if (option->only != Command::kHelp && option->only != parsed.command) {
      error = std::string(option->name) + Tr(" belongs to the ", " は ") + Find(option->only).name +
              Tr(" command", " コマンドのオプションです");
      return false;
    }
  }
  if (parsed.json && parsed.flagsOnly) {
    error = Tr("--json and --flags exclude each other", "--json と --flags は同時に指定できません");
    return false;
  }
  const CommandName& command = Find(parsed.command);
  if (parsed.operands.size() < command.minOperands || parsed.operands.size() > command.maxOperands) {
    error = Tr("wrong number of operands for ", "オペランドの数が違います: ") + std::string(command.name);
    return false;
  }
  return true;
}

}  // namespace

std::optional<Arguments> ParseArguments(const std::vector<std::string>& args, std::string& error) {
  Arguments parsed;
  bool haveCommand = false;
  bool onlyOperands = false;
  std::vector<const OptionSpec*> given;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    // "-" alone is an operand: standard input or output.
    if (onlyOperands || arg.size() < 2 || arg[0] != '-' || arg[1] != '-') {
      if (!TakeWord(arg, parsed, haveCommand, error)) return std::nullopt;
    } else if (arg == "--") {
      onlyOperands = true;
    } else if (arg == "--help" || arg == "--version") {
      Arguments only;
      only.command = arg == "--help" ? Command::kHelp : Command::kVersion;
      return only;
    } else if (const OptionSpec* option = TakeOption(args, i, parsed, error)) {
      given.push_back(option);
    } else {
      return std::nullopt;
    }
  }
  if (parsed.command == Command::kHelp) return parsed;
  if (!FitsCommand(parsed, given, error)) return std::nullopt;
  return parsed;
}

void ApplyOverrides(const Arguments& a, ConversionSettings& settings) {
  for (const auto& edit : a.edits) edit(settings);
}

namespace {

// The options under their headings, from the option table.
std::string OptionSections() {
  std::string text;
  const std::pair<OptionTopic, const char*> sections[] = {
      {OptionTopic::kSettings, Tr("Settings for this run only (the stored settings stay as they are):",
                                  "この実行だけの設定 (保存された設定は変わりません):")},
      {OptionTopic::kConvMode, Tr("ConvMode bits (the number is the bit):", "ConvMode のビット (数字はビットの値):")},
      {OptionTopic::kFileMode, Tr("FileMode bits (the number is the bit):", "FileMode のビット (数字はビットの値):")},
      {OptionTopic::kCommand, Tr("Of one command:", "コマンドごとのオプション:")},
  };
  for (const auto& [topic, heading] : sections) {
    text += heading;
    text += '\n';
    for (const OptionSpec& option : Options()) {
      if (option.topic != topic) continue;
      std::string left = "  " + std::string(option.name);
      if (!option.valueName.empty()) left += " " + std::string(option.valueName);
      left.resize(std::max<std::size_t>(left.size() + 1, 28), ' ');
      text += left + Tr(option.english, option.japanese) + "\n";
    }
    text += '\n';
  }
  return text;
}

}  // namespace

std::string UsageText() {
  std::string text = Tr(R"(Usage:
  ferrox convert [OPTIONS] INPUT OUTPUT
  ferrox survey [OPTIONS] [--flags | --json] PATH...
  ferrox name [OPTIONS] MACNAME TYPE CREATOR
  ferrox settings [OPTIONS]
  ferrox --help | --version

convert   Converts INPUT into OUTPUT as the two path boxes of the window do.
          INPUT is a file, a folder, a wildcard pattern (quote it in the shell)
          or a list of quoted names joined by commas, e.g. '"a.txt","b.txt"';
          OUTPUT is a file, a folder, or a list of as many names. Relative
          paths are taken from the current folder. "-" as INPUT reads standard
          input, "-" as OUTPUT writes standard output.
survey    Prints the survey report of each PATH ("-": standard input).
name      Prints the output name made for a Mac file name, type and creator,
          or an empty line.
settings  Prints the settings a run with these options uses.

)",
                        R"(使い方:
  ferrox convert [オプション] 入力 出力
  ferrox survey [オプション] [--flags | --json] パス...
  ferrox name [オプション] Macの名前 タイプ クリエータ
  ferrox settings [オプション]
  ferrox --help | --version

convert   入力を出力へ変換します (ウィンドウの入力/出力ボックスと同じ)。
          入力はファイル、フォルダ、ワイルドカード (シェルでは引用符で囲む)、
          または引用符付きの名前をカンマでつないだリスト ('"a.txt","b.txt"')。
          出力はファイル、フォルダ、または同じ数の名前のリスト。相対パスは
          カレントフォルダから。入力の "-" は標準入力、出力の "-" は標準出力。
survey    各パスの調査結果を表示します ("-" は標準入力)。
name      Mac のファイル名、タイプ、クリエータから作る出力名を表示します。
settings  このオプションで変換する時の設定を表示します。

)");
  text += OptionSections();
  text += Tr(R"(A named bit option given after --conv-mode or --file-mode wins.
Settings and tables are read from $FERROX_CONFIG_DIR, else
$XDG_CONFIG_HOME/Ferrox, else ~/.config/Ferrox.

Exit status: 0 done, 1 input side, 2 output side, 3 settings, 130 cancelled,
64 bad command line.
)",
             R"(--conv-mode/--file-mode の後に指定したビットのオプションが優先します。
設定とテーブルは $FERROX_CONFIG_DIR、無ければ $XDG_CONFIG_HOME/Ferrox、
無ければ ~/.config/Ferrox から読みます。

終了コード: 0 完了、1 入力側、2 出力側、3 設定、130 中断、64 コマンドラインの誤り
)");
  return text;
}

}  // namespace ferrox::cli
