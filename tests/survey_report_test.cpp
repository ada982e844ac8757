// The survey report: whole texts, byte for byte.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <initializer_list>
#include <string>
#include <string_view>

#include "analysis/report_format.h"
#include "analysis/survey_report.h"
#include "helpers/macbinary_builder.h"
#include "helpers/scratch_dir.h"
#include "platform/file_times.h"

namespace ferrox {
namespace {

using namespace std::string_view_literals;

std::string Lines(std::initializer_list<std::string_view> lines) {
  std::string s;
  for (const std::string_view line : lines) {
    s += line;
    s += "\r\n";
  }
  return s;
}

class SurveyReportTest : public ::testing::Test {
 protected:
  // Writes a sample whose modification time is fixed, and returns the two
  // date lines the report must show. The birth time cannot be set on Linux,
  // so its line is read back from the file.
  std::string Sample(const std::string& name, std::string_view bytes, std::string& path) {
    path = dir_.Write(name, bytes).string();
    return FixTimes(path);
  }

  std::string FixTimes(const std::string& path) {
    FileTimes times;
    times.LastWrite = {2003, 5, 4, 9, 5, 0, 0, 0};
    times.LastAccess = times.LastWrite;
    EXPECT_EQ(SetFileTimes(path, times), 0);
    EXPECT_EQ(GetFileTimes(path, times), 0);
    return Lines({"作成日時:" + FormatDateTime(times.Creation),
                  "更新日時:2003/05/04(日) 09:05:00"});
  }

  std::string Report(const std::string& path, const ReportSettings& settings,
                     const std::vector<std::string>& expanded = {}) {
    return InfoTextSet(survey_, path, expanded, settings, lookup_, sink_);
  }

  testing::ScratchDir dir_;
  FileSurvey survey_;
  SilentProgress sink_;
  SuffixEntry text_{"txt", "TEXT", "*", "テキスト"};
  std::string looked_up_;
  SuffixLookup lookup_ = [this](std::string_view type, std::string_view creator) {
    looked_up_ = std::string(type) + "/" + std::string(creator);
    return type == "TEXT" ? &text_ : nullptr;
  };
};

TEST_F(SurveyReportTest, ShiftJisText) {
  std::string path;
  const std::string line = "\x93\xfa\x96\x7b\x8c\xea\x82\xcc\x83\x65\x83\x4c\x83\x58\x83\x67\r\n";
  const std::string dates = Sample("sjis.txt", line + line + line + "end\r\n", path);
  EXPECT_EQ(Report(path, {10000, 3, 12, 117}),
            Lines({"--- [sjis.txt]の調査結果 ---"}) + dates +
                Lines({"属性    :通常ファイル ",
                       "サイズ  :59 Byte",
                       "",
                       "全データの調査結果、このファイルはテキストファイルです。",
                       "改行コードはDOS/Windows形式で、コード体系はシフトJISです。"}));
}

TEST_F(SurveyReportTest, EucWithMixedLineEnds) {
  std::string path;
  const std::string dates =
      Sample("euc.txt", "\xb4\xc1\xa1\xfe\r\n\xb4\xc1\n\xb4\xc1\rabc", path);
  EXPECT_EQ(Report(path, {10000, 3, 5, 117}),
            Lines({"--- [euc.txt]の調査結果 ---"}) + dates +
                Lines({"属性    :通常ファイル ",
                       "サイズ  :15 Byte",
                       "",
                       "全データの調査結果、このファイルはテキストファイルです。",
                       "改行コードはDOS/Windows形式とMacintosh形式とUnix形式が混在しており、",
                       "コード体系はEUCコードです。",
                       "ファイルの終端にはEOFがありません。"}));
}

TEST_F(SurveyReportTest, JisWithGaijiAndEof) {
  std::string path;
  const std::string dates =
      Sample("jis.txt", "\x1b$B\x46\x7c\x2d\x21\x1b(B\r\nabc\x1a", path);
  EXPECT_EQ(Report(path, {10000, 3, 12, 117}),
            Lines({"--- [jis.txt]の調査結果 ---"}) + dates +
                Lines({"属性    :通常ファイル ",
                       "サイズ  :16 Byte",
                       "",
                       "全データの調査結果、このファイルはテキストファイルです。",
                       "改行コードはDOS/Windows形式で、コード体系はJISコードです。",
                       "また、このテキストには外字が含まれています。",
                       "ファイルの終端にはEOFが付いています。"}));
}

TEST_F(SurveyReportTest, HiddenReadOnlyBinary) {
  std::string path;
  const std::string dates = Sample(".data.bin", "\x00\x01\x02\x03 binary"sv, path);
  chmod(path.c_str(), 0444);
  EXPECT_EQ(Report(path, {10000, 3, 12, 117}),
            Lines({"--- [.data.bin]の調査結果 ---"}) + dates +
                Lines({"属性    :読み取り専用ファイル 隠しファイル ",
                       "サイズ  :11 Byte",
                       "",
                       "全データの調査結果、このファイルはバイナリーファイルです。"}));
}

TEST_F(SurveyReportTest, EmptyFileHasNoVerdict) {
  std::string path;
  const std::string dates = Sample("empty.txt", "", path);
  EXPECT_EQ(Report(path, {10000, 3, 12, 117}),
            Lines({"--- [empty.txt]の調査結果 ---"}) + dates +
                Lines({"属性    :通常ファイル ", "サイズ  :0 Byte"}));
}

TEST_F(SurveyReportTest, MacBinary) {
  std::string path;
  const std::string bytes =
      testing::MacBinaryHeaderBytes({"\x95\x5c\x8e\xa6.txt", "TEXT", "ttxt", 8, 20,
                                     3134883900u, 0x80000000u}) +
      "abc\r\nxyz" + std::string(20, '\0');
  const std::string dates = Sample("note.bin", bytes, path);
  EXPECT_EQ(Report(path, {10000, 3, 12, 117}),
            Lines({"--- [note.bin]の調査結果 ---"}) + dates +
                Lines({"属性    :通常ファイル ",
                       "サイズ  :156 Byte",
                       "",
                       "全データの調査結果、このファイルはテキストファイルです。",
                       "改行コードはDOS/Windows形式で、コード体系はASCIIコードのみです。",
                       "",
                       "このファイルにはMacBinaryが付加されています。",
                       "以下は Macintosh での情報です。",
                       "作成日時          :2003/05/04(日) 09:05:00",
                       "更新日時          :1972/01/19(水) 03:14:08",
                       "データフォーク    :8 Byte",
                       "リソースフォーク  :20 Byte",
                       "ファイルタイプ    :[TEXT]",
                       "ファイルクリエータ:[ttxt]",
                       "対応する拡張子は[.txt] (テキスト)です。",
                       "オリジナルのファイル名は[表示.txt]です。"}));
  EXPECT_EQ(looked_up_, "TEXT/ttxt");
}

TEST_F(SurveyReportTest, SampleCutByChkSizeWithToleratedBinary) {
  std::string bytes;
  while (bytes.size() < 20000) {
    bytes += "line of text\x01 here\n";  // 19 bytes, one binary byte
  }
  bytes.resize(20000);
  std::string path;
  const std::string dates = Sample("cut.txt", bytes, path);
  EXPECT_EQ(Report(path, {10000, 6, 0, 117}),
            Lines({"--- [cut.txt]の調査結果 ---"}) + dates +
                Lines({"属性    :通常ファイル ",
                       "サイズ  :20,000 Byte",
                       "",
                       "先頭から 10,000 Byte (50.0％)の調査結果、このファイルは",
                       "テキストファイルと思われます。",
                       "ただし、このファイルには 6％以下のバイナリーデータが含まれています。",
                       "改行コードはUnix形式です。",
                       "",
                       "　動作設定の[JIS/EUCを認識する]と[外字を文字扱いする]にチェックが無いので、",
                       "他の文字コードや外字コードが含まれている可能性もあります。"}));
}

TEST_F(SurveyReportTest, HintNamesOnlyTheOptionsThatAreOff) {
  std::string path;
  Sample("t.txt", "abc\x01" "def\r\n" + std::string(100, 'x'), path);
  const std::string report = Report(path, {10000, 3, 4, 117});
  EXPECT_NE(report.find(Lines({"",
                               "　動作設定の[外字を文字扱いする]にチェックが無いので、",
                               "外字コードが含まれている可能性もあります。"})),
            std::string::npos)
      << report;
  survey_.Forget();
  EXPECT_EQ(Report(path, {10000, 3, 12, 117}).find("動作設定の"), std::string::npos);
}

TEST_F(SurveyReportTest, Folder) {
  const std::string folder = (dir_.Path() / "docs").string();
  std::filesystem::create_directory(folder);
  EXPECT_EQ(Report(folder, {10000, 3, 12, 117 - 16}),
            Lines({"[入力ﾌｧｲﾙ]にフォルダが設定されています。",
                   "フォルダを指定するには[フォルダ選択を有効にする]にチェックが必要です。"}));
  const std::vector<std::string> files = {folder + "/a.txt", folder + "/sub/b.txt"};
  EXPECT_EQ(Report(folder + "/", {10000, 3, 12, 117}, files),
            Lines({"--- [docs]の調査結果 ---", "", "以下の 2 個のファイルが変換対象となります。",
                   files[0], files[1]}));
  EXPECT_EQ(Report(folder, {10000, 3, 12, 117}, {}), "");
}

TEST_F(SurveyReportTest, WildcardsListsAndUnreadableEntries) {
  const std::string d = dir_.Path().string();
  const std::vector<std::string> files = {d + "/a.txt", d + "/b.txt"};
  EXPECT_EQ(Report(d + "/*.txt", {}, files),
            Lines({"--- [*.txt]の調査結果 ---", "", "以下の 2 個のファイルが変換対象となります。",
                   files[0], files[1]}));
  const std::string list = "\"" + files[0] + "\" \"" + files[1] + "\"";
  EXPECT_EQ(Report(" " + list, {}, files),
            Lines({"--- [" + list + "]の調査結果 ---", "",
                   "以下の 2 個のファイルが変換対象となります。", files[0], files[1]}));
  EXPECT_EQ(Report(d + "/missing.txt", {}), Lines({"読込みできません。"}));
  EXPECT_EQ(Report("relative.txt", {}), Lines({"読込みできません。"}));
  EXPECT_EQ(Report("", {}), "");
}

}  // namespace
}  // namespace ferrox
