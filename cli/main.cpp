// ferrox: the command-line program over the Ferrox engine.

#include <cstdio>
#include <string>
#include <vector>

#include "app/version.h"
#include "cli/cli_args.h"
#include "cli/cli_text.h"
#include "cli/commands.h"
#include "text/cp932.h"

int main(int argc, char** argv) {
  using namespace ferrox::cli;
  const std::vector<std::string> args(argv + 1, argv + argc);
  std::string error;
  const auto arguments = ParseArguments(args, error);
  if (!arguments) {
    std::fprintf(stderr, "ferrox: %s\n%s\n", error.c_str(),
                 Tr("Try 'ferrox --help'.", "'ferrox --help' で使い方を表示します。"));
    return kExitUsage;
  }
  switch (arguments->command) {
    case Command::kHelp:
      std::fputs(UsageText().c_str(), stdout);
      return args.empty() ? kExitUsage : 0;
    case Command::kVersion:
      std::printf("ferrox %s\n", ferrox::ProgramVersion().c_str());
      return 0;
    default:
      break;
  }
  if (!ferrox::cp932::Available()) {
    std::fprintf(stderr, "ferrox: %s\n",
                 Tr("iconv on this system cannot convert CP932", "このシステムの iconv は CP932 を変換できません"));
    return 1;
  }
  switch (arguments->command) {
    case Command::kConvert: return RunConvert(*arguments);
    case Command::kSurvey: return RunSurvey(*arguments);
    case Command::kSettings: return RunSettings(*arguments);
    default: return RunName(*arguments);
  }
}
