#pragma once
// Output names for files taken out of MacBinary: the suffix-table row for a
// type and creator, and the file name made from the Mac name.

#include <string>
#include <string_view>

#include "suffix/suffix_table.h"

namespace ferrox {

// Index of the first row whose creator and type patterns fit (an empty column
// fits anything), or -1.
[[nodiscard]] int SuffixTableSearch(const SuffixTable& table, std::string_view type, std::string_view creator);

// What the naming reads from the settings.
struct FileNameRules {
  bool fixedChar = false;      // forbidden characters become fncChar, not their full-width forms
  std::string fncChar = "_";   // UTF-8
  bool unknownName = true;     // a type with no table row names the file name(creator).type
};

// Whether `fncChar` (UTF-8) may be FNCChar: exactly one character, not a
// control character, and not one of the characters it stands in for.
[[nodiscard]] bool FncCharAllowed(std::string_view fncChar);

// The file name (no folder) proposed for a Mac file, or "" when no usable
// name can be made.
[[nodiscard]] std::string FileNameRec(const SuffixTable& table, const FileNameRules& rules,
                                      std::string_view name, std::string_view type, std::string_view creator);

}  // namespace ferrox
