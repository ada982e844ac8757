#include "suffix/suffix_edit_rules.h"

#include "suffix/utf8_chars.h"
#include "text/ascii_text.h"
#include "text/code_ranges.h"
#include "text/cp932.h"

namespace ferrox {

namespace {

std::string Trim(std::string_view s) { return std::string(ascii::Trim(s)); }

// A type or creator box: printable ASCII and at most four pattern characters.
bool IsTypePattern(const std::string& text) { return IsAlpha(text) && SuffixPatternLength(Trim(text)) < 5; }

std::string QuotedOrNone(const std::string& s) { return s.empty() ? "無し" : "\"" + s + "\""; }

}  // namespace

bool IsAlpha(std::string_view text) {
  for (const char c : text) {
    if (c < ' ' || c > '~') return false;  // also every byte of a non-ASCII character
  }
  return true;
}

bool IsSuffixName(std::string_view text) { return text.find_first_of("\\/:*?<>|\".") == std::string_view::npos; }

std::size_t SuffixPatternLength(std::string_view pattern) {
  const std::u32string chars = utf8::Decode(pattern);
  std::size_t length = 0;
  for (std::size_t i = 0; i < chars.size(); ++i) {
    if (chars[i] == U'\\') {
      if (++i < chars.size()) ++length;
    } else if (chars[i] != U'*') {
      ++length;
    }
  }
  return length;
}

std::string LeftFormat(std::string_view text, std::size_t width) {
  const std::string bytes = cp932::FromUtf8Lossy(text);
  if (bytes.size() <= width) return std::string(text) + std::string(width - bytes.size(), ' ');
  if (width == 0) return {};
  // Whole characters up to byte width-1; the last column holds the cut mark.
  std::size_t i = 0;
  for (;;) {
    const std::size_t len = code_ranges::IsSjisLead(static_cast<std::uint8_t>(bytes[i])) ? 2 : 1;
    if (i + len > width - 1) break;
    i += len;
  }
  if (i == width - 1) return cp932::ToUtf8(std::string_view(bytes).substr(0, i)) + "~";
  return cp932::ToUtf8(std::string_view(bytes).substr(0, i)) + "～";
}

std::string SuffixListLine(const SuffixEntry& row) {
  std::string line = " ";
  line += LeftFormat(row.Extension, 8) + " " + LeftFormat(row.FileType, 8) + " " +
          LeftFormat(row.Creator, 8) + " " + row.Description;
  return line;
}

SuffixEditResult ValidateSuffixEdit(const std::string& extension, const std::string& type,
                                    const std::string& creator, const std::string& description) {
  SuffixEditResult result;
  if (extension.empty() && type.empty() && creator.empty() && description.empty()) return result;

  result.kind = SuffixEditResult::Kind::kRefused;
  if (!extension.empty()) {
    const std::string lower = ascii::Lower(ascii::TrimRight(extension));
    // "bak" is the program's own backup extension.
    if (Trim(extension).empty() || lower == "bak" || !IsSuffixName(extension)) {
      result.message = "拡張子が不正です。";
      return result;
    }
  }
  if (!IsTypePattern(type)) {
    result.message = "タイプが不正です。";
    return result;
  }
  if (!IsTypePattern(creator)) {
    result.message = "クリエーターが不正です。";
    return result;
  }
  if (Trim(type).empty() && Trim(creator).empty()) {
    result.message = "タイプかクリエーター何れかの設定が必要です。";
    return result;
  }
  result.kind = SuffixEditResult::Kind::kAccepted;
  result.row = SuffixEntry{extension, Trim(type), Trim(creator), Trim(description)};
  return result;
}

std::string SuffixDeleteQuestion(const SuffixEntry& row) {
  return "拡張子=" + QuotedOrNone(row.Extension) + " ﾀｲﾌﾟ=" + QuotedOrNone(row.FileType) +
         " ｸﾘｴｰﾀ=" + QuotedOrNone(row.Creator) + "\n説明「" + row.Description + "」\n\n上の設定を削除します";
}

}  // namespace ferrox
