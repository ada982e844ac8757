#pragma once
// The rules of the suffix table editor that do not need a window: what a
// valid extension, type and creator are, and how a row is shown in the list.

#include <cstddef>
#include <string>
#include <string_view>

#include "suffix/suffix_entry.h"

namespace ferrox {

// Every character is printable ASCII (" " to "~").
[[nodiscard]] bool IsAlpha(std::string_view text);

// None of \ / : * ? < > | " and "." occurs in the text.
[[nodiscard]] bool IsSuffixName(std::string_view text);

// Characters of a type or creator pattern: "\" and "*" do not count, the
// character after "\" and "?" count one each.
[[nodiscard]] std::size_t SuffixPatternLength(std::string_view pattern);

// Pads with spaces or cuts to exactly `width` Shift JIS bytes; a cut text ends
// in "~" (or "～" when a double-byte character would be split).
[[nodiscard]] std::string LeftFormat(std::string_view text, std::size_t width);

// One line of the editor's list for a row.
[[nodiscard]] std::string SuffixListLine(const SuffixEntry& row);

struct SuffixEditResult {
  enum class Kind {
    kAccepted,  // `row` holds the new row
    kNothing,   // all boxes empty: close without a row
    kRefused,   // `message` says why; the dialog stays open
  };
  Kind kind = Kind::kNothing;
  SuffixEntry row;
  std::string message;
};

// The checks of the edit dialog's OK button, in order.
[[nodiscard]] SuffixEditResult ValidateSuffixEdit(const std::string& extension, const std::string& type,
                                                  const std::string& creator, const std::string& description);

// The question asked before a row is deleted.
[[nodiscard]] std::string SuffixDeleteQuestion(const SuffixEntry& row);

inline constexpr const char* kSuffixResetQuestion = "拡張子の設定を初期状態に戻します。宜しいですか？";
inline constexpr const char* kSuffixSortQuestion = "拡張子の設定を最適な順番に並べ替えます。宜しいですか？";

}  // namespace ferrox
