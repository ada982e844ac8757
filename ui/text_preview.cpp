// The converted head of a file.

#include "ui/text_preview.h"

#include <algorithm>
#include <fstream>
#include <iterator>

// ferrox
#include "analysis/macbinary.h"
#include "analysis/survey_flags.h"
#include "convert/ferrox_conv.h"
#include "text/cp932.h"

// Qt
#include <QTemporaryDir>

namespace ferrox::ui {
namespace {

// Enough for a screenful of ordinary lines; the pass works in blocks anyway.
constexpr std::int64_t kHeadBytes = 16384;

}  // namespace

QString ConvertedHead(const PreviewRequest& request, FileSurvey& survey, const ConversionSettings& settings,
                      const GaijiTable* gaiji) {
  if (!request.textCnv) return QStringLiteral("（テキスト変換をしないため、内容はそのまま出力されます）");
  MacBinaryInfo info;
  std::uint16_t flags = 0;
  SilentProgress quiet;
  const SurveyKind kind =
      survey.FileTypeChk(request.path, {settings.ChkSize, settings.BinRate, settings.ConvMode}, quiet, info, flags);
  if (!Surveyed(kind)) {
    return QStringLiteral("（ファイルを読めませんでした）");
  }
  std::int64_t start = 0;
  std::int64_t length = 0;
  if (kind == SurveyKind::MacBinary) {
    start = kMacBinaryHeaderSize;
    length = info.DataLength;
  } else {
    std::ifstream in(request.path, std::ios::binary | std::ios::ate);
    length = in ? static_cast<std::int64_t>(in.tellg()) : 0;
  }
  if (flags == 0) flags = survey::kForcedText;  // as the job does when text conversion is asked

  QTemporaryDir scratch;
  if (!scratch.isValid()) return QStringLiteral("（作業ﾌｫﾙﾀﾞを作れませんでした）");
  const std::string out = scratch.filePath(QStringLiteral("head.txt")).toStdString();
  // The EOF byte is left out: it belongs to the end of the file, not its head.
  // A MacBinary file naming a creator is read as Mac Japanese, as the job does.
  const bool macOrigin = kind == SurveyKind::MacBinary &&
                         info.Creator.find_first_not_of(std::string_view(" \0", 2)) != std::string::npos;
  const ConvOptions options{static_cast<std::uint16_t>(settings.ConvMode & ~conv_mode::kAppendEof),
                            settings.LineSize, gaiji, macOrigin};
  if (FerroxConv(out, request.path, start, std::min(length, kHeadBytes), kOpText, flags, false, options, quiet) != JobResult::Done) {
    return QStringLiteral("（変換できませんでした）");
  }
  std::ifstream head(out, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(head), std::istreambuf_iterator<char>()};
  QStringList lines = QString::fromStdString(cp932::ToUtf8(bytes)).split(QStringLiteral("\r\n"));
  if (length > kHeadBytes && !lines.isEmpty()) lines.removeLast();  // cut off in the middle
  if (lines.size() > request.lines) lines = lines.mid(0, request.lines);
  while (!lines.isEmpty() && lines.last().isEmpty()) lines.removeLast();
  return lines.join(QLatin1Char('\n'));
}

QString TieWarning(const std::string& path, FileSurvey& survey, const ConversionSettings& settings) {
  MacBinaryInfo info;
  std::uint16_t flags = 0;
  SilentProgress quiet;
  const SurveyKind kind = survey.FileTypeChk(path, {settings.ChkSize, settings.BinRate, settings.ConvMode}, quiet, info, flags);
  if ((!Surveyed(kind)) || flags == 0) return {};
  if ((flags & survey::kUtf8) != 0) return {};  // UTF-8 has no code bits, and needs none
  bool undecided = false;
  if ((flags & (survey::kSjis | survey::kJis | survey::kEuc)) == 0) {
    // No code although the surveyed part holds eight-bit bytes: every
    // stretch read both ways and the survey could not choose.
    std::ifstream in(path, std::ios::binary);
    in.seekg(kind == SurveyKind::MacBinary ? kMacBinaryHeaderSize : 0);
    std::string head(static_cast<std::size_t>(settings.ChkSize > 0 ? std::min<std::int64_t>(settings.ChkSize, kHeadBytes)
                                                                   : kHeadBytes),
                     '\0');
    in.read(head.data(), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(in.gcount()));
    undecided = std::any_of(head.begin(), head.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
  }
  const bool both = (flags & survey::kSjis) != 0 && (flags & survey::kEuc) != 0;
  if (!undecided && !both) return {};
  return QStringLiteral("注意：シフトJISとEUCのどちらとも読める文字があり、\n"
                        "　　　文字コードを決めきれませんでした。変換後の先頭を確かめてください。");
}

}  // namespace ferrox::ui
