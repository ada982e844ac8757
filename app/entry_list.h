#pragma once
// Splitting the text of a path box into names: one name, or quoted names
// joined by commas. The comma is the only separator.

#include <string>
#include <string_view>
#include <vector>

namespace ferrox {

// The names of a box's text, in order. A quoted name may hold commas; a name
// without its closing quote runs to the end; text after a name that is not
// introduced by a comma is ignored; a trailing comma adds no empty name.
[[nodiscard]] std::vector<std::string> CommaToDim(std::string_view text);

// The text trimmed of blanks (spaces and tabs) at both ends or one end.
[[nodiscard]] std::string_view TrimBlanks(std::string_view text) noexcept;
[[nodiscard]] std::string_view TrimLeftBlanks(std::string_view text) noexcept;
[[nodiscard]] std::string_view TrimRightBlanks(std::string_view text) noexcept;

// What a box text names, parsed once: nothing, a quoted list of names, one
// name with "*" or "?" in its last part, or one path (a file, a folder or
// nothing yet). `names` holds the list's names, or the one name cleaned as
// NormalizeEntry cleans it.
enum class EntryKind { Empty, List, Wildcard, Path };
struct BoxEntry {
  EntryKind kind = EntryKind::Empty;
  std::vector<std::string> names;
};
[[nodiscard]] BoxEntry ParseBoxEntry(std::string_view text);

// Joins names into a box text that CommaToDim reads back: each one quoted,
// separated by commas.
[[nodiscard]] std::string QuotedList(const std::vector<std::string>& names);

}  // namespace ferrox
