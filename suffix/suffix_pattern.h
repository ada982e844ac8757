#pragma once
// Type and creator patterns of the suffix table: "?" one character, "*" any
// run, "\" makes the next character literal; case-sensitive, whole string.
// Also the "optimal order" of rows: specific patterns before "?" before "*".

#include <string_view>

#include "suffix/suffix_entry.h"
#include "suffix/suffix_table.h"

namespace ferrox {

// True when `pattern` matches all of `text` (both UTF-8).
[[nodiscard]] bool SuffixPatternMatch(std::string_view text, std::string_view pattern);

// Positive: a ranks before b; negative: b before a; 0: equal rank.
[[nodiscard]] int SuffixPatternCompare(std::string_view a, std::string_view b);

// Positive: x ranks before y. Type first, then creator (empty = "*"), then the
// extension and the description in ascending order.
[[nodiscard]] int SuffixEntryCompare(const SuffixEntry& x, const SuffixEntry& y);

// Stable bubble sort of the rows into the optimal order. `selected` is a row
// index (or -1); returns where that row stands afterwards.
int SuffixTableSort(SuffixTable& table, int selected);

}  // namespace ferrox
