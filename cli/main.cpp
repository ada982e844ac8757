// ferrox: the command-line program over the Ferrox engine.

#include <cstdio>
#include <string>
#include <vector>

#include "app/version.h"
#include "cli/cli_args.h"
#include "cli/commands.h"
#include "text/cp932.h"

int main(int argc, char** argv) {
  using namespace ferrox::cli;
  const std::vector<std::string> args(argv + 1, argv + argc);
  std::string error;
  const auto arguments = ParseArguments(args, error);
  if (!arguments) {
    std::fprintf(stderr, "ferrox: %s\nTry 'ferrox --help'.\n", error.c_str());
    return kExitUsage;
  }
  switch (arguments->command) {
    case Command::kHelp:
      std::fputs(UsageText(), stdout);
      return args.empty() ? kExitUsage : 0;
    case Command::kVersion:
      std::printf("ferrox %s\n", ferrox::ProgramVersion().c_str());
      return 0;
    default:
      break;
  }
  if (!ferrox::cp932::Available()) {
    std::fprintf(stderr, "ferrox: iconv on this system cannot convert CP932\n");
    return 1;
  }
  switch (arguments->command) {
    case Command::kConvert: return RunConvert(*arguments);
    case Command::kSurvey: return RunSurvey(*arguments);
    default: return RunName(*arguments);
  }
}
