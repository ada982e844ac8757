#include "cli/cli_text.h"

#include <cstdlib>
#include <cstring>

namespace ferrox::cli {

bool JapaneseLocale() {
  static const bool japanese = [] {
    // An empty variable counts as unset, as in setlocale.
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
      const char* value = std::getenv(name);
      if (value != nullptr && *value != '\0') return std::strncmp(value, "ja", 2) == 0;
    }
    return false;
  }();
  return japanese;
}

const char* Tr(const char* english, const char* japanese) { return JapaneseLocale() ? japanese : english; }

}  // namespace ferrox::cli
