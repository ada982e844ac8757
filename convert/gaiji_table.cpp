#include "convert/gaiji_table.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>

#include "text/ascii_text.h"
#include "text/code_ranges.h"
#include "text/jis_pairs.h"

namespace ferrox {
namespace {

constexpr std::string_view kGeta = "\x81\xac";  // 〓

enum class Code { kSjis, kJis, kEuc };

// Key words are matched without regard to case: "code=euc" is what a user
// who typed it meant.
bool StartsWithKey(std::string_view line, std::string_view key) noexcept {
  return ascii::StartsWithNoCase(line, key);
}

std::string_view TrimBlanks(std::string_view s) noexcept {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

// Finds `sep` at a character boundary, so that a separator such as "\" never
// matches the trail byte of a double-byte character.
std::size_t FindSeparator(std::string_view line, std::string_view sep, std::size_t from) noexcept {
  std::size_t p = from;
  while (p + sep.size() <= line.size()) {
    if (line.compare(p, sep.size(), sep) == 0) return p;
    p += code_ranges::IsSjisLead(static_cast<std::uint8_t>(line[p])) ? 2 : 1;
  }
  return std::string_view::npos;
}

int HexDigit(char c) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  const char l = ascii::Lower(c);
  if (l >= 'a' && l <= 'f') return l - 'a' + 10;
  return -1;
}

// Four hex digits, first byte then second byte.
std::optional<std::pair<std::uint8_t, std::uint8_t>> ParseCode(std::string_view text) noexcept {
  if (text.size() != 4) return std::nullopt;
  int v[4];
  for (std::size_t k = 0; k < 4; ++k) {
    v[k] = HexDigit(text[k]);
    if (v[k] < 0) return std::nullopt;
  }
  return std::pair{static_cast<std::uint8_t>(v[0] * 16 + v[1]),
                   static_cast<std::uint8_t>(v[2] * 16 + v[3])};
}

// A code as written in the file's current code, stepped through its rows.
struct CodeCursor {
  Code code;
  int first;
  int second;

  [[nodiscard]] bool Valid() const noexcept {
    switch (code) {
      case Code::kJis:
        return first >= 0x21 && first <= 0x7E && second >= 0x21 && second <= 0x7E;
      case Code::kEuc:
        return first >= 0xA1 && first <= 0xFE && second >= 0xA1 && second <= 0xFE;
      case Code::kSjis:
        break;
    }
    return first <= 0xFF && second <= 0xFF;
  }

  // The next code: the next cell of the row, or the first cell of the next row.
  void Advance() noexcept {
    switch (code) {
      case Code::kSjis:
        if (second >= 0xFC) {
          second = 0x40;
          first = first == 0x9F ? 0xE0 : first + 1;
        } else {
          second = second == 0x7E ? 0x80 : second + 1;
        }
        break;
      case Code::kJis:
        if (second >= 0x7E) {
          second = 0x21;
          ++first;
        } else {
          ++second;
        }
        break;
      case Code::kEuc:
        if (second >= 0xFE) {
          second = 0xA1;
          ++first;
        } else {
          ++second;
        }
        break;
    }
  }

  [[nodiscard]] std::pair<std::uint8_t, std::uint8_t> ToSjis() const noexcept {
    const auto b1 = static_cast<std::uint8_t>(first);
    const auto b2 = static_cast<std::uint8_t>(second);
    std::pair<std::uint8_t, std::uint8_t> s{b1, b2};
    if (code == Code::kJis) JisToSjis(s.first, s.second, b1, b2);
    if (code == Code::kEuc) EucToSjis(s.first, s.second, b1, b2);
    return s;
  }
};

// Splits at CR LF, and also at a lone CR or LF, so that a table saved with
// Mac or Unix line ends still reads line by line.
std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  std::size_t start = 0;
  for (std::size_t p = 0; p < text.size(); ++p) {
    const char c = text[p];
    if (c != '\r' && c != '\n') continue;
    lines.push_back(text.substr(start, p - start));
    if (c == '\r' && p + 1 < text.size() && text[p + 1] == '\n') ++p;
    start = p + 1;
  }
  if (start < text.size()) lines.push_back(text.substr(start));
  return lines;
}

// The whole table file, when it is a regular file within the bound. Opened
// without blocking and checked on the descriptor: a pipe named as the table
// never holds the program up.
GaijiLoadProblem ReadWhole(const std::string& path, std::string& text) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return GaijiLoadProblem::kNone;  // missing or unreadable: the default table
  struct stat st {};
  GaijiLoadProblem problem = GaijiLoadProblem::kNone;
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    problem = GaijiLoadProblem::kNotAFile;
  } else if (st.st_size > static_cast<off_t>(kGaijiTableMaxBytes)) {
    problem = GaijiLoadProblem::kTooLarge;
  } else {
    char buffer[1 << 16];
    for (;;) {
      const ssize_t n = ::read(fd, buffer, sizeof buffer);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) break;
      text.append(buffer, static_cast<std::size_t>(n));
      if (text.size() > kGaijiTableMaxBytes) {  // grew while read
        text.clear();
        problem = GaijiLoadProblem::kTooLarge;
        break;
      }
    }
  }
  ::close(fd);
  return problem;
}

}  // namespace

GaijiTable::GaijiTable() { records_.push_back(Record{0, 0, std::string(kGeta)}); }

std::size_t GaijiTable::LoadGaijiTable(const std::string& path) {
  records_.assign(1, Record{0, 0, std::string(kGeta)});
  problem_ = GaijiLoadProblem::kNone;
  if (path.empty()) return 0;
  std::string text;
  problem_ = ReadWhole(path, text);
  if (problem_ != GaijiLoadProblem::kNone) return 0;  // the default table stays

  std::string separator = ",";
  Code code = Code::kSjis;
  for (const std::string_view line : SplitLines(text)) {
    if (StartsWithKey(line, "Code=")) {
      const std::string_view name = TrimBlanks(line.substr(5));
      if (ascii::EqualNoCase(name, "SJIS")) code = Code::kSjis;
      else if (ascii::EqualNoCase(name, "JIS")) code = Code::kJis;
      else if (ascii::EqualNoCase(name, "EUC")) code = Code::kEuc;
      continue;
    }
    if (StartsWithKey(line, "Punct=")) {
      // Taken as is, so a tab or a blank can separate; an empty one could not.
      if (line.size() > 6) separator = std::string(line.substr(6));
      continue;
    }
    if (StartsWithKey(line, "Default=")) {
      records_[0].replacement = std::string(line.substr(8));
      continue;
    }
    if (!line.empty() && line.front() == '/') continue;

    std::size_t sep = FindSeparator(line, separator, 0);
    if (sep == std::string_view::npos) continue;
    const auto parsed = ParseCode(TrimBlanks(line.substr(0, sep)));
    if (!parsed) continue;  // not a code: the line is skipped, the rest still loads
    CodeCursor cursor{code, parsed->first, parsed->second};
    if (!cursor.Valid()) continue;

    // Further separators carry replacements for the following codes, so one
    // line can fill a row: "8540,①,②,③".
    std::size_t from = sep + separator.size();
    for (;;) {
      const std::size_t next = FindSeparator(line, separator, from);
      const std::size_t stop = next == std::string_view::npos ? line.size() : next;
      const auto [s1, s2] = cursor.ToSjis();
      records_.push_back(Record{s1, s2, std::string(line.substr(from, stop - from))});
      if (next == std::string_view::npos) break;
      cursor.Advance();
      if (!cursor.Valid()) break;
      from = next + separator.size();
    }
  }

  // Stable, so that of two lines for one code the earlier one is found.
  std::stable_sort(records_.begin() + 1, records_.end(), [](const Record& a, const Record& b) {
    return a.first != b.first ? a.first < b.first : a.second < b.second;
  });
  return records_.size() - 1;
}

std::size_t GaijiTable::GaijiTableSearch(std::uint8_t first, std::uint8_t second) const noexcept {
  const auto begin = records_.begin() + 1;
  const auto it = std::lower_bound(begin, records_.end(), std::pair{first, second},
                                   [](const Record& r, const std::pair<std::uint8_t, std::uint8_t>& k) {
                                     return r.first != k.first ? r.first < k.first
                                                               : r.second < k.second;
                                   });
  if (it == records_.end() || it->first != first || it->second != second) return 0;
  return static_cast<std::size_t>(it - records_.begin());
}

std::size_t GaijiTable::GaijiSet(std::size_t index, std::uint8_t* out,
                                 std::ptrdiff_t o) const noexcept {
  const std::string& r = records_[index < records_.size() ? index : 0].replacement;
  if (!r.empty()) std::memcpy(out + o, r.data(), r.size());
  return r.size();
}

std::size_t GaijiTable::LongestReplacement() const noexcept {
  std::size_t longest = 0;
  for (const Record& r : records_) longest = std::max(longest, r.replacement.size());
  return longest;
}

}  // namespace ferrox
