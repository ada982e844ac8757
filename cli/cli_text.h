#pragma once
// The language of the command line's own words: --help, usage errors and the
// lines the command line adds. Japanese when the locale says so (LC_ALL, else
// LC_MESSAGES, else LANG begins with "ja"), English otherwise. The messages of
// the conversion itself are Japanese whatever the locale.

#include <string>

namespace ferrox::cli {

[[nodiscard]] bool JapaneseLocale();

// The English or the Japanese text, by the locale.
[[nodiscard]] const char* Tr(const char* english, const char* japanese);

}  // namespace ferrox::cli
