#include "app/entry_list.h"
#include "app/path_helpers.h"
#include "text/ascii_text.h"

namespace ferrox {

std::string_view TrimLeftBlanks(std::string_view text) noexcept { return ascii::TrimLeft(text, ascii::kBlanks); }

std::string_view TrimRightBlanks(std::string_view text) noexcept { return ascii::TrimRight(text, ascii::kBlanks); }

std::string_view TrimBlanks(std::string_view text) noexcept {
  return TrimRightBlanks(TrimLeftBlanks(text));
}

std::vector<std::string> CommaToDim(std::string_view text) {
  std::vector<std::string> names;
  std::string_view s = TrimBlanks(text);
  while (!s.empty()) {
    std::string_view name;
    if (s.front() == '"') {
      s.remove_prefix(1);
      const auto quote = s.find('"');
      if (quote != std::string_view::npos) {
        name = s.substr(0, quote);
        s = TrimLeftBlanks(s.substr(quote + 1));
      } else {
        name = s;
        s = {};
      }
    } else {
      const auto comma = s.find(',');
      if (comma != std::string_view::npos) {
        name = TrimRightBlanks(s.substr(0, comma));
        s = TrimLeftBlanks(s.substr(comma));
      } else {
        name = s;
        s = {};
      }
    }
    names.emplace_back(name);
    if (!s.empty() && s.front() == ',') {
      s = TrimLeftBlanks(s.substr(1));
    } else {
      s = {};  // whatever follows a name without a comma is ignored
    }
  }
  return names;
}

std::string QuotedList(const std::vector<std::string>& names) {
  std::string text;
  for (const auto& name : names) {
    if (!text.empty()) text += ',';
    text += '"';
    text += name;
    text += '"';
  }
  return text;
}

BoxEntry ParseBoxEntry(std::string_view text) {
  const std::string_view trimmed = TrimBlanks(text);
  if (trimmed.empty()) return {};
  if (trimmed.front() == '"') return {EntryKind::List, CommaToDim(trimmed)};
  return {HasWildcard(trimmed) ? EntryKind::Wildcard : EntryKind::Path, {NormalizeEntry(trimmed)}};
}

}  // namespace ferrox
