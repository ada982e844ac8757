#include "suffix/file_name_rec.h"

#include "suffix/suffix_pattern.h"
#include "suffix/utf8_chars.h"
#include "text/ascii_text.h"
#include "text/cp932.h"

namespace ferrox {

namespace {

// Longest name, in Shift JIS bytes, before the extension is added.
constexpr std::size_t kMaxNameBytes = 255;

// The nine characters that cannot stand in a file name, and the full-width
// forms that replace them.
char32_t FullWidthForm(char32_t c) {
  switch (c) {
    case U'\\': return U'\uFF3C';
    case U'/': return U'\uFF0F';
    case U':': return U'\uFF1A';
    case U'*': return U'\uFF0A';
    case U'?': return U'\uFF1F';
    case U'"': return U'\uFF02';
    case U'<': return U'\uFF1C';
    case U'>': return U'\uFF1E';
    case U'|': return U'\uFF5C';
    default: return 0;
  }
}

// Replaces the forbidden characters. NUL cannot reach a file name on this
// system at all, so it is dropped.
std::string Substitute(std::string_view text, const FileNameRules& rules) {
  std::string out;
  out.reserve(text.size());
  for (const char32_t c : utf8::Decode(text)) {
    if (c == 0) continue;
    if (const char32_t wide = FullWidthForm(c)) {
      if (rules.fixedChar) {
        out += rules.fncChar;
      } else {
        utf8::Append(out, wide);
      }
    } else {
      utf8::Append(out, c);
    }
  }
  return out;
}

}  // namespace

// Exactly one character, not a control character, not one it stands in for.
bool FncCharAllowed(std::string_view fncChar) {
  const auto chars = utf8::Decode(fncChar);
  // The round trip refuses bytes that are not UTF-8 (each decodes to U+FFFD).
  return chars.size() == 1 && chars[0] >= 0x20 && FullWidthForm(chars[0]) == 0 && utf8::Encode(chars) == fncChar;
}

namespace {


bool EndsWithExtension(std::string_view name, std::string_view extension) {
  if (name.size() < extension.size() + 1) return false;
  const std::string_view tail = name.substr(name.size() - extension.size() - 1);
  if (tail.front() != '.') return false;
  return ascii::EqualNoCase(tail.substr(1), extension);
}

}  // namespace

int SuffixTableSearch(const SuffixTable& table, std::string_view type, std::string_view creator) {
  const auto rows = table.Rows();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const SuffixEntry& row = rows[i];
    if (!row.Creator.empty() && !SuffixPatternMatch(creator, row.Creator)) continue;
    if (!row.FileType.empty() && !SuffixPatternMatch(type, row.FileType)) continue;
    return static_cast<int>(i);
  }
  return -1;
}

std::string FileNameRec(const SuffixTable& table, const FileNameRules& rules, std::string_view name,
                        std::string_view type, std::string_view creator) {
  const std::string name2(ascii::Trim(Substitute(name, rules)));
  if (name2.empty() || cp932::SjisWidth(name2) > kMaxNameBytes) return {};

  const int row = SuffixTableSearch(table, type, creator);
  if (row >= 0) {
    const std::string& extension = table[static_cast<std::size_t>(row)].Extension;
    if (extension.empty() || EndsWithExtension(name2, extension)) return name2;
    return name2 + "." + extension;
  }
  if (!rules.unknownName) return name2;
  // Type and creator become part of the name, so they get the same
  // substitution as the name itself.
  return name2 + "(" + std::string(ascii::Trim(Substitute(creator, rules))) + ")." +
         std::string(ascii::Trim(Substitute(type, rules)));
}

}  // namespace ferrox
