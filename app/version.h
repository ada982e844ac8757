#pragma once
#include <string>

namespace ferrox {
// The running version as major "." minor, for example "2.9".
[[nodiscard]] std::string ProgramVersion();
}  // namespace ferrox
