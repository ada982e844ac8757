#pragma once
// Output names for files taken out of MacBinary: the suffix-table row for a
// type and creator, and the file name made from the Mac name.

#include <string>
#include <string_view>

#include "app/conversion_settings.h"
#include "suffix/suffix_table.h"

namespace ferrox {

// Index of the first row whose creator and type patterns fit (an empty column
// fits anything), or -1.
[[nodiscard]] int SuffixTableSearch(const SuffixTable& table, std::string_view type, std::string_view creator);

// Whether `fncChar` (UTF-8) may be FNCChar: exactly one character, not a
// control character, and not one of the characters it stands in for.
[[nodiscard]] bool FncCharAllowed(std::string_view fncChar);

// The file name (no folder) proposed for a Mac file, or "" when no usable
// name can be made. Reads ConvMode bit 2, FNCChar and FileMode bit 64.
[[nodiscard]] std::string FileNameRec(const SuffixTable& table, const ConversionSettings& settings,
                                      std::string_view name, std::string_view type, std::string_view creator);

}  // namespace ferrox
