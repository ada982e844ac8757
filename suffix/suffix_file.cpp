// Reading and writing SfxTbl.txt, and its backup SfxTbl.old.

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <unistd.h>

#include "suffix/suffix_table.h"
#include "text/ascii_text.h"
#include "text/cp932.h"

namespace ferrox {

namespace {

namespace fs = std::filesystem;

// Positions and the row counter of the table file have always been 16-bit:
// a line end past this byte (1-based) or a row past this count stops the load.
constexpr std::size_t kMaxPosition = 32767;
constexpr std::size_t kMaxRows = 32767;

constexpr std::string_view kCrLf = "\r\n";

bool StartsWithPunct(std::string_view line) {
  return ascii::StartsWithNoCase(line, "punct=");
}

// Cuts a line into up to four fields at `sep`; the fourth ends at the next
// separator, anything after it is dropped.
SuffixEntry SplitRow(std::string_view line, std::string_view sep) {
  std::string* fields[4];
  SuffixEntry row;
  fields[0] = &row.Extension;
  fields[1] = &row.FileType;
  fields[2] = &row.Creator;
  fields[3] = &row.Description;
  std::string_view rest = line;
  for (std::size_t k = 0; k < 4; ++k) {
    const std::size_t p = rest.find(sep);
    if (p == std::string_view::npos) {
      fields[k]->assign(rest);
      break;
    }
    fields[k]->assign(rest.substr(0, p));
    rest.remove_prefix(p + sep.size());
  }
  if (!row.Extension.empty() && row.Extension.front() == '.') row.Extension.erase(0, 1);
  return row;
}

fs::path TablePath(const std::string& folder, const char* name) { return fs::path(folder) / name; }

// True when "\r\n" occurs in the stream from its current position on.
bool HasCrLfAhead(std::ifstream& in) {
  char buf[65536];
  char previous = 0;
  while (in) {
    in.read(buf, sizeof buf);
    const auto got = static_cast<std::size_t>(in.gcount());
    if (got == 0) break;
    if (previous == '\r' && buf[0] == '\n') return true;
    if (std::string_view(buf, got).find(kCrLf) != std::string_view::npos) return true;
    previous = buf[got - 1];
  }
  return false;
}

std::string Today() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[16];
  std::strftime(text, sizeof text, "%Y/%m/%d", &local);
  return text;
}

}  // namespace

SuffixLoadStatus SuffixTableParse(SuffixTable& table, std::string_view cp932Text) {
  std::string separator = "\t";
  std::size_t pos = 0;
  for (;;) {
    const std::size_t end = cp932Text.find(kCrLf, pos);
    if (end == std::string_view::npos) break;  // text after the last CR LF is not a line
    if (end + 1 > kMaxPosition) return SuffixLoadStatus::kTooLarge;
    const std::string line = cp932::ToUtf8(cp932Text.substr(pos, end - pos));
    pos = end + kCrLf.size();

    if (StartsWithPunct(line)) {
      if (line.size() > 6) separator = line.substr(6);
      continue;
    }
    if (!line.empty() && line.front() == '/') continue;
    if (line.find(separator) == std::string::npos) continue;
    if (table.RowCount() >= kMaxRows) return SuffixLoadStatus::kTooManyRows;
    table.Append(SplitRow(line, separator));
  }
  return SuffixLoadStatus::kLoaded;
}

SuffixLoadResult SuffixTableLoad(SuffixTable& table, const std::string& folder) {
  SuffixLoadResult result;
  const fs::path path = TablePath(folder, kSuffixTableFile);
  result.path = path.string();

  std::error_code ec;
  if (!fs::exists(path, ec) && !ec) {
    SuffixTableDefault(table);
    result.status = SuffixLoadStatus::kDefault;
    return result;
  }
  const std::uintmax_t size = fs::file_size(path, ec);
  if (ec || size == 0) {
    table.Clear();
    result.status = SuffixLoadStatus::kEmptyFile;
    return result;
  }

  // Only the first kMaxPosition + 1 bytes can hold lines that load; beyond
  // them a line end means the file is too large, anything else is ignored.
  std::ifstream in(path, std::ios::binary);
  std::string head(static_cast<std::size_t>(std::min<std::uintmax_t>(size, kMaxPosition + 1)), '\0');
  if (!in || !in.read(head.data(), static_cast<std::streamsize>(head.size()))) {
    // Unreadable: whatever the caller held stays.
    result.status = SuffixLoadStatus::kUnreadable;
    return result;
  }
  SuffixTable loaded;
  result.status = SuffixTableParse(loaded, head);
  if (result.status == SuffixLoadStatus::kLoaded && size > head.size()) {
    // A CR at the last byte of `head` whose LF follows also counts.
    in.seekg(static_cast<std::streamoff>(kMaxPosition), std::ios::beg);
    if (HasCrLfAhead(in)) result.status = SuffixLoadStatus::kTooLarge;
  }
  table = std::move(loaded);
  return result;
}

std::string SuffixLoadMessage(const SuffixLoadResult& result) {
  switch (result.status) {
    case SuffixLoadStatus::kTooLarge:
    case SuffixLoadStatus::kTooManyRows:
      return "拡張子定義ファイル「" + result.path + "」が大きすぎるため、途中までしか読み込めませんでした。";
    case SuffixLoadStatus::kUnreadable:
      return "拡張子定義ファイル「" + result.path + "」を読み込めませんでした。";
    default:
      return {};
  }
}

bool SuffixTableBackup(const std::string& folder) {
  const fs::path table = TablePath(folder, kSuffixTableFile);
  const fs::path backup = TablePath(folder, kSuffixTableBackupFile);
  std::error_code ec;
  if (!fs::exists(table, ec)) return false;
  if (fs::exists(backup, ec)) {
    if (!fs::remove(backup, ec) || ec) return false;
  }
  return fs::copy_file(table, backup, ec) && !ec;
}

std::string SuffixTableText(const SuffixTable& table, const std::string& date) {
  const std::string rule = "/" + std::string(78, '-') + "/\r\n";
  std::string text = rule;
  text += "/ Ferrox 拡張子定義ファイル" + std::string(18, ' ') + "by Ferrox v2.9 " + date + " /\r\n";
  text += rule;
  text += "/このファイルは Ferrox が自動で書き換えます。直接編集しないで下さい。\r\n";
  text += "/一応、ヘルプに説明が書いてあります。\r\n";
  for (const SuffixEntry& row : table.Rows()) {
    text += row.Extension + "\t" + row.FileType;
    if (!row.Creator.empty() || !row.Description.empty()) text += "\t" + row.Creator;
    if (!row.Description.empty()) text += "\t" + row.Description;
    text += "\r\n";
  }
  return text;
}

bool SuffixTableSave(const SuffixTable& table, const std::string& folder) {
  const std::string bytes = cp932::FromUtf8Lossy(SuffixTableText(table, Today()));
  const fs::path target = TablePath(folder, kSuffixTableFile);
  fs::path temp = target;
  temp += ".new" + std::to_string(::getpid());
  {
    std::ofstream out(temp, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) {
      std::error_code ignored;
      fs::remove(temp, ignored);
      return false;
    }
  }
  std::error_code ec;
  fs::rename(temp, target, ec);
  if (ec) {
    fs::remove(temp, ec);
    return false;
  }
  return true;
}

}  // namespace ferrox
