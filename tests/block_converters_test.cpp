// Text codes through the converters: CP932 through iconv (decoding, encoding,
// widths); the run copiers (the whole JIS X 0208 table against iconv, where
// long runs stop); the block converters against the plain reference
// converters (the same bytes for every ConvMode, block size and wide-path
// level, on tricky stretches and mixed text in every code); Mac Japanese
// (every code of Apple's mapping on both converters and across block
// boundaries, a gaiji table entry winning over it, EUC left alone); the exact
// rows of the account of changes; and the gaiji table (user files, bad ones
// never fail; searching; the shipped Mac table). (ferrox_conv_test gives the
// gaiji modes' bytes.)

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "convert/block_converter.h"
#include "convert/gaiji_table.h"
#include "convert/simd_level.h"
#include "convert/transcoders.h"
#include "helpers/cli_runner.h"
#include "helpers/reference_pass.h"
#include "helpers/scratch_dir.h"
#include "text/code_ranges.h"
#include "text/cp932.h"
#include "text/mac_japanese.h"

namespace ferrox {
namespace {

using namespace std::string_literals;
using Mode = GaijiPolicy::Mode;
using reference::Hex;
using reference::Impl;
using testing::Iconv;

TEST(Cp932, DecodesToUtf8) {
  ASSERT_TRUE(cp932::Available());
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"\x93\xfa\x96\x7b\x8c\xea", "日本語"},
      {"\xb1\xb2", "ｱｲ"},                   // half-width katakana
      {"\x87\x40\xed\x40", "①纊"},          // NEC and NEC-selected IBM rows
      {"\x81\x60", "～"},                    // the CP932 wave dash is U+FF5E
      {"a\x85\x40z", "a\xef\xbf\xbdz"},      // an undefined pair is one U+FFFD
      {"a\xff" "b", "a\xef\xbf\xbd" "b"},    // a stray byte
      {"ab\x82", "ab\xef\xbf\xbd"},          // a cut-off lead at the end
  };
  for (const auto& [cp932, utf8] : cases) EXPECT_EQ(cp932::ToUtf8(cp932), utf8) << utf8;
}

TEST(Cp932, EncodesFromUtf8AndCountsShiftJisBytes) {
  EXPECT_EQ(cp932::FromUtf8("日本語\r\n"), std::optional<std::string>("\x93\xfa\x96\x7b\x8c\xea\r\n"));
  EXPECT_EQ(cp932::FromUtf8("①"), std::optional<std::string>("\x87\x40"));
  EXPECT_EQ(cp932::FromUtf8(""), std::optional<std::string>(""));
  EXPECT_EQ(cp932::FromUtf8("a😀b"), std::nullopt);   // no CP932 form
  EXPECT_EQ(cp932::FromUtf8("a\xc3"), std::nullopt);   // broken UTF-8
  EXPECT_EQ(cp932::FromUtf8Lossy("a😀b€c"), "a?b?c");
  EXPECT_EQ(cp932::FromUtf8Lossy("x\xe3\x41y"), "x?Ay");  // a cut sequence does not eat 'A'
  EXPECT_EQ(cp932::SjisWidth(""), 0u);
  EXPECT_EQ(cp932::SjisWidth("abc日本ｱｲｳ"), 10u);  // half-width kana are one byte
  EXPECT_EQ(cp932::SjisWidth("A😀"), 2u);         // no CP932 form: written as "?"
}

using Copier = void (*)(std::uint8_t*, const std::uint8_t*, BufIndex&, BufIndex&, BufIndex,
                        BufIndex&, const GaijiPolicy&);

struct Copied { std::string out; BufIndex consumed; };

// Copies from `start` to `end` as the block converter does: the output already
// holds 5 bytes, and the input is cut or zero-padded to two bytes past `end`.
Copied Copy(Copier copy, std::string in, BufIndex start, BufIndex end, GaijiPolicy policy) {
  in.resize(static_cast<std::size_t>(end) + 3, '\0');
  std::vector<std::uint8_t> out(5 + 3 * in.size() + 40);
  BufIndex o = 5, i = start, consumed = -1;
  copy(out.data(), reinterpret_cast<const std::uint8_t*>(in.data()), o, i, end, consumed, policy);
  EXPECT_EQ(i, start + consumed - 1);  // the last byte consumed
  return {std::string(out.begin() + 5, out.begin() + o), consumed};
}

struct Cell {
  std::string sjis, euc, jis;
  const std::string& In(int code) const { return code == 0 ? sjis : code == 1 ? euc : jis; }
};
const Copier kCopiers[] = {SjisCopy, EucCopy, JisZenCopy};
const char* const kCodeNames[] = {"Shift JIS", "EUC", "JIS"};

// Every JIS X 0208 character with its Shift JIS bytes as iconv gives them:
// EUC-JP -> UTF-8 -> CP932. Cells either step refuses are no characters of both codes.
const std::vector<Cell>& StandardCells() {
  static const std::vector<Cell> cells = [] {
    std::vector<Cell> v;
    for (int row = 1; row <= 94; ++row) {
      for (int cell = 1; cell <= 94; ++cell) {
        const std::string euc{static_cast<char>(0xA0 + row), static_cast<char>(0xA0 + cell)};
        const auto utf8 = Iconv("UTF-8", "EUC-JP", euc);
        const auto sjis = utf8 ? Iconv("CP932", "UTF-8", *utf8) : std::nullopt;
        if (sjis) v.push_back({*sjis, euc, {static_cast<char>(0x20 + row), static_cast<char>(0x20 + cell)}});
      }
    }
    return v;
  }();
  return cells;
}

TEST(JisTable, EveryCharacterAloneAndInOneRunGivesIconvsBytes) {
  // JIS X 0208 has 6879 characters and CP932 has them all: fewer means a broken oracle.
  ASSERT_EQ(StandardCells().size(), 6879u);
  std::string runs[3], expected;
  for (const Cell& c : StandardCells()) {
    for (int code = 0; code < 3; ++code) {
      for (const Mode mode : {Mode::kStrict, Mode::kPass}) {
        const Copied r = Copy(kCopiers[code], c.In(code), 0, 1, {mode, nullptr});
        EXPECT_EQ(r.out, c.sjis) << kCodeNames[code] << " " << c.euc;
        EXPECT_EQ(r.consumed, 2);
      }
      runs[code] += c.In(code);
    }
    expected += c.sjis;
  }
  for (int code = 0; code < 3; ++code) {
    const auto end = static_cast<BufIndex>(runs[code].size()) - 1;
    const Copied r = Copy(kCopiers[code], runs[code], 0, end, {Mode::kStrict, nullptr});
    EXPECT_TRUE(r.out == expected) << kCodeNames[code];
    EXPECT_EQ(r.consumed, end + 1);
  }
}

std::pair<std::string, std::string> Join(const std::vector<Cell>& cells, int code, std::size_t from, std::size_t to) {
  std::pair<std::string, std::string> s;
  for (std::size_t k = from; k < to; ++k) {
    s.first += cells[k].In(code);
    s.second += cells[k].sjis;
  }
  return s;
}

// The wide paths take 16 bytes at a time: wherever a bad byte or the end of
// the run falls, they must take exactly the whole characters before it.
TEST(PairRuns, StopAtABadByteOrTheEndOfTheRun) {
  for (int code = 0; code < 3; ++code) {
    const auto [clean, expected] = Join(StandardCells(), code, 500, 540);
    for (std::size_t shift : {0u, 1u, 7u}) {
      for (std::size_t bad = 0; bad < 48; ++bad) {
        SCOPED_TRACE(::testing::Message() << kCodeNames[code] << " shift " << shift << " bad " << bad);
        std::string in = std::string(shift, '!') + clean;
        in[shift + bad] = 0x1B;  // stops every copier, as a lead or as a trail
        const Copied r = Copy(kCopiers[code], in, static_cast<BufIndex>(shift),
                              static_cast<BufIndex>(in.size()) - 1, {Mode::kPass, nullptr});
        EXPECT_EQ(r.consumed, static_cast<BufIndex>(bad & ~std::size_t{1}));
        EXPECT_EQ(r.out, expected.substr(0, bad & ~std::size_t{1}));
      }
    }
    for (BufIndex end = 0; end < 50; ++end) {
      SCOPED_TRACE(::testing::Message() << kCodeNames[code] << " end " << end);
      const Copied r = Copy(kCopiers[code], clean, 0, end, {Mode::kStrict, nullptr});
      const BufIndex taken = (end / 2 + 1) * 2;  // the pair at end reads end + 1
      EXPECT_EQ(r.consumed, taken);
      EXPECT_EQ(r.out, expected.substr(0, static_cast<std::size_t>(taken)));
    }
  }
}

// Stretches where a wide path, a shortcut or a block boundary could go wrong.
const char* const kPieces[] = {
    "plain ASCII text that runs past thirty-two bytes, then\n\r\n\r\rends",
    "\xC6\xFC\xCB\xDC\xB8\xEC \xA4\xCE\xA5\xC6\xA5\xAD\xA5\xB9\xA5\xC8\n",  // EUC
    "\x93\xFA\x96\x7B\x8C\xEA \x82\xCC\x83\x65\x83\x4C\x83\x58\x83\x67\r",  // Shift JIS
    "\x1B$B\x46\x7C\x4B\x5C\x38\x6C\x1B(B jis \x1B$@\x30\x21\x1B(J\n",
    "\x0E\x31\x32\x0F \x1B(I\x31\x5F\x60\x1B(B",       // JIS kana by SO/SI and ESC ( I
    "\xB1\xB2\xB3\xB4 \xE0\xA1\xE0\xFE\xEA\xA4",         // Shift JIS kana or EUC: a tie
    "\xF5\xA1\xA9\xA1\xEB\x40\x85\x40\x88\x9D\x88\x9E",  // gaiji of both codes, the 0x88 split
    "\x8E\xB1\x8E\xDF\x8E\xA0\x8E\x40\x8E",              // SS2 kana and what follows 0x8E
    "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x01\x1A\x7F\x80\xFD\xFE\xFF\t\x0C",
    "\x1B$B\x46\x7C\n\x1B(B\x1B$\x1B(",                  // line end inside JIS, cut escapes
    "\xA4\xA2\xA4\xA4\xA4\xA6\xA4\xA8\xA4\xAA\xA4\xAB\xA4\xAD\xA4\xAF\xA4\xB1\xA4\xB3"
    "\xA4\xB5\xA4\xB7\xA4\xB9\xA4\xBB\xA4\xBD\xA4\xBF\xA4\xC1\xA4\xC4\xA4\xC6\xA4\xC8",
    // Standard pairs that end on what the common stretch hands back: end of
    // file, an escape, kana, gaiji, a blank inside JIS, a shift not back to ASCII.
    "\xB0\xA1\xB0\xA2\x1A\xB0\xA1\x1B\xB0\xA1\x8E\xB1x\xB0\xA1\xF5\xA1 ",
    "\x88\x9F\x89\x40\xF0\x40\x81\x40\x85\x40\x89\x40\xB1\x0D",
    "a\x1B$B \x21\x21\x1B$B\x30\x21\x1B(I\x31\x1B(B\x1B$@\x30\x21\x1B$B",
    "\x82\xA0\x82\xA2\x82\xA4\x82\xA6\x82\xA8\x82\xA9\x82\xAB\x82\xAD\x82\xAF\x82\xB1"
    "\x82\xB3\x82\xB5\x82\xB7\x82\xB9\x82\xBB\x82\xBD\x82\xBF\x82\xC2\x82\xC4\x82\xC6",
    // Mac Japanese: codes CP932 has, fallbacks, none, one a table lists, the single bytes.
    "\x85\x40\x85\x41\x85\x9F\x82\xA0\xEB\x41\x85\x7C\x80\xA0\xFD\xFE\xFF\x87\xA3\x88\x6D\xED\x96",
};

// Text made of the pieces in a seeded order, with some single bytes between them.
std::string Mix(unsigned seed, std::size_t pieces) {
  std::mt19937 rng(seed);
  std::string s;
  for (std::size_t k = 0; k < pieces; ++k) {
    s += kPieces[rng() % std::size(kPieces)];
    if (rng() % 4 == 0) s += static_cast<char>(rng() % 256);
  }
  return s;
}

struct Setting {
  bool full;
  std::uint16_t convMode;
  std::uint16_t typeFlags;
  bool mac = false;
};

// Both converters, the strict, permissive and replacing gaiji modes, and the
// Shift JIS and EUC base codes a tie falls back on.
const Setting kSettings[] = {
    {true, 4, 0x0102}, {true, 12, 0x0102}, {true, 28, 0x0102}, {true, 12, 0x0884},
    {true, 28, 0x0884}, {false, 0, 0x0102}, {false, 8, 0x0102}, {false, 24, 0x0102},
    {true, 4, 0x0102, true}, {true, 12, 0x0102, true}, {true, 28, 0x0102, true},
    {true, 28, 0x0884, true}, {false, 0, 0x0102, true}, {false, 24, 0x0102, true},
};

const GaijiTable& LongTable() {
  static const GaijiTable table = [] {
    GaijiTable t;
    t.LoadGaijiTable(testing::ScratchDir().Write("GaiTbl.txt", "8740,(1)\r\n8541,[2]\r\nF040,<gaiji>\r\n"));
    return t;
  }();
  return table;
}

TEST(FastPass, SameBytesAndChangesAsTheReferenceForEveryModeBlockSizeAndLevel) {
  std::vector<std::string> inputs;
  for (const char* piece : kPieces) inputs.emplace_back(piece);
  for (unsigned seed = 1; seed <= 12; ++seed) inputs.push_back(Mix(seed, 40));
  for (const SimdLevel level : {SimdLevel::kScalar, SimdLevel::kSse2, SimdLevel::kAvx2}) {
    if (!SetSimdLevel(level)) continue;  // the processor lacks it
    for (const Setting& m : kSettings) {
      const BlockSettings settings = BlockSettings::Make(m.typeFlags, m.convMode, &LongTable(), m.mac);
      for (const std::string& text : inputs) {
        const auto* data = reinterpret_cast<const std::uint8_t*>(text.data());
        for (const std::size_t block : {3, 4, 5, 7, 16, 33, 64, 8192}) {
          const auto state = static_cast<std::uint16_t>(m.typeFlags & 0x0F00);
          std::string fastChanges;
          std::string referenceChanges;
          ASSERT_EQ(reference::RunBlocks(Impl::kFast, m.full, data, text.size(), block, settings, state, &fastChanges),
                    reference::RunBlocks(Impl::kReference, m.full, data, text.size(), block, settings, state,
                                         &referenceChanges))
              << "level " << static_cast<int>(level) << " ConvMode " << m.convMode << " flags " << m.typeFlags
              << " mac " << m.mac << " block " << block << " input " << ::testing::PrintToString(text);
          ASSERT_EQ(fastChanges, referenceChanges)
              << "ConvMode " << m.convMode << " mac " << m.mac << " block " << block;
        }
      }
    }
  }
  SetSimdLevel(BestSimdLevel());
}

struct Converted {
  std::string bytes;
  std::string changes;
};

Converted Convert(const std::string& text, bool full, std::uint16_t convMode, bool mac, std::size_t block,
                  const GaijiTable* table = nullptr, std::uint16_t typeFlags = 0x0102) {
  const BlockSettings settings = BlockSettings::Make(typeFlags, convMode, table, mac);
  Converted c;
  const auto out = reference::RunBlocks(Impl::kFast, full, reinterpret_cast<const std::uint8_t*>(text.data()),
                                        text.size(), block, settings, typeFlags & 0x0F00, &c.changes);
  c.bytes.assign(out.begin(), out.end());
  return c;
}

std::string Bytes(const MacCode& c) {
  return c.code < 0x100 ? std::string(1, static_cast<char>(c.code))
                        : std::string{static_cast<char>(c.code >> 8), static_cast<char>(c.code)};
}

// Light and full converter, strict, permissive and replacing gaiji modes.
const struct {
  bool full;
  std::uint16_t convMode;
} kConverters[] = {{false, 0}, {false, 24}, {true, 4}, {true, 12}, {true, 28}};

TEST(MacJapanese, EveryCodeBecomesItsCp932CodeOrFallbackAcrossBlockBoundaries) {
  ASSERT_EQ(MacCodes().size(), 318u);
  for (const MacCode& c : MacCodes()) {
    const std::string out = c.kind == 2 ? std::string("\x81\xAC") : std::string(c.cp932);
    const std::string kind = c.kind == 0 ? " mac" : " mac-fallback";
    for (const auto& k : kConverters) {
      for (const std::size_t block : {3, 4, 5, 8192}) {
        const Converted r = Convert("ab" + Bytes(c) + "cd", k.full, k.convMode, true, block);
        ASSERT_EQ(Hex(r.bytes), Hex("ab" + out + "cd"))
            << std::hex << c.code << " ConvMode " << std::dec << k.convMode << " block " << block;
        ASSERT_EQ(r.changes, "2" + kind + Hex(Bytes(c)) + " >" + Hex(out) + "\n") << std::hex << c.code;
      }
    }
  }
}

TEST(MacJapanese, KnownCodesAndTheGaijiTableWinsForTheCodesItLists) {
  // Facts of the two code pages, written out by hand.
  const struct {
    const char* in;
    const char* out;
  } rows[] = {
      {"\x85\x40", "\x87\x40"},      // ① at its CP932 place
      {"\x85\x9F", "\x87\x54"},      // Ⅰ
      {"\x85\x5E", "(1)"},           // ⑴ has no CP932 code
      {"\xEB\x41", "\x81\x41"},      // vertical 、 becomes the horizontal one
      {"\x85\x7C", "\x81\xAC"},      // a code with neither: the default replacement
      {"\x80", "\x5C"}, {"\xA0", " "}, {"\xFD", "c"}, {"\xFE", "TM"}, {"\xFF", "\x81\x63"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Hex(Convert(row.in, true, 12, true, 8192).bytes), Hex(row.out)) << Hex(row.in);
  }
  GaijiTable table;
  table.LoadGaijiTable(testing::ScratchDir().Write("GaiTbl.txt", "Default=?\r\n8540,<one>\r\n"));
  // Only with ConvMode 16 the table is read; its default stands in for a code with neither.
  EXPECT_EQ(Convert("\x85\x40\x85\x7C", true, 28, true, 5, &table).changes,
            "0 gaiji-replaced 85 40 > 3C 6F 6E 65 3E\n2 mac-fallback 85 7C > 3F\n");
  EXPECT_EQ(Convert("\x85\x40", false, 8, true, 8192, &table).bytes, "\x87\x40");
}

TEST(MacJapanese, EucAndJisTextAndTheMappingOffStayAsBefore) {
  const struct {
    const char* text;
    std::uint16_t typeFlags;
  } rows[] = {
      // EUC kanji whose bytes are also Mac vertical forms, alone and after JIS
      {"\xB0\xA1\xEC\xA1\xB0\xA2\xEC\xA3\r\n", 0x0808},
      // stray bytes of Mac codes seen from ASCII in EUC text are junk, not Mac codes
      {"ab\x85\x40\xFD\xB0\xA1\x80\xFF\r\n", 0x0808},
      {"\x1B$B\x30\x21\x1B(B\xEC\xA1\xEC\xA3\xB0\xA1", 0x0A0C},
      {"\x82\xA0\x85\x40\x80\xFD\xFE\xFF", 0x0102},  // Shift JIS with Mac codes
  };
  for (const auto& row : rows) {
    for (const std::uint16_t convMode : {std::uint16_t{4}, std::uint16_t{12}, std::uint16_t{28}}) {
      const Converted off = Convert(row.text, true, convMode, false, 8192, nullptr, row.typeFlags);
      const Converted on = Convert(row.text, true, convMode, true, 8192, nullptr, row.typeFlags);
      EXPECT_EQ(on.bytes == off.bytes, row.typeFlags != 0x0102) << Hex(row.text) << " ConvMode " << convMode;
    }
  }
}

TEST(ChangeAccount, ExactRowsForKnownDropsAndReplacementsAtAnyBlockSize) {
  GaijiTable table;
  table.LoadGaijiTable(testing::ScratchDir().Write("GaiTbl2.txt", "8740,(1)\r\n"));
  const struct {
    bool full;
    std::uint16_t convMode;
    bool mac;
    const char* in;
    const char* out;
    const char* changes;
  } rows[] = {
      {false, 0, false, "a\x01\x1A\x87\x40\x02\x1F\x7F" "b", "a@b",
       "1 junk 01 >\n2 eof 1A >\n3 gaiji-dropped 87 >\n5 junk 02 >\n6 junk 1F >\n7 junk 7F >\n"},
      {true, 28, false, "\x87\x40\x1B$B\x30\x21\n\x1B(Bx", "(1)\x88\x9Fx",
       "0 gaiji-replaced 87 40 > 28 31 29\n7 junk 0A >\n"},
      // A JIS gaiji pair in strict mode loses its first byte; its second starts the next pair.
      {true, 4, false, "\x1B$B\x75\x21\x30\x21\x21\x1B(B", "\x81\x4F\x81\x40", "3 gaiji-dropped 75 >\n"},
      {true, 12, false, "\x0E\x31\x32\x7E\x0F\x80", "\xB1\xB2", "3 junk 7E >\n5 junk 80 >\n"},
      {true, 12, true, "x\x85\x40\x80\x1Ay\r\n", "x\x87\x40\x5Cy\r\n",
       "1 mac 85 40 > 87 40\n3 mac 80 > 5C\n4 eof 1A >\n"},
      {false, 8, false, "plain \x82\xA0 text\r\n", "plain \x82\xA0 text\r\n", ""},
  };
  for (const auto& row : rows) {
    for (const std::size_t block : {3, 4, 5, 7, 8192}) {
      const Converted r = Convert(row.in, row.full, row.convMode, row.mac, block, &table);
      EXPECT_EQ(Hex(r.bytes), Hex(row.out)) << Hex(row.in) << " block " << block;
      EXPECT_EQ(r.changes, row.changes) << Hex(row.in) << " block " << block;
    }
  }
}

using Entries = std::vector<std::pair<int, std::string>>;  // code -> replacement, record 0 left out

const std::string kGeta = "\x81\xac";

Entries EntriesOf(const GaijiTable& t) {
  Entries e;
  for (std::size_t k = 1; k < t.Records().size(); ++k) {
    const auto& r = t.Records()[k];
    e.emplace_back(r.first << 8 | r.second, r.replacement);
  }
  return e;
}

std::size_t Load(GaijiTable& t, const std::string& bytes) {
  return t.LoadGaijiTable(testing::ScratchDir().Write("GaiTbl.txt", bytes));
}

std::string Replacement(const GaijiTable& t, std::uint8_t a, std::uint8_t b) {
  std::uint8_t out[64];
  const std::size_t n = t.GaijiSet(t.GaijiTableSearch(a, b), out, 3);
  return std::string(out + 3, out + 3 + n);
}

TEST(GaijiTable, MissingOrEmptyFileLeavesTheDefaultAndReloadStartsAfresh) {
  GaijiTable t;
  EXPECT_EQ(Replacement(t, 0x87, 0x40), kGeta);
  for (const std::string& path : {""s, ::testing::TempDir() + "no_such_gaiji.txt", ::testing::TempDir()}) {
    EXPECT_EQ(t.LoadGaijiTable(path), 0u) << path;
  }
  EXPECT_EQ(Load(t, ""), 0u);
  EXPECT_EQ(t.Records().size(), 1u);
  EXPECT_EQ(Replacement(t, 0x87, 0x40), kGeta);
  Load(t, "Default=x\r\nPunct=;\r\nCode=JIS\r\n2D21;a\r\n");
  EXPECT_EQ(Load(t, "2D21,b\r\n"), 1u);
  EXPECT_EQ(EntriesOf(t), (Entries{{0x2D21, "b"}}));  // Shift JIS and "," again
  EXPECT_EQ(t.Records()[0].replacement, kGeta);
  t.LoadGaijiTable("");
  EXPECT_EQ(t.Records().size(), 1u);
}

TEST(GaijiTable, ReadsKeyWordsCommentsAndDataLines) {
  struct { const char* name; std::string file; Entries entries; std::string fallback = kGeta; } const cases[] = {
      {"no final line end, lower-case hex", "874a,x", {{0x874A, "x"}}},
      {"sorted by code", "8741,b\r\n8540,a\r\nEB40,c\r\n8740,\r\n",
       {{0x8540, "a"}, {0x8740, ""}, {0x8741, "b"}, {0xEB40, "c"}}},
      {"comment lines", "/8740,x\r\n// notes\r\n8741,y\r\n", {{0x8741, "y"}}},
      {"Default= takes the rest of the line", "Default=[?] \r\n", {}, "[?] "},
      {"tab separator", "Punct=\t\r\n8540\tABC\r\n", {{0x8540, "ABC"}}},
      {"separator of two characters", "Punct=->\r\n8540->a,b\r\n", {{0x8540, "a,b"}}},
      {"empty Punct= keeps the comma", "Punct=\r\n8540,a\r\n", {{0x8540, "a"}}},
      {"JIS codes stored as Shift JIS", "Code=JIS\r\n2D21,Z\r\n7521,W\r\n", {{0x8740, "Z"}, {0xEB40, "W"}}},
      {"code= and euc in small letters", "code=euc\r\nADA1,Z\r\n", {{0x8740, "Z"}}},
      {"an unknown code keeps the previous one", "Code=EUC\r\nCode=UTF8\r\nADA2,Y\r\n", {{0x8741, "Y"}}},
      {"codes change inside a file", "Code=JIS\r\n2D21,a\r\nCode=SJIS\r\n8540,b\r\n",
       {{0x8540, "b"}, {0x8740, "a"}}},
      {"key words in any case", "PUNCT=;\r\ndefault=?\r\n8540;x\r\n", {{0x8540, "x"}}, "?"},
      {"blanks trimmed around the code only", " 8740 , y \r\n", {{0x8740, " y "}}},
      {"LF and lone CR end lines", "8740,a\n8741,b\r8742,c\r\n", {{0x8740, "a"}, {0x8741, "b"}, {0x8742, "c"}}},
      // Several replacements fill the following codes: 0x7F is no trail byte,
      // and a row ends at 0xFC (Shift JIS), 0x7E (JIS) or 0xFE (EUC).
      {"several replacements skip 0x7F", "857E,a,b,c\r\n", {{0x857E, "a"}, {0x8580, "b"}, {0x8581, "c"}}},
      {"several replacements cross a Shift JIS row", "85FC,a,b\r\n9FFC,c,d\r\n",
       {{0x85FC, "a"}, {0x8640, "b"}, {0x9FFC, "c"}, {0xE040, "d"}}},
      {"several replacements cross a JIS row", "Code=JIS\r\n2D7E,a,b\r\n", {{0x879E, "a"}, {0x879F, "b"}}},
      {"empty replacements between separators", "8540,,x\r\n", {{0x8540, ""}, {0x8541, "x"}}},
      // 表 is 0x95 0x5C: its trail byte is no separator "\".
      {"separator never matches a trail byte", "Punct=\\\r\n8740\\\x95\x5c\\\x95\x5c\r\n",
       {{0x8740, "\x95\x5c"}, {0x8741, "\x95\x5c"}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    GaijiTable t;
    EXPECT_EQ(Load(t, c.file), c.entries.size());
    EXPECT_EQ(EntriesOf(t), c.entries);
    EXPECT_EQ(t.Records()[0].replacement, c.fallback);
  }
}

TEST(GaijiTable, BadLinesAreSkippedAndTheRestStays) {
  GaijiTable t;
  EXPECT_EQ(Load(t, "8740,kept\r\n87G0,bad hex\r\n874,three digits\r\n87400,five digits\r\n"
                    "8741 no separator\r\n\r\nCode=JIS\r\nA1A1,not a JIS code\r\nCode=EUC\r\n"
                    "2D21,not an EUC code\r\n\xff\xfe\x00garbage\r\n"s "ADA3,also kept\r\n"),
            2u);
  EXPECT_EQ(EntriesOf(t), (Entries{{0x8740, "kept"}, {0x8742, "also kept"}}));
}

TEST(GaijiTable, SearchFindsTheFirstOfTwoLinesForOneCode) {
  GaijiTable t;
  Load(t, "Default=-\r\n8740,first\r\n8540,\r\n8740,second\r\n8741,yy\r\n");
  EXPECT_EQ(EntriesOf(t), (Entries{{0x8540, ""}, {0x8740, "first"}, {0x8740, "second"}, {0x8741, "yy"}}));
  const std::pair<int, std::string> searches[] = {  // an empty replacement makes the gaiji disappear
      {0x8740, "first"}, {0x8540, ""}, {0x8741, "yy"}, {0x8742, "-"}, {0x84FF, "-"}, {0xFCFC, "-"}};
  for (const auto& [code, replacement] : searches) {
    EXPECT_EQ(Replacement(t, static_cast<std::uint8_t>(code >> 8), static_cast<std::uint8_t>(code)), replacement);
  }
  std::uint8_t out[4];
  EXPECT_EQ(t.GaijiSet(99, out, 0), 1u);  // out of range: the default
  EXPECT_EQ(t.LongestReplacement(), 6u);
  EXPECT_EQ(GaijiTable().LongestReplacement(), 2u);
}

// The shipped table for Macintosh files: CP932 with CR LF, a comment first,
// only gaiji codes, each once, none empty; Mac text comes out as Windows text.
TEST(MacGaiji, MapsMacGaijiToWindowsText) {
  const std::string path = FERROX_SOURCE_DIR "/data/MacGaiji.txt";
  const std::string text = testing::ReadAll(path);
  ASSERT_FALSE(text.empty());
  EXPECT_EQ(text.front(), '/');
  EXPECT_EQ(text.substr(text.size() - 2), "\r\n");
  std::ptrdiff_t pairs = 0;
  for (std::size_t p = text.find("\r\n"); p != std::string::npos; p = text.find("\r\n", p + 2)) ++pairs;
  EXPECT_EQ(std::count(text.begin(), text.end(), '\r'), pairs);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), pairs);
  EXPECT_EQ(cp932::ToUtf8(text).find("\xef\xbf\xbd"), std::string::npos) << "not CP932";

  GaijiTable t;
  ASSERT_GT(t.LoadGaijiTable(path), 200u);
  std::set<int> seen;
  for (std::size_t k = 1; k < t.Records().size(); ++k) {
    const auto& r = t.Records()[k];
    SCOPED_TRACE(::testing::Message() << std::hex << (r.first << 8 | r.second));
    EXPECT_EQ(code_ranges::SjisLead(r.first, r.second), code_ranges::Lead::kGaiji);
    EXPECT_TRUE(seen.insert(r.first << 8 | r.second).second) << "twice";
    EXPECT_FALSE(r.replacement.empty());
  }
  EXPECT_EQ(t.Records()[0].replacement, kGeta);

  // Mac ① (0x8540), (1) (0x855E, no CP932 form), a Mac code with neither, Ⅰ (0x859F).
  const std::string mac = "\x85\x40\x85\x5e\x85\x7c\x85\x9f"s "\0\0";
  std::uint8_t out[64];
  BufIndex o = 0, i = 0, consumed = 0;
  SjisCopy(out, reinterpret_cast<const std::uint8_t*>(mac.data()), o, i, 7, consumed,
           GaijiPolicy{GaijiPolicy::Mode::kReplace, &t});
  EXPECT_EQ(consumed, 8);
  EXPECT_EQ(cp932::ToUtf8(std::string(out, out + o)), "①(1)〓Ⅰ");
}

}  // namespace
}  // namespace ferrox
