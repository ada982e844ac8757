#include "suffix/suffix_pattern.h"

#include <utility>
#include <vector>

#include "suffix/utf8_chars.h"
#include "text/glob_match.h"

namespace ferrox {

namespace {

struct PatternChar {
  enum Kind { kLiteral, kOne, kAny } kind;
  char32_t c;
};

// "\" makes the next character literal; a "\" at the very end is dropped.
std::vector<PatternChar> Tokenize(std::u32string_view pattern) {
  std::vector<PatternChar> out;
  out.reserve(pattern.size());
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const char32_t c = pattern[i];
    if (c == U'\\') {
      if (++i == pattern.size()) break;
      out.push_back({PatternChar::kLiteral, pattern[i]});
    } else if (c == U'?') {
      out.push_back({PatternChar::kOne, c});
    } else if (c == U'*') {
      out.push_back({PatternChar::kAny, c});
    } else {
      out.push_back({PatternChar::kLiteral, c});
    }
  }
  return out;
}

int Sign(int value) { return (value > 0) - (value < 0); }

}  // namespace

bool SuffixPatternMatch(std::string_view text, std::string_view pattern) {
  const std::u32string s = utf8::Decode(text);
  const std::vector<PatternChar> p = Tokenize(utf8::Decode(pattern));
  return GlobMatch(
      p.size(), s.size(), [&p](std::size_t i) { return p[i].kind == PatternChar::kAny; },
      [&p, &s](std::size_t i, std::size_t at) -> std::size_t {
        return p[i].kind == PatternChar::kOne || p[i].c == s[at] ? 1 : 0;
      });
}

int SuffixPatternCompare(std::string_view aText, std::string_view bText) {
  const std::u32string a = utf8::Decode(aText);
  const std::u32string b = utf8::Decode(bText);
  // Class of the character at `i`, stepping past an escaping "\"; false when
  // the pattern ends right after the "\".
  auto classify = [](const std::u32string& p, std::size_t& i, int& kind, char32_t& c) {
    c = p[i];
    if (c == U'\\') {
      if (++i == p.size()) return false;
      c = p[i];
      kind = 0;
    } else {
      kind = c == U'?' ? 1 : c == U'*' ? 2 : 0;
    }
    return true;
  };

  std::size_t i = 0, j = 0;
  bool bothStars = false;
  while (i < a.size() && j < b.size()) {
    bothStars = false;
    int ka = 0, kb = 0;
    char32_t ca = 0, cb = 0;
    if (!classify(a, i, ka, ca) || !classify(b, j, kb, cb)) break;
    if (ka != kb) {
      if (ka == 2) return -1;
      if (kb == 2) return 1;
      return ka == 1 ? -1 : 1;
    }
    if (ca != cb) return ca < cb ? 1 : -1;
    if (ka == 2) bothStars = true;
    ++i;
    ++j;
  }
  const auto remA = static_cast<int>(a.size() - i);
  const auto remB = static_cast<int>(b.size() - j);
  return bothStars ? remA - remB : remB - remA;
}

int SuffixEntryCompare(const SuffixEntry& x, const SuffixEntry& y) {
  auto orAny = [](const std::string& s) -> std::string_view { return s.empty() ? std::string_view("*") : s; };
  if (const int r = SuffixPatternCompare(orAny(x.FileType), orAny(y.FileType))) return r;
  if (const int r = SuffixPatternCompare(orAny(x.Creator), orAny(y.Creator))) return r;
  if (const int r = x.Extension.compare(y.Extension)) return -Sign(r);
  return -Sign(x.Description.compare(y.Description));
}

int SuffixTableSort(SuffixTable& table, int selected) {
  const std::size_t n = table.RowCount();
  bool swapped = true;
  while (swapped && n > 1) {
    swapped = false;
    for (std::size_t i = 0; i + 1 < n; ++i) {
      if (SuffixEntryCompare(table[i], table[i + 1]) >= 0) continue;
      std::swap(table[i], table[i + 1]);
      swapped = true;
      const auto si = static_cast<int>(i);
      if (selected == si) {
        selected = si + 1;
      } else if (selected == si + 1) {
        selected = si;
      }
    }
  }
  return selected;
}

}  // namespace ferrox
