#include "convert/transcoders.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "convert/conv_mode.h"
#include "convert/gaiji_table.h"

namespace ferrox {
namespace {

using namespace std::string_literals;
using Mode = GaijiPolicy::Mode;

struct Expect {
  std::string out;
  BufIndex consumed;
};

struct CopyCase {
  const char* name;
  std::string in;
  Expect strict, pass, replace;
};

using Copier = void (*)(std::uint8_t*, const std::uint8_t*, BufIndex&, BufIndex&, BufIndex,
                        BufIndex&, const GaijiPolicy&) noexcept;

// 0x87 0x40 -> "(1)", 0x85 0x40 -> nothing; every other gaiji -> 〓.
const GaijiTable& TestTable() {
  static const GaijiTable table = [] {
    // One file per process: CTest runs these tests in parallel.
    const std::string path = testing::TempDir() + std::to_string(getpid()) + "_transcoders_gaiji.txt";
    std::ofstream(path, std::ios::binary) << "8740,(1)\r\n8540,\r\n";
    GaijiTable t;
    t.LoadGaijiTable(path);
    std::remove(path.c_str());
    return t;
  }();
  return table;
}

std::string Hex(const std::string& s) {
  std::string h;
  for (const unsigned char c : s) {
    static const char* d = "0123456789ABCDEF";
    h += d[c >> 4];
    h += d[c & 15];
    h += ' ';
  }
  return h;
}

// Runs one copier the way the block converter does: the run starts at index 1
// (index 0 was handled before), the output already holds 5 bytes, and two
// zero bytes follow the last index that may start a character.
void Check(Copier copy, const CopyCase& c, Mode mode, const Expect& want) {
  SCOPED_TRACE(testing::Message() << c.name << " / mode " << static_cast<int>(mode));
  const std::string in = "@" + c.in + "\0\0"s;
  std::vector<std::uint8_t> out(5 + 3 * in.size() + 8, 0xEE);
  BufIndex o = 5;
  BufIndex i = 1;
  BufIndex consumed = -1;
  const GaijiPolicy policy{mode, &TestTable()};
  copy(out.data(), reinterpret_cast<const std::uint8_t*>(in.data()), o, i,
       static_cast<BufIndex>(c.in.size()), consumed, policy);
  const std::string got(out.begin() + 5, out.begin() + o);
  EXPECT_EQ(Hex(got), Hex(want.out));
  EXPECT_EQ(consumed, want.consumed);
  EXPECT_EQ(i, want.consumed);  // the last byte consumed, or one before the run
  EXPECT_EQ(out[static_cast<std::size_t>(o)], 0xEE) << "wrote past the reported end";
}

void CheckAll(Copier copy, const std::vector<CopyCase>& cases) {
  for (const auto& c : cases) {
    Check(copy, c, Mode::kStrict, c.strict);
    Check(copy, c, Mode::kPass, c.pass);
    Check(copy, c, Mode::kReplace, c.replace);
  }
}

CopyCase Same(const char* name, std::string in, std::string out, BufIndex consumed) {
  return {name, std::move(in), {out, consumed}, {out, consumed}, {out, consumed}};
}

TEST(SjisCopy, ThreeModes) {
  CheckAll(SjisCopy, {
      Same("kanji, kana, blank, tab", "\x93\xfa\xb1 \t\x96\x7b", "\x93\xfa\xb1 \t\x96\x7b", 7),
      Same("every line end becomes CR LF", "\x82\xa0\r\x82\xa0\n\r\n",
           "\x82\xa0\r\n\x82\xa0\r\n\r\n", 8),
      Same("ASCII letter ends the run", "\xb1" "A\xb1", "\xb1", 1),
      Same("form feed ends the run", "\xb1\x0c", "\xb1", 1),
      Same("bad trail 0x7F: lead not consumed", "\x82\xa0\x82\x7f", "\x82\xa0", 2),
      Same("lead before the zero padding", "\xb1\x82", "\xb1", 1),
      Same("0xFD is no lead", "\xfd\x40", "", 0),
      {"NEC row 13: table entry", "\x87\x40",
       {"", 0}, {"\x87\x40", 2}, {"(1)", 2}},
      {"empty replacement: the gaiji disappears", "\x82\xa0\x85\x40\x82\xa0",
       {"\x82\xa0", 2}, {"\x82\xa0\x85\x40\x82\xa0", 6}, {"\x82\xa0\x82\xa0", 6}},
      {"no entry: the default", "\xeb\x40\xb1",
       {"", 0}, {"\xeb\x40\xb1", 3}, {"\x81\xac\xb1", 3}},
      {"0x88 0x9E is standard, 0x88 0x9D is gaiji", "\x88\x9e\x88\x9d",
       {"\x88\x9e", 2}, {"\x88\x9e\x88\x9d", 4}, {"\x88\x9e\x81\xac", 4}},
  });
}

TEST(EucCopy, ThreeModes) {
  CheckAll(EucCopy, {
      Same("kanji, SS2 kana (0xA0 too), blank, tab", "\xb0\xa1\x8e\xb1\x8e\xa0 \t",
           "\x88\x9f\xb1\xa0 \t", 8),
      Same("line ends", "\xa4\xa2\r\n\n\r", "\x82\xa0\r\n\r\n\r\n", 6),
      Same("SS3 is not accepted", "\xa4\xa2\x8f\xa1\xa1", "\x82\xa0", 2),
      Same("SS2 with a non-kana byte", "\x8e\xe0", "", 0),
      Same("bad trail", "\xa4\xa2\xa4\x41", "\x82\xa0", 2),
      Same("lead before the zero padding", "\xa4\xa2\xa4", "\x82\xa0", 2),
      Same("row 84, the last standard row", "\xf4\xa6", "\xea\xa4", 2),
      {"row 13: table entry", "\xad\xa1",
       {"", 0}, {"\x87\x40", 2}, {"(1)", 2}},
      {"row 85: default", "\xf5\xa1\xa4\xa2",
       {"", 0}, {"\xeb\x40\x82\xa0", 4}, {"\x81\xac\x82\xa0", 4}},
      {"row 94", "\xfe\xfe",
       {"", 0}, {"\xef\xfc", 2}, {"\x81\xac", 2}},
  });
}

TEST(JisZenCopy, ThreeModes) {
  CheckAll(JisZenCopy, {
      Same("row 16 and row 1", "0!!!", "\x88\x9f\x81\x40", 4),
      Same("stops at the escape", "F|\x1b(B", "\x93\xfa", 2),
      Same("copies no line end", "F|\r\n", "\x93\xfa", 2),
      Same("second byte 0x7F", "F\x7f", "", 0),
      Same("odd byte at the end meets the padding", "F|F", "\x93\xfa", 2),
      {"row 13: table entry", "-!",
       {"", 0}, {"\x87\x40", 2}, {"(1)", 2}},
      {"0x7E 0x7E", "F|~~",
       {"\x93\xfa", 2}, {"\x93\xfa\xef\xfc", 4}, {"\x93\xfa\x81\xac", 4}},
  });
}

TEST(GaijiPolicy, ModeFromConvModeBits) {
  const GaijiTable table;
  struct {
    std::uint16_t convMode;
    Mode mode;
  } const cases[] = {
      {0, Mode::kStrict},  {conv_mode::kGaijiTable, Mode::kStrict},
      {12, Mode::kPass},   {conv_mode::kGaijiAsChar, Mode::kPass},
      {24, Mode::kReplace}, {0xFFFF, Mode::kReplace},
  };
  for (const auto& c : cases) {
    const GaijiPolicy p = GaijiPolicy::FromConvMode(c.convMode, &table);
    EXPECT_EQ(p.mode, c.mode) << c.convMode;
    EXPECT_EQ(p.table, &table);
  }
}

TEST(SjisCopy, ReplaceWithoutTableWritesGeta) {
  const std::uint8_t in[] = {0x87, 0x40, 0, 0};
  std::uint8_t out[8] = {};
  BufIndex o = 0, i = 0, consumed = 0;
  SjisCopy(out, in, o, i, 1, consumed, GaijiPolicy{Mode::kReplace, nullptr});
  EXPECT_EQ(o, 2);
  EXPECT_EQ(out[0], 0x81);
  EXPECT_EQ(out[1], 0xAC);
}

TEST(AsciiCopy, TextAndLineEnds) {
  struct {
    std::string in, out;
    BufIndex consumed;
  } const cases[] = {
      {"ab c\t\f~", "ab c\t\f~", 7},
      {"a\rb\nc\r\nd", "a\r\nb\r\nc\r\nd", 8},
      {"a\r", "a\r\n", 2},  // CR before the padding
      {"a\x1a", "a", 1},
      {"a\xb1", "a", 1},
      // Long lines go eight bytes at a time; any odd byte inside a word stops it.
      {"0123456789abcdef\x7fxyz", "0123456789abcdef", 16},
      {"0123456\xff" "89abcdef", "0123456", 7},
      {"0123456789\x1f" "bcdefghij", "0123456789", 10},
      {"01234567 ~\r\nabcdefghij\nx", "01234567 ~\r\nabcdefghij\r\nx", 24},
  };
  for (const auto& c : cases) {
    const std::string in = "@" + c.in + "\0\0"s;
    std::vector<std::uint8_t> out(64, 0xEE);
    BufIndex o = 3, i = 1;
    AsciiCopy(out.data(), reinterpret_cast<const std::uint8_t*>(in.data()), o, i,
              static_cast<BufIndex>(c.in.size()));
    EXPECT_EQ(Hex(std::string(out.begin() + 3, out.begin() + o)), Hex(c.out)) << Hex(c.in);
    EXPECT_EQ(i, c.consumed) << Hex(c.in);
  }
}

TEST(AsciiCopy, CrOnTheLastIndexTakesTheLfBeyondIt) {
  const std::uint8_t in[] = {'a', 0x0D, 0x0A, 'b'};
  std::uint8_t out[8] = {};
  BufIndex o = 0, i = 0;
  AsciiCopy(out, in, o, i, 1);
  EXPECT_EQ(o, 3);
  EXPECT_EQ(i, 2);  // the caller continues at 3, not on the LF
}

TEST(PairConversions, JisAndEucToShiftJis) {
  struct {
    std::uint8_t a, b, s1, s2;
  } const cases[] = {
      {0x21, 0x21, 0x81, 0x40}, {0x21, 0x5F, 0x81, 0x7E}, {0x21, 0x60, 0x81, 0x80},
      {0x21, 0x7E, 0x81, 0x9E}, {0x22, 0x21, 0x81, 0x9F}, {0x22, 0x7E, 0x81, 0xFC},
      {0x30, 0x21, 0x88, 0x9F}, {0x5E, 0x7E, 0x9F, 0xFC}, {0x5F, 0x21, 0xE0, 0x40},
      {0x7E, 0x7E, 0xEF, 0xFC},
  };
  for (const auto& c : cases) {
    std::uint8_t s1 = 0, s2 = 0;
    EXPECT_EQ(JisToSjis(s1, s2, c.a, c.b), 2);
    EXPECT_EQ((s1 << 8) | s2, (c.s1 << 8) | c.s2) << std::hex << int{c.a} << int{c.b};
    s1 = s2 = 0;
    EXPECT_EQ(EucToSjis(s1, s2, c.a | 0x80, c.b | 0x80), 2);
    EXPECT_EQ((s1 << 8) | s2, (c.s1 << 8) | c.s2) << std::hex << int{c.a} << int{c.b};
  }
  std::uint8_t s1 = 0, s2 = 0x55;
  EXPECT_EQ(EucToSjis(s1, s2, 0x8E, 0xB1), 1);
  EXPECT_EQ(s1, 0xB1);
  EXPECT_EQ(s2, 0x55);
}

}  // namespace
}  // namespace ferrox
