#include "analysis/char_type.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ferrox {
namespace {

using namespace char_type;

struct TypeCase {
  std::uint8_t b0, b1, b2;
  std::uint16_t strict;
  std::uint16_t permissive;
};

TEST(GetCharType, ClassifiesEachPosition) {
  const TypeCase cases[] = {
      {0x20, 0, 0, kAscii, kAscii},
      {0x7E, 0, 0, kAscii, kAscii},
      {0x7F, 0, 0, kNone, kNone},
      {0x1B, 0x24, 0x42, kJisKanjiIn, kJisKanjiIn},
      {0x1B, 0x24, 0x40, kJisKanjiIn, kJisKanjiIn},
      {0x1B, 0x24, 0x41, kNone, kNone},  // ESC $ A is no sequence of ours
      {0x1B, 0x28, 0x42, kJisKanjiOut, kJisKanjiOut},
      {0x1B, 0x28, 0x4A, kJisKanjiOut, kJisKanjiOut},
      {0x1B, 0x28, 0x49, kJisKanaIn, kJisKanaIn},
      {0x0E, 0x20, 0x41, kJisKanaIn, kJisKanaIn},
      {0x0E, 0x31, 0x0F, kJisKanaIn, kJisKanaIn},
      {0x0E, 0x60, 0x41, kNone, kNone},
      {0x0E, 0x31, 0x0D, kNone, kNone},
      {0x0F, 0, 0, kJisKanaOut, kJisKanaOut},
      {0x0D, 0x0A, 0, kCrLf, kCrLf},
      {0x0D, 0x0D, 0x0A, kCr, kCr},
      {0x0A, 0x0D, 0, kLf, kLf},
      {0x1A, 0, 0, kNeutral, kNeutral},
      {0x0C, 0, 0, kNeutral, kNeutral},
      {0x0B, 0, 0, kNone, kNone},
      {0x80, 0x40, 0, kNone, kNone},
      // 0xA0 is Shift JIS kana but never an EUC lead.
      {0xA0, 0xA1, 0, kSjisKana, kSjisKana},
      {0xB0, 0xA1, 0, kSjisKana | kEucDouble, kSjisKana | kEucDouble},
      {0x8E, 0xA0, 0, kEucKana | kSjisDouble, kEucKana | kSjisDouble},
      {0x8E, 0xE0, 0, kSjisDouble, kSjisDouble},
      {0x81, 0x7F, 0, kNone, kNone},
      {0x81, 0xFD, 0, kNone, kNone},
      {0xE0, 0xA1, 0, kSjisDouble | kEucDouble, kSjisDouble | kEucDouble},
      // The gaiji rows of both codes, and the split of lead 0x88.
      {0x87, 0x40, 0, kNone, kSjisDouble | kSjisGaiji},
      {0x88, 0x9D, 0, kNone, kSjisDouble | kSjisGaiji},
      {0x88, 0x9E, 0, kSjisDouble, kSjisDouble},
      {0xEB, 0x40, 0, kNone, kSjisDouble | kSjisGaiji},
      {0xA8, 0xA1, 0, kSjisKana | kEucDouble, kSjisKana | kEucDouble},
      {0xA9, 0xA1, 0, kSjisKana, kSjisKana | kEucDouble | kEucGaiji},
      {0xF4, 0xA1, 0, kEucDouble, kSjisDouble | kSjisGaiji | kEucDouble},
      {0xF5, 0xA1, 0, kNone, kSjisDouble | kSjisGaiji | kEucDouble | kEucGaiji},
      {0xFE, 0xFE, 0, kNone, kEucDouble | kEucGaiji},
      {0xFF, 0xA1, 0, kNone, kNone},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << "bytes " << int{c.b0} << ' ' << int{c.b1} << ' '
                                    << int{c.b2});
    EXPECT_EQ(GetCharType(c.b0, c.b1, c.b2, false), c.strict);
    EXPECT_EQ(GetCharType(c.b0, c.b1, c.b2, true), c.permissive);
  }
}

// A scanner run: the buffer, where it starts, the last position it may
// examine, and what it must report.
struct ScanCase {
  const char* name;
  std::string bytes;
  BufIndex start;
  BufIndex last;
  bool gaijiAsChar;
  BufIndex endPos;
  BufIndex count;
  std::uint16_t flags;
};

// The scanners read two bytes past `last`, so the buffers below keep two
// bytes of padding (zeros) past the last position unless a case says otherwise.
std::vector<std::uint8_t> Bytes(const std::string& s) { return {s.begin(), s.end()}; }

TEST(AsciiCheck, StopsAtTheFirstNonTextByteAndLeavesPositionBeforeIt) {
  using namespace std::string_literals;
  const ScanCase cases[] = {
      {"plain run then ESC", "ab c\x1b$B\0\0"s, 0, 7, false, 3, 0, 0},
      {"CR LF at the last position takes the LF", "ab\r\n\0"s, 0, 2, false, 3, 0, 0x0010},
      {"lone CR", "a\rb\0\0"s, 0, 2, false, 2, 0, 0x0020},
      {"lone LF then CR LF", "\na\r\n\0\0"s, 0, 3, false, 3, 0, 0x0050},
      {"tab and form feed are text", "\t\fx\x1a\0\0"s, 0, 3, false, 2, 0, 0},
      {"rejected first byte moves back one", "x\x82\xa0\0\0"s, 1, 2, false, 0, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto buf = Bytes(c.bytes);
    BufIndex pos = c.start;
    std::uint16_t flags = 0x8000;  // existing bits are kept
    AsciiCheck(buf.data(), pos, c.last, flags);
    EXPECT_EQ(pos, c.endPos);
    EXPECT_EQ(flags, c.flags | 0x8000);
  }
}

void RunScanCases(const ScanCase* begin, const ScanCase* end,
                  void (*scan)(const std::uint8_t*, BufIndex&, BufIndex, std::uint16_t&, BufIndex&,
                               bool) noexcept) {
  for (const ScanCase* c = begin; c != end; ++c) {
    SCOPED_TRACE(c->name);
    const auto buf = Bytes(c->bytes);
    BufIndex pos = c->start;
    BufIndex count = -99;
    std::uint16_t flags = 0;
    scan(buf.data(), pos, c->last, flags, count, c->gaijiAsChar);
    EXPECT_EQ(pos, c->endPos);
    EXPECT_EQ(count, c->count);
    EXPECT_EQ(flags, c->flags);
  }
}

TEST(SjisCheck, RunsOfShiftJis) {
  using namespace std::string_literals;
  const ScanCase cases[] = {
      {"kanji, kana, blank, stops at ASCII", "\x93\xfa\xb1 \x96\x7b" "a\0\0"s, 0, 6, false, 5, 6, 0x0002},
      {"line ends", "\x82\xa0\r\n\r\n\x82\xa0\n\0\0"s, 0, 8, false, 8, 9, 0x0052},
      {"bad trail: lead not consumed", "\x82\xa0\x82\x7f\0\0"s, 0, 3, false, 1, 2, 0x0002},
      {"first byte rejected", "A\0\0"s, 0, 0, false, -1, 0, 0},
      {"lead at last takes the look-ahead trail", "\xb1\x82\xa0"s, 0, 1, false, 2, 3, 0x0002},
      {"lead before zero padding stops", "\xb1\x82\0\0"s, 0, 1, false, 0, 1, 0x0002},
      {"strict: 0x88 0x9D stops", "\x88\x9e\x88\x9d\0\0"s, 0, 3, false, 1, 2, 0x0002},
      {"permissive: 0x88 0x9D is gaiji", "\x88\x9e\x88\x9d\0\0"s, 0, 3, true, 3, 4, 0x1002},
      {"strict: 0xEB stops", "\xeb\x40\0\0"s, 0, 1, false, -1, 0, 0},
      {"permissive: 0xEB is gaiji", "\xeb\x40\0\0"s, 0, 1, true, 1, 2, 0x1002},
      {"0xFD is never a lead", "\xfd\x40\0\0"s, 0, 1, true, -1, 0, 0},
      {"EUC SS3 0x8F with a valid trail is Shift JIS", "\x8f\xa1\0\0"s, 0, 1, false, 1, 2, 0x0002},
  };
  RunScanCases(std::begin(cases), std::end(cases), SjisCheck);
}

TEST(EucCheck, RunsOfEuc) {
  using namespace std::string_literals;
  const ScanCase cases[] = {
      {"kanji, SS2 kana, blank, CR LF", "\xc6\xfc\x8e\xb1 \r\n\xcb\xdc" "a\0\0"s, 0, 9, false, 8, 9, 0x0018},
      {"SS2 with 0xA0 is kana", "\x8e\xa0\0\0"s, 0, 1, false, 1, 2, 0x0008},
      {"SS2 with 0xE0 stops", "\x8e\xe0\0\0"s, 0, 1, false, -1, 0, 0},
      {"SS3 is not accepted", "\xa4\xa2\x8f\xa1\xa1\0\0"s, 0, 4, false, 1, 2, 0x0008},
      {"strict: row 9 stops", "\xa9\xa1\0\0"s, 0, 1, false, -1, 0, 0},
      {"permissive: row 9 is gaiji", "\xa9\xa1\0\0"s, 0, 1, true, 1, 2, 0x4008},
      {"strict: row 84 ok, row 85 stops", "\xf4\xa1\xf5\xa1\0\0"s, 0, 3, false, 1, 2, 0x0008},
      {"lone LF and lone CR", "\n\r\xa4\xa2\0\0"s, 0, 3, false, 3, 4, 0x0068},
  };
  RunScanCases(std::begin(cases), std::end(cases), EucCheck);
}

TEST(JisZenCheck, PairsUntilTheEscape) {
  using namespace std::string_literals;
  const ScanCase cases[] = {
      {"two pairs then ESC", "F|K\\\x1b(B"s, 0, 5, false, 3, 4, 0},
      {"line end is not consumed", "F|\r\n\0\0"s, 0, 3, false, 1, 2, 0},
      {"strict: row 9 stops", "F|)!\0\0"s, 0, 3, false, 1, 2, 0},
      {"permissive: row 9 is gaiji", "F|)!\0\0"s, 0, 3, true, 3, 4, 0x2000},
      {"permissive: row 85 is gaiji", "u!\0\0"s, 0, 1, true, 1, 2, 0x2000},
      {"second byte out of range", "F \0\0"s, 0, 1, true, -1, 0, 0},
      {"pair at last reads the look-ahead", "F|K\\"s, 0, 2, false, 3, 4, 0},
  };
  RunScanCases(std::begin(cases), std::end(cases), JisZenCheck);
}

struct EitherCase {
  const char* name;
  std::string bytes;
  BufIndex last;
  bool gaijiAsChar;
  BufIndex sjisLength, eucLength;
  int sjisGaiji, eucGaiji, verdict;
};

TEST(SjisOrEuc, SettlesStretchesValidInBothCodes) {
  using namespace std::string_literals;
  const EitherCase cases[] = {
      {"katakana or kanji: undecided", "\xb0\xa1\xb0\xa1" "a\0\0"s, 4, false, 4, 4, 0, 0, 0},
      // 0xE0 0xA0 is Shift JIS; 0xA0 rules EUC out.
      {"EUC impossible", "\xe0\xa1\xe0\xa0\0\0"s, 3, false, 4, 2, 0, 0, 1},
      // Shift JIS reads two kana, then meets 0xF2 0xFE, which only EUC explains.
      {"Shift JIS impossible", "\xb0\xa1\xf2\xfe\0\0"s, 3, false, 2, 4, 0, 0, 2},
      // Permissive: lead 0xF5 is gaiji in both readings, counts tie.
      {"both gaiji, tie", "\xf5\xa1\0\0"s, 1, true, 2, 2, 1, 1, 0},
      // Shift JIS sees a gaiji (0xED 0xA1) where EUC sees a standard kanji.
      {"more Shift JIS gaiji: EUC", "\xed\xa1\xed\xa1\0\0"s, 3, true, 4, 4, 2, 0, 2},
      // EUC gaiji (0xAA 0xB1) read as Shift JIS kana.
      {"more EUC gaiji: Shift JIS", "\xaa\xb1\0\0"s, 1, true, 2, 2, 0, 1, 1},
      // A stop on an EUC gaiji rules Shift JIS out: 0xFE 0xA1 is EUC gaiji only.
      {"EUC gaiji stop", "\xb1\xfe\xa1\0\0"s, 1, true, 1, 2, 0, 0, 2},
      // Strict: the EUC reading stops on 0xF5 0xA1 (type 0): EUC ruled out, and
      // Shift JIS too.
      {"both ruled out", "\xb0\xa1\xf5\xa1\0\0"s, 3, false, 2, 2, 0, 0, 0},
      {"range end leaves both possible", "\xb0\xa1\xb0"s, 0, false, 1, 2, 0, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto buf = Bytes(c.bytes);
    const SjisOrEucResult r = SjisOrEuc(buf.data(), 0, c.last, c.gaijiAsChar);
    EXPECT_EQ(r.sjisLength, c.sjisLength);
    EXPECT_EQ(r.eucLength, c.eucLength);
    EXPECT_EQ(r.sjisGaiji, c.sjisGaiji);
    EXPECT_EQ(r.eucGaiji, c.eucGaiji);
    EXPECT_EQ(r.verdict, c.verdict);
  }
}

}  // namespace
}  // namespace ferrox
