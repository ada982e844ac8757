// The byte classifiers: one position, runs of one code, and Shift JIS/EUC stretches.

#include "analysis/char_type.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>


namespace ferrox {
namespace {

using namespace char_type;
using namespace std::string_literals;

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

void Ascii(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
           BufIndex& count, bool) {
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
    const auto r = SjisOrEuc(reinterpret_cast<const std::uint8_t*>(c.bytes.data()), 0, c.last,
                             c.gaijiAsChar);
    EXPECT_EQ(r.sjisLength, c.sjisLength);
    EXPECT_EQ(r.eucLength, c.eucLength);
    EXPECT_EQ(r.sjisGaiji, c.sjisGaiji);
    EXPECT_EQ(r.eucGaiji, c.eucGaiji);
    EXPECT_EQ(r.verdict, c.verdict);
  }
}

}  // namespace
}  // namespace ferrox
