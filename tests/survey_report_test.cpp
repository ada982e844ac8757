// The survey report: whole texts, byte for byte.

#include "analysis/survey_report.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/report_format.h"
#include "helpers/binhex_encoder.h"
#include "helpers/macbinary_builder.h"
#include "helpers/scratch_dir.h"
#include "platform/file_times.h"

namespace ferrox {
namespace {

using namespace std::literals;

std::string Lines(std::initializer_list<std::string_view> lines) {
  std::string s;
  for (const std::string_view line : lines) s.append(line).append("\r\n");
  return s;
}

class SurveyReportTest : public ::testing::Test {
 protected:
  // Writes a sample whose modification time is fixed, and returns the heading
  // and the two date lines the report must show. The birth time cannot be set
  // on Linux, so its line is read back from the file.
  std::string Sample(const std::string& name, std::string_view bytes) {
    const std::string path = dir_.Write(name, bytes).string();
    FileTimes times;
    times.LastWrite = {2003, 5, 4, 9, 5, 0, 0, 0};
    times.LastAccess = times.LastWrite;
    EXPECT_EQ(SetFileTimes(path, times), 0);
    EXPECT_EQ(GetFileTimes(path, times), 0);
    return Lines({"--- [" + name + "]の調査結果 ---", "作成日時:" + FormatDateTime(times.Creation),
                  "更新日時:2003/05/04(日) 09:05:00"});
  }

  std::string Report(const std::string& path, const ReportSettings& settings,
                     const std::vector<std::string>& expanded = {}) {
    return InfoTextSet(survey_, path, expanded, settings, lookup_, sink_);
  }
  std::string ReportOn(const char* name, const ReportSettings& settings) {
    return Report((dir_.Path() / name).string(), settings);
  }

  testing::ScratchDir dir_;
  FileSurvey survey_;
  SilentProgress sink_;
  SuffixEntry text_{"txt", "TEXT", "*", "テキスト"};
  std::string lookedUp_;
  SuffixLookup lookup_ = [this](std::string_view type, std::string_view creator) {
    lookedUp_ = std::string(type) + "/" + std::string(creator);
    return type == "TEXT" ? &text_ : nullptr;
  };
};

const std::string_view kPlain = "属性    :通常ファイル ";
const std::string_view kText = "全データの調査結果、このファイルはテキストファイルです。";
const std::string_view kAscii = "改行コードはDOS/Windows形式で、コード体系はASCIIコードのみです。";

TEST_F(SurveyReportTest, OneFile) {
  std::string cut;
  while (cut.size() < 20000) cut += "line of text\x01 here\n";  // one binary byte in 19
  cut.resize(20000);
  const std::string hint = "abc\x01" "def\r\n" + std::string(100, 'x');
  const std::string sjisLine = "\x93\xfa\x96\x7b\x8c\xea\x82\xcc\x83\x65\x83\x4c\x83\x58\x83\x67\r\n";
  const std::string hqx = testing::EncodeBinHex({"\x95\x5c\x8e\xa6.txt", "TEXT", "ttxt", "abc\r\nxyz", std::string(20, 'r')});
  // body: the report after the heading and the dates.
  struct { const char* name; std::string bytes; ReportSettings settings; std::string body; } const cases[] = {
      {"sjis.txt", sjisLine + sjisLine + sjisLine + "end\r\n", {10000, 3, 12, 117},
       Lines({kPlain, "サイズ  :59 Byte", "", kText,
              "改行コードはDOS/Windows形式で、コード体系はシフトJISです。"})},
      {"apple.txt", sjisLine + "\x85\x40\r\n", {10000, 3, 12, 117},
       Lines({kPlain, "サイズ  :22 Byte", "", kText,
              "改行コードはDOS/Windows形式で、コード体系はシフトJISです。",
              "また、このテキストには外字が含まれています。",
              "このテキストには Mac の拡張文字（①、㈱など）が含まれています。"})},
      {"euc.txt", "\xb4\xc1\xa1\xfe\r\n\xb4\xc1\n\xb4\xc1\rabc", {10000, 3, 5, 117},
       Lines({kPlain, "サイズ  :15 Byte", "", kText,
              "改行コードはDOS/Windows形式とMacintosh形式とUnix形式が混在しており、",
              "コード体系はEUCコードです。", "ファイルの終端にはEOFがありません。"})},
      {"jis.txt", "\x1b$B\x46\x7c\x2d\x21\x1b(B\r\nabc\x1a", {10000, 3, 12, 117},
       Lines({kPlain, "サイズ  :16 Byte", "", kText,
              "改行コードはDOS/Windows形式で、コード体系はJISコードです。",
              "また、このテキストには外字が含まれています。", "ファイルの終端にはEOFが付いています。"})},
      {".data.bin", "\x00\x01\x02\x03 binary"s, {10000, 3, 12, 117},  // made read-only below
       Lines({"属性    :読み取り専用ファイル 隠しファイル ", "サイズ  :11 Byte", "",
              "全データの調査結果、このファイルはバイナリーファイルです。"})},
      {"empty.txt", "", {10000, 3, 12, 117}, Lines({kPlain, "サイズ  :0 Byte"})},
      {"note.bin",
       testing::MacBinaryHeaderBytes({"\x95\x5c\x8e\xa6.txt", "TEXT", "ttxt", 8, 20, 3134883900u, 0x80000000u}) +
           "abc\r\nxyz" + std::string(20, '\0'),
       {10000, 3, 12, 117},
       Lines({kPlain, "サイズ  :156 Byte", "", kText, kAscii, "",
              "このファイルにはMacBinaryが付加されています。", "以下は Macintosh での情報です。",
              "作成日時          :2003/05/04(日) 09:05:00", "更新日時          :1972/01/19(水) 03:14:08",
              "データフォーク    :8 Byte", "リソースフォーク  :20 Byte", "ファイルタイプ    :[TEXT]",
              "ファイルクリエータ:[ttxt]", "対応する拡張子は[.txt] (テキスト)です。",
              "オリジナルのファイル名は[表示.txt]です。"})},
      {"note.hqx", hqx, {10000, 3, 12, 117},  // the data fork is surveyed; BinHex carries no dates
       Lines({kPlain, "サイズ  :" + std::to_string(hqx.size()) + " Byte", "", kText, kAscii, "",
              "このファイルはBinHex 4.0形式です。", "以下は Macintosh での情報です。",
              "データフォーク    :8 Byte", "リソースフォーク  :20 Byte", "ファイルタイプ    :[TEXT]",
              "ファイルクリエータ:[ttxt]", "対応する拡張子は[.txt] (テキスト)です。",
              "オリジナルのファイル名は[表示.txt]です。"})},
      {"cut.txt", cut, {10000, 6, 0, 117},
       Lines({kPlain, "サイズ  :20,000 Byte", "", "先頭から 10,000 Byte (50.0％)の調査結果、このファイルは",
              "テキストファイルと思われます。",
              "ただし、このファイルには 6％以下のバイナリーデータが含まれています。", "改行コードはUnix形式です。",
              "", "　動作設定の[JIS/EUCを認識する]と[外字を文字扱いする]にチェックが無いので、",
              "他の文字コードや外字コードが含まれている可能性もあります。"})},
      // The hint names only the options that are off.
      {"hint.txt", hint, {10000, 3, 4, 117},
       Lines({kPlain, "サイズ  :109 Byte", "", kText, "ただし、このファイルには 3％以下のバイナリーデータが含まれています。",
              kAscii, "", "　動作設定の[外字を文字扱いする]にチェックが無いので、", "外字コードが含まれている可能性もあります。"})},
      // UTF-8 is named even by the light survey; BOM and decomposed characters are told.
      {"mac.txt", "\xef\xbb\xbf\xe3\x81\x8b\xe3\x82\x99\xe6\x97\xa5\nabc", {10000, 3, 0, 117},
       Lines({kPlain, "サイズ  :16 Byte", "", kText, "改行コードはUnix形式で、コード体系はUTF-8（BOM付き）です。",
              "また、このテキストには分解された文字（濁点が分かれた「か゛」など）が含まれています。"})},
      {"nfc.txt", "\xe3\x81\x8c\xe6\x97\xa5\r\nabc", {10000, 3, 12, 117},
       Lines({kPlain, "サイズ  :11 Byte", "", kText, "改行コードはDOS/Windows形式で、コード体系はUTF-8です。"})},
      {"nohint.txt", hint, {10000, 3, 12, 117},
       Lines({kPlain, "サイズ  :109 Byte", "", kText, "ただし、このファイルには 3％以下のバイナリーデータが含まれています。",
              kAscii})},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string head = Sample(c.name, c.bytes);
    if (c.name[0] == '.') chmod((dir_.Path() / c.name).c_str(), 0444);
    EXPECT_EQ(ReportOn(c.name, c.settings), head + c.body);
  }
  EXPECT_EQ(lookedUp_, "TEXT/ttxt");
}

TEST_F(SurveyReportTest, FoldersWildcardsListsAndUnreadableEntries) {
  const std::string d = dir_.Path().string(), folder = d + "/docs";
  std::filesystem::create_directory(folder);
  EXPECT_EQ(Report(folder, {10000, 3, 12, 117 - 16}),
            Lines({"[入力ﾌｧｲﾙ]にフォルダが設定されています。",
                   "フォルダを指定するには[フォルダ選択を有効にする]にチェックが必要です。"}));
  EXPECT_EQ(Report(folder, {10000, 3, 12, 117}, {}), "");
  const std::vector<std::string> files = {folder + "/a.txt", folder + "/sub/b.txt"};
  const std::string list = "\"" + files[0] + "\" \"" + files[1] + "\"";
  const std::pair<std::string, std::string> several[] = {
      {folder + "/", "docs"}, {folder + "/*.txt", "*.txt"}, {folder + "/a?.txt", "a?.txt"}, {" " + list, list}};
  for (const auto& [entry, heading] : several) {
    EXPECT_EQ(Report(entry, {}, files), Lines({"--- [" + heading + "]の調査結果 ---", "",
                                               "以下の 2 個のファイルが変換対象となります。", files[0],
                                               files[1]}));
  }
  mkfifo((d + "/fifo").c_str(), 0644);
  for (const std::string& entry : {d + "/missing.txt", d + "/fifo", "relative.txt"s}) {
    EXPECT_EQ(Report(entry, {}), Lines({"読込みできません。"})) << entry;
  }
  EXPECT_EQ(Report("", {}), "");
}

}  // namespace
}  // namespace ferrox
