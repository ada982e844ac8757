// The byte classifiers (one position, runs of one code, Shift JIS/EUC
// stretches); the file survey: flag words (UTF-8 and the Shift JIS/EUC ties
// too), chunking, the ranges FileTypeChk picks, its memory; and the survey
// report, whole texts byte for byte.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdint>
#include <fstream>
#include <initializer_list>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/char_type.h"
#include "analysis/file_survey.h"
#include "analysis/report_format.h"
#include "analysis/survey_flags.h"
#include "analysis/survey_report.h"
#include "helpers/binhex_encoder.h"
#include "helpers/macbinary_builder.h"
#include "helpers/scratch_dir.h"
#include "platform/file_times.h"

namespace ferrox {
namespace {

using namespace char_type;
using namespace std::literals;
using testing::ScratchDir;

TEST(GetCharType, ClassifiesEachPosition) {
  struct { std::uint8_t b0, b1, b2; std::uint16_t strict, permissive; } const cases[] = {
      // ESC $ A is no sequence of ours; 0xA0 is never an EUC lead.
      {0x20, 0, 0, kAscii, kAscii}, {0x7E, 0, 0, kAscii, kAscii}, {0x7F, 0, 0, kNone, kNone},
      {0x1B, 0x24, 0x42, kJisKanjiIn, kJisKanjiIn}, {0x1B, 0x24, 0x40, kJisKanjiIn, kJisKanjiIn},
      {0x1B, 0x24, 0x41, kNone, kNone}, {0x1B, 0x28, 0x42, kJisKanjiOut, kJisKanjiOut},
      {0x1B, 0x28, 0x4A, kJisKanjiOut, kJisKanjiOut}, {0x1B, 0x28, 0x49, kJisKanaIn, kJisKanaIn},
      {0x0E, 0x20, 0x41, kJisKanaIn, kJisKanaIn}, {0x0E, 0x31, 0x0F, kJisKanaIn, kJisKanaIn},
      {0x0E, 0x60, 0x41, kNone, kNone}, {0x0E, 0x31, 0x0D, kNone, kNone}, {0x0F, 0, 0, kJisKanaOut, kJisKanaOut},
      {0x0D, 0x0A, 0, kCrLf, kCrLf}, {0x0D, 0x0D, 0x0A, kCr, kCr}, {0x0A, 0x0D, 0, kLf, kLf},
      {0x1A, 0, 0, kNeutral, kNeutral}, {0x0C, 0, 0, kNeutral, kNeutral}, {0x0B, 0, 0, kNone, kNone},
      {0x80, 0x40, 0, kNone, kNone}, {0xA0, 0xA1, 0, kSjisKana, kSjisKana},
      {0xB0, 0xA1, 0, kSjisKana | kEucDouble, kSjisKana | kEucDouble},
      {0x8E, 0xA0, 0, kEucKana | kSjisDouble, kEucKana | kSjisDouble}, {0x8E, 0xE0, 0, kSjisDouble, kSjisDouble},
      {0x81, 0x7F, 0, kNone, kNone}, {0x81, 0xFD, 0, kNone, kNone},
      {0xE0, 0xA1, 0, kSjisDouble | kEucDouble, kSjisDouble | kEucDouble},
      // The gaiji rows of both codes, and the split of lead 0x88.
      {0x87, 0x40, 0, kNone, kSjisDouble | kSjisGaiji},
      {0x88, 0x9D, 0, kNone, kSjisDouble | kSjisGaiji}, {0x88, 0x9E, 0, kSjisDouble, kSjisDouble},
      {0xEB, 0x40, 0, kNone, kSjisDouble | kSjisGaiji},
      {0xA8, 0xA1, 0, kSjisKana | kEucDouble, kSjisKana | kEucDouble},
      {0xA9, 0xA1, 0, kSjisKana, kSjisKana | kEucDouble | kEucGaiji},
      {0xF4, 0xA1, 0, kEucDouble, kSjisDouble | kSjisGaiji | kEucDouble},
      {0xF5, 0xA1, 0, kNone, kSjisDouble | kSjisGaiji | kEucDouble | kEucGaiji},
      {0xFE, 0xFE, 0, kNone, kEucDouble | kEucGaiji}, {0xFF, 0xA1, 0, kNone, kNone},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << std::hex << int{c.b0} << ' ' << int{c.b1} << ' ' << int{c.b2});
    EXPECT_EQ(GetCharType(c.b0, c.b1, c.b2, false), c.strict);
    EXPECT_EQ(GetCharType(c.b0, c.b1, c.b2, true), c.permissive);
  }
}

using Scanner = void (*)(const std::uint8_t*, BufIndex&, BufIndex, std::uint16_t&, BufIndex&, bool);

void Ascii(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags, BufIndex& count, bool) {
  count = 0;
  AsciiCheck(buf, pos, last, flags);
}
const Scanner Sjis = SjisCheck, Euc = EucCheck, Jis = JisZenCheck;

// The scanners read two bytes past `last`, so the buffers keep two bytes of
// zero padding unless a case says otherwise. A scanner that rejects its first
// byte leaves the position one before the start.
TEST(RunScanners, StopWhereTheirCodeEnds) {
  struct { const char* name; Scanner scan; std::string bytes; BufIndex start, last; bool gaijiAsChar;
           BufIndex endPos, count; std::uint16_t flags; } const cases[] = {
      {"ASCII then ESC", Ascii, "ab c\x1b$B\0\0"s, 0, 7, false, 3, 0, 0},
      {"ASCII: CR LF at the last position takes the LF", Ascii, "ab\r\n\0"s, 0, 2, false, 3, 0, 0x0010},
      {"ASCII: lone CR", Ascii, "a\rb\0\0"s, 0, 2, false, 2, 0, 0x0020},
      {"ASCII: lone LF then CR LF", Ascii, "\na\r\n\0\0"s, 0, 3, false, 3, 0, 0x0050},
      {"ASCII: tab and form feed", Ascii, "\t\fx\x1a\0\0"s, 0, 3, false, 2, 0, 0},
      {"ASCII: first byte rejected", Ascii, "x\x82\xa0\0\0"s, 1, 2, false, 0, 0, 0},
      {"SJIS: kanji, kana, blank", Sjis, "\x93\xfa\xb1 \x96\x7b" "a\0\0"s, 0, 6, false, 5, 6, 0x0002},
      {"SJIS: line ends", Sjis, "\x82\xa0\r\n\r\n\x82\xa0\n\0\0"s, 0, 8, false, 8, 9, 0x0052},
      {"SJIS: bad trail, lead not consumed", Sjis, "\x82\xa0\x82\x7f\0\0"s, 0, 3, false, 1, 2, 0x0002},
      {"SJIS: first byte rejected", Sjis, "A\0\0"s, 0, 0, false, -1, 0, 0},
      {"SJIS: lead at last takes the look-ahead", Sjis, "\xb1\x82\xa0"s, 0, 1, false, 2, 3, 0x0002},
      {"SJIS: lead before zero padding", Sjis, "\xb1\x82\0\0"s, 0, 1, false, 0, 1, 0x0002},
      {"SJIS strict: 0x88 0x9D stops", Sjis, "\x88\x9e\x88\x9d\0\0"s, 0, 3, false, 1, 2, 0x0002},
      {"SJIS permissive: 0x88 0x9D gaiji", Sjis, "\x88\x9e\x88\x9d\0\0"s, 0, 3, true, 3, 4, 0x1002},
      {"SJIS strict: 0xEB stops", Sjis, "\xeb\x40\0\0"s, 0, 1, false, -1, 0, 0},
      {"SJIS permissive: 0xEB gaiji", Sjis, "\xeb\x40\0\0"s, 0, 1, true, 1, 2, 0x1002},
      {"SJIS: 0xFD is never a lead", Sjis, "\xfd\x40\0\0"s, 0, 1, true, -1, 0, 0},
      {"SJIS: 0x8F with a valid trail", Sjis, "\x8f\xa1\0\0"s, 0, 1, false, 1, 2, 0x0002},
      {"EUC: kanji, SS2 kana, CR LF", Euc, "\xc6\xfc\x8e\xb1 \r\n\xcb\xdc" "a\0\0"s, 0, 9, false, 8, 9, 0x0018},
      {"EUC: SS2 with 0xA0 is kana", Euc, "\x8e\xa0\0\0"s, 0, 1, false, 1, 2, 0x0008},
      {"EUC: SS2 with 0xE0 stops", Euc, "\x8e\xe0\0\0"s, 0, 1, false, -1, 0, 0},
      {"EUC: SS3 not accepted", Euc, "\xa4\xa2\x8f\xa1\xa1\0\0"s, 0, 4, false, 1, 2, 0x0008},
      {"EUC strict: row 9 stops", Euc, "\xa9\xa1\0\0"s, 0, 1, false, -1, 0, 0},
      {"EUC permissive: row 9 gaiji", Euc, "\xa9\xa1\0\0"s, 0, 1, true, 1, 2, 0x4008},
      {"EUC strict: row 84 ok, 85 stops", Euc, "\xf4\xa1\xf5\xa1\0\0"s, 0, 3, false, 1, 2, 0x0008},
      {"EUC: lone LF and lone CR", Euc, "\n\r\xa4\xa2\0\0"s, 0, 3, false, 3, 4, 0x0068},
      {"JIS: two pairs then ESC", Jis, "F|K\\\x1b(B"s, 0, 5, false, 3, 4, 0},
      {"JIS: line end not consumed", Jis, "F|\r\n\0\0"s, 0, 3, false, 1, 2, 0},
      {"JIS strict: row 9 stops", Jis, "F|)!\0\0"s, 0, 3, false, 1, 2, 0},
      {"JIS permissive: row 9 gaiji", Jis, "F|)!\0\0"s, 0, 3, true, 3, 4, 0x2000},
      {"JIS permissive: row 85 gaiji", Jis, "u!\0\0"s, 0, 1, true, 1, 2, 0x2000},
      {"JIS: second byte out of range", Jis, "F \0\0"s, 0, 1, true, -1, 0, 0},
      {"JIS: pair at last reads the look-ahead", Jis, "F|K\\"s, 0, 2, false, 3, 4, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::vector<std::uint8_t> buf(c.bytes.begin(), c.bytes.end());
    BufIndex pos = c.start;
    BufIndex count = -99;
    std::uint16_t flags = 0x8000;  // bits already set are kept
    c.scan(buf.data(), pos, c.last, flags, count, c.gaijiAsChar);
    EXPECT_EQ(pos, c.endPos);
    EXPECT_EQ(count, c.count);
    EXPECT_EQ(flags, c.flags | 0x8000);
  }
}

TEST(SjisOrEuc, SettlesStretchesValidInBothCodes) {
  struct { const char* name; std::string bytes; BufIndex last; bool gaijiAsChar;
           BufIndex sjisLength, eucLength; int sjisGaiji, eucGaiji, verdict; } const cases[] = {
      {"katakana or kanji: undecided", "\xb0\xa1\xb0\xa1" "a\0\0"s, 4, false, 4, 4, 0, 0, 0},
      {"0xE0 0xA0 rules EUC out", "\xe0\xa1\xe0\xa0\0\0"s, 3, false, 4, 2, 0, 0, 1},
      {"0xF2 0xFE rules Shift JIS out", "\xb0\xa1\xf2\xfe\0\0"s, 3, false, 2, 4, 0, 0, 2},
      {"both gaiji, tie", "\xf5\xa1\0\0"s, 1, true, 2, 2, 1, 1, 0},
      {"more Shift JIS gaiji: EUC", "\xed\xa1\xed\xa1\0\0"s, 3, true, 4, 4, 2, 0, 2},
      {"more EUC gaiji: Shift JIS", "\xaa\xb1\0\0"s, 1, true, 2, 2, 0, 1, 1},
      {"a stop on an EUC gaiji rules Shift JIS out", "\xb1\xfe\xa1\0\0"s, 1, true, 1, 2, 0, 0, 2},
      {"strict: both ruled out", "\xb0\xa1\xf5\xa1\0\0"s, 3, false, 2, 2, 0, 0, 0},
      {"range end leaves both possible", "\xb0\xa1\xb0"s, 0, false, 1, 2, 0, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto r = SjisOrEuc(reinterpret_cast<const std::uint8_t*>(c.bytes.data()), 0, c.last, c.gaijiAsChar);
    EXPECT_EQ(r.sjisLength, c.sjisLength);
    EXPECT_EQ(r.eucLength, c.eucLength);
    EXPECT_EQ(r.sjisGaiji, c.sjisGaiji);
    EXPECT_EQ(r.eucGaiji, c.eucGaiji);
    EXPECT_EQ(r.verdict, c.verdict);
  }
}

constexpr std::uint16_t kStrictFull = 4;       // full surveyor, gaiji are not text
constexpr std::uint16_t kPermissiveFull = 12;  // full surveyor, gaiji count as text
constexpr std::uint16_t kStrictLight = 0;
constexpr std::uint16_t kPermissiveLight = 8;

std::uint16_t Survey(const ScratchDir& dir, std::string_view bytes, std::uint16_t convMode,
                     std::int16_t binRate = 3, std::size_t chunkSize = kSurveyChunkSize) {
  SilentProgress sink;
  std::uint16_t flags = 0xFFFF;
  EXPECT_TRUE(FileTypeChkSub(dir.Write("sample", bytes), 0, static_cast<std::int64_t>(bytes.size()),
                             {0, binRate, convMode}, sink, flags, chunkSize));
  return flags;
}

// The last two bytes of a range are never classified, so most samples end in
// three bytes of padding.
TEST(FileTypeChkSub, FlagWords) {
  struct { const char* name; std::string_view bytes; std::uint16_t convMode, expected; } const rows[] = {
      {"empty", "", kPermissiveFull, 0x0000}, {"one byte", "a", kPermissiveFull, 0x0100},
      {"two bytes ending in EOF", "a\x1a", kPermissiveFull, 0x0180},
      {"line end in the last two bytes is not seen", "abc\r\n", kPermissiveFull, 0x0100},
      {"ASCII CR LF, EOF at the end", "abc\r\nxyz\x1a", kPermissiveFull, 0x0190},
      {"Shift JIS CR LF", "\x82\xa0\x82\xa2\r\nabc", kPermissiveFull, 0x0112},
      {"Shift JIS CR LF, light", "\x82\xa0\x82\xa2\r\nabc", kStrictLight, 0x0112},
      {"Shift JIS katakana with CR and LF", "\xb1\xb2\r\xb3\nabc", kStrictLight, 0x0162},
      {"EUC with all three line ends", "\xb4\xc1\xa1\xfe\r\n\xb4\xc1\n\xb4\xc1\rabc", kStrictFull, 0x0878},
      {"EUC is binary to the light surveyor", "\xb4\xc1\xa1\xfe\r\n\xb4\xc1\n\xb4\xc1\rabc", kStrictLight, 0},
      {"JIS kanji-in first", "\x1b$B\x30\x21\x1b(B\r\nabc", kPermissiveFull, 0x0114},
      {"JIS kanji-out first", "\x1b(Babc\r\nxyz", kPermissiveFull, 0x0214},
      {"JIS kana-in first", "\x1b(I\x31\x32\x1b(Babc", kPermissiveFull, 0x0404},
      {"JIS is binary to the light surveyor", "\x1b$B\x30\x21\x1b(B\r\nabc", kPermissiveLight, 0},
      {"Shift JIS gaiji, permissive", "\xf0\x40\r\nabc", kPermissiveFull, 0x1112},
      {"Shift JIS gaiji, permissive light", "\xf0\x40\r\nabc", kPermissiveLight, 0x1112},
      {"Shift JIS gaiji, strict", "\xf0\x40\r\nabc", kStrictFull, 0x0000},
      {"NUL is binary", "ab\x00\x01\x02xyz"sv, kPermissiveFull, 0x0000},
  };
  const ScratchDir dir;
  for (const auto& row : rows) {
    EXPECT_EQ(Survey(dir, row.bytes, row.convMode), row.expected) << row.name;
  }
}

TEST(FileTypeChkSub, AllowanceToleratesExactlyThatManyBinaryBytes) {
  const std::tuple<std::int64_t, std::int16_t, std::int64_t> allowances[] = {  // 1.5 and 2.5 round to 2, 3.5 to 4
      {50, 3, 2}, {250, 1, 2}, {350, 1, 4}, {99, 0, 0}, {5'000'000'000, 3, 150'000'000}};
  for (const auto& [length, rate, allowed] : allowances) EXPECT_EQ(BinaryAllowance(length, rate), allowed) << length;
  // 100 bytes of text with a CR LF and `nuls` NUL bytes.
  const auto text = [](int nuls) {
    std::string s(100, 'a');
    s.replace(40, 2, "\r\n");
    for (int k = 0; k < nuls; ++k) s[static_cast<std::size_t>(10 + 20 * k)] = '\0';
    return s;
  };
  const ScratchDir dir;
  for (const std::uint16_t mode : {kPermissiveFull, kStrictLight}) {
    EXPECT_EQ(Survey(dir, text(3), mode, 3), 0x0111) << mode;
    EXPECT_EQ(Survey(dir, text(4), mode, 3), 0x0000) << mode;
    EXPECT_EQ(Survey(dir, text(1), mode, 0), 0x0000) << mode;
    EXPECT_EQ(Survey(dir, text(0), mode, 0), 0x0110) << mode;
  }
}

std::string Repeat(std::string_view unit, std::size_t total) {
  std::string s;
  while (s.size() < total) s += unit;
  return s;
}

// Every chunk size from 4 to 199 puts the boundaries at every offset of the
// repeated units, CR | LF included. (A chunk of 3 examines a single position:
// there an EUC stretch can never be told from Shift JIS, since the bytes that
// settle it lie in the next chunk.)
TEST(FileTypeChkSub, ChunkBoundariesDoNotChangeTheFlagWord) {
  struct { const char* name; std::string bytes; std::uint16_t convMode; } const samples[] = {
      {"Shift JIS, CR LF", Repeat("\x93\xfa\x96\x7b\x8c\xea ab\xb1\r\n", 1500), kPermissiveFull},
      {"Shift JIS with gaiji, CR", Repeat("\x82\xa0\xf0\x40 x\r", 1500), kPermissiveFull},
      {"Shift JIS, light", Repeat("\x93\xfa\x96\x7b\xb1\xb2\r\n", 1500), kStrictLight},
      {"EUC, LF", Repeat("\xc6\xfc\xcb\xdc\xb8\xec abc\n", 1500), kStrictFull},
      {"EUC, mixed ends", Repeat("\xb4\xc1\xa1\xfe\r\n\xb4\xc1\n", 1500), kStrictFull},
      {"JIS, CR LF", Repeat("\x1b$B\x46\x7c\x4b\x5c\x1b(B ab\r\n", 1500), kPermissiveFull},
      {"JIS kana", Repeat("\x1b(I\x31\x32\x1b(B a\r\n", 1500), kPermissiveFull},
      {"text with tolerated binary",
       Repeat("abcdefghij\x01klmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVW\r\n", 1500), kPermissiveFull},
      {"text ending in EOF", Repeat("ab\r\n", 1499) + "\x1a", kStrictLight},
  };
  const ScratchDir dir;
  for (const auto& sample : samples) {
    SCOPED_TRACE(sample.name);
    const std::uint16_t whole = Survey(dir, sample.bytes, sample.convMode, 3, sample.bytes.size());
    ASSERT_NE(whole, 0);
    for (std::size_t chunk = 4; chunk < 200; ++chunk) {
      ASSERT_EQ(Survey(dir, sample.bytes, sample.convMode, 3, chunk), whole) << "chunks of " << chunk;
    }
  }
}

// Seeded random bytes, mostly from the text ranges: whatever the surveyor
// and chunking, the word is 0 or carries exactly one first-code mark.
TEST(FileTypeChkSub, RandomInputGivesOneMarkOrBinary) {
  std::mt19937 rng(20240601);
  const char pool[] = "\r\n\x1b$(BI\x0e\x0f\x1a\x82\xa0\xa4\xb4\xc1\x8e\xf0\xfe" "A!";
  const ScratchDir dir;
  for (int round = 0; round < 200; ++round) {
    std::string bytes(rng() % 300, '\0');
    for (char& c : bytes) c = pool[rng() % (sizeof pool - 1)];
    const auto mode = static_cast<std::uint16_t>((rng() % 4) * 4);
    const std::uint16_t flags = Survey(dir, bytes, mode, 50, 3 + rng() % 40);
    const unsigned marks = flags & 0x0F00;
    EXPECT_TRUE(flags == 0 || marks == 0x100 || marks == 0x200 || marks == 0x400 || marks == 0x800)
        << std::hex << flags;
  }
}

TEST(FileTypeChkSub, OffsetsBeyondFourGigabytes) {
  const ScratchDir dir;
  const auto file = dir.Write("big", "");
  const std::int64_t at = (std::int64_t{1} << 32) + 1000;
  std::filesystem::resize_file(file, static_cast<std::uintmax_t>(at));
  std::ofstream(file, std::ios::binary | std::ios::app) << "\x82\xa0\r\nab\x1a";
  SilentProgress sink;
  std::uint16_t flags = 0;
  ASSERT_TRUE(FileTypeChkSub(file, at, 7, {0, 3, kPermissiveFull}, sink, flags));
  EXPECT_EQ(flags, 0x0192);
}

constexpr std::uint16_t kBuiltIn = 12;
constexpr std::uint16_t kOld = 12 | 32 | 256;  // no UTF-8, the old tie rule

// "カタカナだけのテキスト" twice, EUC-JP: Shift JIS half-width katakana to the old rule.
const std::string kKanaEuc =
    "\xa5\xab\xa5\xbf\xa5\xab\xa5\xca\xa4\xc0\xa4\xb1\xa4\xce\xa5\xc6\xa5\xad\xa5\xb9\xa5\xc8\n"s;

TEST(Utf8Survey, FlagWords) {
  const std::string pad(40, 'x');
  struct { const char* name; std::string bytes; std::uint16_t builtIn, old; } const rows[] = {
      {"NFC kana, LF", "\xe3\x81\x8c\xe6\x97\xa5\n" + pad, 0x8140, 0x0142},
      {"NFD: か and a combining voiced mark", "\xe3\x81\x8b\xe3\x82\x99\r\n" + pad, 0xA110, 0x0112},
      {"a byte order mark alone decides", "\xef\xbb\xbf" + pad, 0x9100, 0x1102},
      {"after a BOM a faulty byte is binary", "\xef\xbb\xbf\xff" + pad, 0x9101, 0x0101},
      {"Latin in two bytes", "caf\xc3\xa9 " + pad, 0x8100, 0x0100},
      {"a character cut by the end of the range", pad + "\xe3\x81\x8c\xe3\x81", 0x8100, 0x0102},
      {"overlong: read as Shift JIS", "\xc0\x80\xe3\x81\x8c" + pad, 0x0103, 0x0103},
      {"surrogate", "\xed\xa0\x80\xe3\x81\x8c" + pad, 0x1103, 0x1103},
      {"above U+10FFFF", "\xf4\x90\x80\x80\xe3\x81\x8c" + pad, 0x0000, 0x0000},
      {"C1 control: Shift JIS ﾂ、", "\xc2\x81\x41" + pad, 0x0102, 0x0102},
      {"control bytes within the allowance", "\xe3\x81\x8c\x01" + pad, 0x8101, 0x0000},
      {"EUC kana only", kKanaEuc + kKanaEuc, 0x0848, 0x0140},
      {"Shift JIS half-width katakana: no call either way", "\xc3\xde\xb0\xc0 \xb6\xc0\xb6\xc5\n" + pad, 0x0140, 0x0140},
      {"EUC read as katakana starting with ﾞ", "ab \xde\xa4\xb3\xa4\n" + pad, 0x0848, 0x0140},
  };
  const ScratchDir dir;
  for (const auto& row : rows) {
    EXPECT_EQ(Survey(dir, row.bytes, kBuiltIn), row.builtIn) << row.name;
    EXPECT_EQ(Survey(dir, row.bytes, kOld), row.old) << row.name;
    // The UTF-8 reading does not depend on where chunks end.
    for (std::size_t chunk = 3; (row.builtIn & survey::kUtf8) != 0 && chunk < 12; ++chunk) {
      EXPECT_EQ(Survey(dir, row.bytes, kBuiltIn, 3, chunk), row.builtIn) << row.name << ", chunk " << chunk;
    }
  }
}

// Counts the event pumps, to see whether a survey read the file.
class CountingSink final : public ProgressSink {
 public:
  void PumpEvents() override { ++pumps; }
  [[nodiscard]] bool ConvBusy() const override { return true; }
  void ShowProgress(std::int64_t, std::int64_t) override {}
  int pumps = 0;
};

class FileTypeChkTest : public ::testing::Test {
 protected:
  SurveyKind Check(const std::string& path, const SurveySettings& settings = {}) {
    return survey_.FileTypeChk(path, settings, sink_, info_, flags_);
  }
  ScratchDir dir_;
  FileSurvey survey_;
  CountingSink sink_;
  MacBinaryInfo info_;
  std::uint16_t flags_ = 0;
};

TEST_F(FileTypeChkTest, ChkSizeCutsTheRangeAndTheEofTestLooksAtTheCut) {
  std::string bytes(400, 'a');
  bytes[50] = '\n';
  bytes[99] = '\x1a';
  bytes[200] = '\0';  // beyond the cut
  const auto file = dir_.Write("cut.txt", bytes);
  EXPECT_EQ(Check(file, {100, 0, kPermissiveFull}), SurveyKind::Ordinary);
  EXPECT_EQ(flags_, 0x01C0);
  EXPECT_EQ(Check(file, {0, 0, kPermissiveFull}), SurveyKind::Ordinary);
  EXPECT_EQ(flags_, 0);  // no limit: the NUL is seen
}

TEST_F(FileTypeChkTest, RemembersTheLastSurveyOnlyWhileTheFileIsProvablyTheSame) {
  const auto file = dir_.Write("f.txt", "abc\r\nxyz");
  const auto stamp = dir_.Write("stamp", "");
  ASSERT_EQ(CopyFileTimes(file, stamp), 0);
  const SurveySettings settings{10000, 3, kPermissiveFull};
  const auto expect = [&](const SurveySettings& with, std::uint16_t flags, int pumps) {
    ASSERT_EQ(Check(file, with), SurveyKind::Ordinary);
    EXPECT_EQ(flags_, flags);
    EXPECT_EQ(sink_.pumps, pumps);
  };
  expect(settings, 0x0110, 1);
  expect(settings, 0x0110, 1);  // unchanged: from memory
  // Same length and copied times, other bytes (a converted file put in place
  // keeps its input's times): surveyed again.
  dir_.Write("f.txt", "abc\nxyz\n");
  ASSERT_EQ(CopyFileTimes(stamp, file), 0);
  expect(settings, 0x0140, 2);
  expect({10000, 3, kStrictLight}, 0x0140, 3);  // other settings
  survey_.Forget();
  expect({10000, 3, kStrictLight}, 0x0140, 4);
}

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
    times.LastWrite = {2003, 5, 4, 9, 5, 7, 0, 0};
    times.LastAccess = times.LastWrite;
    EXPECT_EQ(SetFileTimes(path, times), 0);
    EXPECT_EQ(GetFileTimes(path, times), 0);
    return Lines({"--- [" + name + "]の調査結果 ---", "作成日時:" + FormatDateTime(times.Creation),
                  "更新日時:2003/05/04(日) 09:05:07"});
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
const std::string_view kAsciiOnly = "改行コードはDOS/Windows形式で、コード体系はASCIIコードのみです。";

TEST_F(SurveyReportTest, OneFile) {
  std::string cut;
  while (cut.size() < 20000) cut += "line of text\x01 here\n";  // one binary byte in 19
  cut.resize(20000);
  const std::string hint = "abc\x01" "def\r\n" + std::string(100, 'x');
  const std::string sjisLine = "\x93\xfa\x96\x7b\x8c\xea\x82\xcc\x83\x65\x83\x4c\x83\x58\x83\x67\r\n";
  const std::string hqx = testing::EncodeBinHex({"\x95\x5c\x8e\xa6.txt", "TEXT", "ttxt", "abc\r\nxyz", std::string(20, 'r')});
  // body: the report after the heading and the dates.
  struct { const char* name; std::string bytes; ReportSettings settings; std::string body; } const cases[] = {
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
       Lines({kPlain, "サイズ  :156 Byte", "", kText, kAsciiOnly, "",
              "このファイルにはMacBinaryが付加されています。", "以下は Macintosh での情報です。",
              "作成日時          :2003/05/04(日) 09:05:00", "更新日時          :1972/01/19(水) 03:14:08",
              "データフォーク    :8 Byte", "リソースフォーク  :20 Byte", "ファイルタイプ    :[TEXT]",
              "ファイルクリエータ:[ttxt]", "対応する拡張子は[.txt] (テキスト)です。",
              "オリジナルのファイル名は[表示.txt]です。"})},
      {"note.hqx", hqx, {10000, 3, 12, 117},  // the data fork is surveyed; BinHex carries no dates
       Lines({kPlain, "サイズ  :" + std::to_string(hqx.size()) + " Byte", "", kText, kAsciiOnly, "",
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
              kAsciiOnly, "", "　動作設定の[外字を文字扱いする]にチェックが無いので、", "外字コードが含まれている可能性もあります。"})},
      // UTF-8 is named even by the light survey; BOM and decomposed characters are told.
      {"mac.txt", "\xef\xbb\xbf\xe3\x81\x8b\xe3\x82\x99\xe6\x97\xa5\nabc", {10000, 3, 0, 117},
       Lines({kPlain, "サイズ  :16 Byte", "", kText, "改行コードはUnix形式で、コード体系はUTF-8（BOM付き）です。",
              "また、このテキストには分解された文字（濁点が分かれた「か゛」など）が含まれています。"})},
      {"nfc.txt", "\xe3\x81\x8c\xe6\x97\xa5\r\nabc", {10000, 3, 12, 117},
       Lines({kPlain, "サイズ  :11 Byte", "", kText, "改行コードはDOS/Windows形式で、コード体系はUTF-8です。"})},
      {"nohint.txt", hint, {10000, 3, 12, 117},
       Lines({kPlain, "サイズ  :109 Byte", "", kText, "ただし、このファイルには 3％以下のバイナリーデータが含まれています。",
              kAsciiOnly})},
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
