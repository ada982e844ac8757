#pragma once
// The commands of `ferrox`. Each returns the program's exit status.

#include "app/conv_driver.h"
#include "cli/cli_args.h"

namespace ferrox::cli {

inline constexpr int kExitUsage = 64;
inline constexpr int kExitCancelled = 130;

[[nodiscard]] int RunConvert(const Arguments& arguments);
[[nodiscard]] int RunSurvey(const Arguments& arguments);
[[nodiscard]] int RunName(const Arguments& arguments);
[[nodiscard]] int RunSettings(const Arguments& arguments);

// The exit status for a driver result: 0, 1 input side, 2 output side,
// 3 settings, 130 cancelled.
[[nodiscard]] int ExitStatus(RunResult driverResult) noexcept;

}  // namespace ferrox::cli
