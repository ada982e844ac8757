#include "app/version.h"

namespace ferrox {
std::string ProgramVersion() {
  return std::to_string(FERROX_VERSION_MAJOR) + "." + std::to_string(FERROX_VERSION_MINOR);
}
}  // namespace ferrox
