// The Japanese survey report of one input entry.

#include "analysis/survey_report.h"

#include "analysis/mac_wrapper.h"
#include "suffix/file_name_rec.h"

// ferrox
#include "analysis/mac_codes.h"
#include "analysis/report_format.h"
#include "analysis/survey_flags.h"
#include "platform/file_attributes.h"
#include "platform/file_times.h"
#include "text/conv_mode.h"

// std
#include <system_error>

namespace ferrox {
namespace {

// FileMode bit: a folder may be the input entry.
constexpr std::uint16_t kFolderSelect = 16;

// The report and the sentence buffer in which clauses are gathered.
class ReportText {
 public:
  void Line(const std::string& text) { report_ += text + "\r\n"; }
  void Clause(const std::string& text) { sentence_ += text; }
  void Flush() {
    Line(sentence_);
    sentence_.clear();
  }
  // A short opening clause stays in the buffer so the next clause joins it.
  void FlushIfLong() {
    if (CountChars(sentence_) > 30) {
      Flush();
    }
  }
  void FlushIfAny() {
    if (!sentence_.empty()) {
      Flush();
    }
  }
  [[nodiscard]] std::string Take() { return std::move(report_); }

 private:
  std::string report_;
  std::string sentence_;
};

// The name the heading shows: the last component of a path (a folder given
// with a trailing "/" included), or a quoted list as it was typed.
std::string HeadingName(const std::string& entry) {
  const std::size_t first = entry.find_first_not_of(' ');
  if (first == std::string::npos) {
    return {};
  }
  std::string s = entry.substr(first);
  if (s.front() == '"') {
    return s.substr(0, s.find_last_not_of(' ') + 1);
  }
  while (s.size() > 1 && s.back() == '/') {
    s.pop_back();
  }
  const std::size_t slash = s.rfind('/');
  return slash == std::string::npos || s.size() == 1 ? s : s.substr(slash + 1);
}

std::string Heading(const std::string& entry) {
  return "--- [" + HeadingName(entry) + "]の" + "調査結果" + " ---";
}

void AppendAttributes(ReportText& out, std::uint16_t attr) {
  if (attr == 0) {
    return;
  }
  constexpr std::uint16_t kNotNormal =
      file_attr::kReadOnly | file_attr::kHidden | file_attr::kSystem | file_attr::kFolder;
  std::string text = "属性    :";
  if ((attr & kNotNormal) == 0) {
    text += "通常ファイル ";
  }
  if ((attr & file_attr::kReadOnly) != 0) {
    text += "読み取り専用ファイル ";
  }
  if ((attr & file_attr::kHidden) != 0) {
    text += "隠しファイル ";
  }
  if ((attr & file_attr::kSystem) != 0) {
    text += "システムファイル ";
  }
  if ((attr & file_attr::kFolder) != 0) {
    text += "フォルダ ";
  }
  out.Line(text);
}

void AppendLineEnds(ReportText& out, std::uint16_t f, bool codesFollow) {
  out.Clause("改行コードは");
  const std::uint16_t ends = f & survey::kLineEndMask;
  switch (ends) {
    case 0x10:
    case 0x20:
    case 0x40:
      out.Clause(ends == 0x10 ? "DOS/Windows形式で" : ends == 0x20 ? "Macintosh形式で" : "Unix形式で");
      out.Clause(codesFollow ? "、" : "す。");
      break;
    case 0x30:
    case 0x50:
    case 0x60:
    case 0x70:
      out.Clause(ends == 0x30   ? "DOS/Windows形式とMacintosh"
                 : ends == 0x50 ? "DOS/Windows形式とUnix"
                 : ends == 0x60 ? "Macintosh形式とUnix"
                                : "DOS/Windows形式とMacintosh形式とUnix");
      out.Clause("形式が混在して");
      out.Clause(codesFollow ? "おり、" : "います。");
      break;
    default:
      out.Clause("含まれて");
      out.Clause(codesFollow ? "おらず、" : "いません。");
      break;
  }
  out.FlushIfLong();
}

void AppendCodes(ReportText& out, std::uint16_t f) {
  if ((f & survey::kUtf8) != 0) {
    out.Clause((f & survey::kUtf8Bom) != 0 ? "コード体系はUTF-8（BOM付き）です。" : "コード体系はUTF-8です。");
    out.Flush();
    return;
  }
  switch (f & (survey::kSjis | survey::kJis | survey::kEuc)) {
    case 0x00: out.Clause("コード体系はASCIIコードのみです。"); break;
    case 0x02: out.Clause("コード体系はシフトJISです。"); break;
    case 0x04: out.Clause("コード体系はJISコードです。"); break;
    case 0x08: out.Clause("コード体系はEUCコードです。"); break;
    case 0x06: out.Clause("シフトJISとJISコードが混在しています。"); break;
    case 0x0A: out.Clause("シフトJISとEUCコードが混在しています。"); break;
    // Half-width katakana in this one sentence, as the program has always shown it.
    case 0x0C: out.Clause("JISｺｰﾄﾞとEUCコードが混在しています。"); break;
    default: out.Clause("シフトJISとJISコードとEUCコードが混在しています。"); break;
  }
  out.Flush();
}

void AppendHint(ReportText& out, std::uint16_t convMode) {
  std::string options;
  std::string kinds;
  if ((convMode & conv_mode::kFull) == 0) {
    options = "[JIS/EUCを認識する]";
    kinds = "他の文字コード";
  }
  if (!conv_mode::GaijiAsChar(convMode)) {
    options += (options.empty() ? "" : "と") + std::string("[外字を文字扱いする]");
    kinds += (kinds.empty() ? "" : "や") + std::string("外字コード");
  }
  if (options.empty()) {
    return;
  }
  out.Line("");
  out.Line("\u3000動作設定の" + options + "にチェックが無いので、");
  out.Line(kinds + "が含まれている" + "可能性もあります。");
}

// The Macintosh block of an unwrapped file whose sidecar reads well; nothing otherwise.
void AppendSidecarBlock(ReportText& out, const std::string& path, std::int64_t length, const std::string& sidecar,
                        const SuffixLookup& lookup) {
  SidecarOf file;
  if (sidecar.empty() || ReadAppleFile(sidecar, file.side) != AppleFileStatus::Ok || !file.side.HasFinderInfo) return;
  const std::string folder = path.substr(0, path.find_last_of('/') + 1);
  file.name = path.substr(folder.size());
  file.dataLength = length;
  file.sidecarName = sidecar.starts_with(folder) ? sidecar.substr(folder.size()) : sidecar;
  std::string block;
  AppendSidecarMacInfo(block, file, lookup ? lookup(file.side.FileType, file.side.Creator) : nullptr);
  out.Line(block.substr(0, block.size() - 2));
}

// The verdict sentences of the file `path` of `length` bytes (not 0) with the survey flag word `f`.
void AppendVerdict(ReportText& out, const std::string& path, SurveyKind r, std::int64_t length, std::uint16_t f,
                   const ReportSettings& s) {
  out.Line("");
  const bool cut = s.ChkSize >= 1 && s.ChkSize < length;
  if (cut) {
    const double percent = static_cast<double>(s.ChkSize) / static_cast<double>(length) * 100.0;
    out.Clause("先頭から " + FormatThousands(s.ChkSize) + " Byte (" + FormatOneDecimal(percent) +
               "％)");
  } else {
    out.Clause("全データ");
  }
  out.Clause("の調査結果、このファイルは");
  out.FlushIfLong();

  if (f == 0) {
    out.Clause("バイナリーファイルです。");
    out.Flush();
  } else {
    out.Clause("テキストファイル");
    out.Clause(cut ? "と思われます。" : "です。");
    out.Flush();
    if ((f & survey::kBinTolerated) != 0) {
      out.Line("ただし、このファイルには " + std::to_string(s.BinRate) +
               "％以下のバイナリーデータが含まれています。");
    }
    // UTF-8 is named even by the light survey: it is converted all the same.
    const bool utf8 = (f & survey::kUtf8) != 0;
    const bool codes = utf8 || (s.ConvMode & conv_mode::kFull) != 0;
    AppendLineEnds(out, f, codes);
    if (codes) {
      AppendCodes(out, f);
    }
    out.FlushIfAny();
    if (utf8 && (f & survey::kUtf8Decomposed) != 0) {
      out.Line("また、このテキストには分解された文字（濁点が分かれた「か゛」など）が含まれています。");
    } else if (!utf8 && (f & survey::kGaijiMask) != 0) {
      out.Line("また、このテキストには外字が含まれています。");
    }
    const std::int64_t dataStart = r == SurveyKind::MacBinary ? 128 : 0;
    if (ReadsAsShiftJis(f) && FileHoldsMacCodes(path, dataStart, cut ? s.ChkSize : 0)) {
      out.Line("このテキストには Mac の拡張文字（①、㈱など）が含まれています。");
    }
    const bool appendEof = (s.ConvMode & conv_mode::kAppendEof) != 0;
    const bool endsWithEof = (f & survey::kEndsWithEof) != 0;
    if (appendEof && !endsWithEof) {
      out.Line("ファイルの終端にはEOFがありません。");
    } else if (!appendEof && endsWithEof) {
      out.Line("ファイルの終端にはEOFが付いています。");
    }
  }
  if ((f & survey::kBinTolerated) != 0) {
    AppendHint(out, s.ConvMode);
  }
}

// The Macintosh block: of a MacBinary or wrapped file, or of a sidecar that lends its information.
void AppendMacInfo(ReportText& out, const std::string& path, SurveyKind r, const MacBinaryInfo& mac,
                   std::int64_t length, const SuffixLookup& lookup, const std::string& sidecar) {
  if (r == SurveyKind::MacBinary) {
    std::string block;
    AppendMacBinaryInfo(block, mac, lookup ? lookup(mac.FileType, mac.Creator) : nullptr);
    out.Line(block.substr(0, block.size() - 2));
  } else {
    WrappedMacFile wrapped;
    std::string error;
    if (ProbeMacWrapper(path, wrapped, error) != MacWrapper::None && error.empty()) {
      std::string block;
      AppendWrappedMacInfo(block, wrapped, lookup ? lookup(wrapped.FileType, wrapped.Creator) : nullptr);
      out.Line(block.substr(0, block.size() - 2));
    } else if (error.empty()) {
      AppendSidecarBlock(out, path, length, sidecar, lookup);
    }
  }
}

void AppendFileReport(ReportText& out, const std::string& path, SurveyKind r, std::uint16_t f,
                      const MacBinaryInfo& mac, const ReportSettings& s,
                      const SuffixLookup& lookup, const std::string& sidecar) {
  out.Line(Heading(path));
  FileTimes times;
  if (GetFileTimes(path, times) == 0) {
    out.Line("作成日時:" + FormatDateTime(times.Creation));
    out.Line("更新日時:" + FormatDateTime(times.LastWrite));
  }
  AppendAttributes(out, GetFileAttr(path).value_or(0));
  std::error_code ec;
  const auto length = static_cast<std::int64_t>(std::filesystem::file_size(path, ec));
  out.Line("サイズ  :" + FormatThousands(ec ? 0 : length) + " Byte");
  if (ec || length == 0) {
    return;
  }

  AppendVerdict(out, path, r, length, f, s);
  AppendMacInfo(out, path, r, mac, length, lookup, sidecar);
}

}  // namespace

SuffixLookup LookupIn(const SuffixTable& table) {
  return [&table](std::string_view type, std::string_view creator) -> const SuffixEntry* {
    const int row = SuffixTableSearch(table, type, creator);
    return row < 0 ? nullptr : &table[static_cast<std::size_t>(row)];
  };
}

std::string InfoTextSet(FileSurvey& survey, const std::string& path,
                        const std::vector<std::string>& expanded, const ReportSettings& settings,
                        const SuffixLookup& lookup, ProgressSink& sink, const std::string& sidecar) {
  if (path.empty()) {
    return {};
  }
  const SurveySettings surveySettings{settings.ChkSize, settings.BinRate, settings.ConvMode};
  MacBinaryInfo mac;
  std::uint16_t f = 0;
  const SurveyKind r = survey.FileTypeChk(path, surveySettings, sink, mac, f);
  ReportText out;
  if (r == SurveyKind::Unreadable) {
    out.Line("読込みできません。");
  } else if (r == SurveyKind::Folder && (settings.FileMode & kFolderSelect) == 0) {
    out.Line("[入力ﾌｧｲﾙ]にフォルダが設定されています。");
    out.Line("フォルダを指定するには[フォルダ選択を有効にする]にチェックが必要です。");
  } else if (r == SurveyKind::Ordinary || r == SurveyKind::MacBinary) {
    AppendFileReport(out, path, r, f, mac, settings, lookup, sidecar);
  } else if (!expanded.empty()) {
    out.Line(Heading(path));
    out.Line("");
    out.Line("以下の " + std::to_string(expanded.size()) + " 個のファイルが変換対象となります。");
    for (const std::string& name : expanded) {
      out.Line(name);
    }
  }
  return out.Take();
}

}  // namespace ferrox
