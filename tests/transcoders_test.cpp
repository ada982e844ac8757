// The run copiers: gaiji modes, the whole JIS X 0208 table against iconv, long runs.

#include "convert/transcoders.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <optional>
#include <string>
#include <vector>

#include "convert/gaiji_table.h"
#include "helpers/scratch_dir.h"

namespace ferrox {
namespace {

using Mode = GaijiPolicy::Mode;
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

// 0x87 0x40 -> "(1)", 0x85 0x40 -> nothing; every other gaiji -> 〓.
const GaijiTable& TestTable() {
  static const GaijiTable table = [] {
    GaijiTable t;
    t.LoadGaijiTable(testing::ScratchDir().Write("GaiTbl.txt", "8740,(1)\r\n8540,\r\n"));
    return t;
  }();
  return table;
}

struct ModeCase { const char* name; std::string in; Copied strict, pass, replace; };

ModeCase Same(const char* name, std::string in, std::string out, BufIndex consumed) {
  return {name, std::move(in), {out, consumed}, {out, consumed}, {out, consumed}};
}

void CheckModes(Copier copy, const std::vector<ModeCase>& cases) {
  for (const auto& c : cases) {
    const std::pair<Mode, const Copied*> modes[] = {
        {Mode::kStrict, &c.strict}, {Mode::kPass, &c.pass}, {Mode::kReplace, &c.replace}};
    for (const auto& [mode, want] : modes) {
      SCOPED_TRACE(::testing::Message() << c.name << " / mode " << static_cast<int>(mode));
      const Copied r = Copy(copy, "@" + c.in, 1, static_cast<BufIndex>(c.in.size()), {mode, &TestTable()});
      EXPECT_EQ(r.out, want->out);
      EXPECT_EQ(r.consumed, want->consumed);
    }
  }
}

TEST(SjisCopy, ThreeModes) {
  CheckModes(SjisCopy, {
      Same("kanji, kana, blank, tab", "\x93\xfa\xb1 \t\x96\x7b", "\x93\xfa\xb1 \t\x96\x7b", 7),
      Same("line ends become CR LF", "\x82\xa0\r\x82\xa0\n\r\n", "\x82\xa0\r\n\x82\xa0\r\n\r\n", 8),
      Same("ASCII letter ends the run", "\xb1" "A\xb1", "\xb1", 1),
      Same("form feed ends the run", "\xb1\x0c", "\xb1", 1),
      Same("bad trail 0x7F: lead not consumed", "\x82\xa0\x82\x7f", "\x82\xa0", 2),
      Same("lead before the zero padding", "\xb1\x82", "\xb1", 1),
      Same("0xFD is no lead", "\xfd\x40", "", 0),
      {"NEC row 13: table entry", "\x87\x40", {"", 0}, {"\x87\x40", 2}, {"(1)", 2}},
      {"empty replacement: the gaiji disappears", "\x82\xa0\x85\x40\x82\xa0",
       {"\x82\xa0", 2}, {"\x82\xa0\x85\x40\x82\xa0", 6}, {"\x82\xa0\x82\xa0", 6}},
      {"no entry: the default", "\xeb\x40\xb1", {"", 0}, {"\xeb\x40\xb1", 3}, {"\x81\xac\xb1", 3}},
      {"0x88 0x9E is standard, 0x88 0x9D gaiji", "\x88\x9e\x88\x9d",
       {"\x88\x9e", 2}, {"\x88\x9e\x88\x9d", 4}, {"\x88\x9e\x81\xac", 4}},
  });
}

TEST(EucCopy, ThreeModes) {
  CheckModes(EucCopy, {
      Same("kanji, SS2 kana (0xA0 too), blank, tab", "\xb0\xa1\x8e\xb1\x8e\xa0 \t",
           "\x88\x9f\xb1\xa0 \t", 8),
      Same("line ends", "\xa4\xa2\r\n\n\r", "\x82\xa0\r\n\r\n\r\n", 6),
      Same("SS3 is not accepted", "\xa4\xa2\x8f\xa1\xa1", "\x82\xa0", 2),
      Same("SS2 with a non-kana byte", "\x8e\xe0", "", 0),
      Same("bad trail", "\xa4\xa2\xa4\x41", "\x82\xa0", 2),
      Same("lead before the zero padding", "\xa4\xa2\xa4", "\x82\xa0", 2),
      {"row 13: table entry", "\xad\xa1", {"", 0}, {"\x87\x40", 2}, {"(1)", 2}},
      {"row 85: default", "\xf5\xa1\xa4\xa2", {"", 0}, {"\xeb\x40\x82\xa0", 4}, {"\x81\xac\x82\xa0", 4}},
      {"row 94", "\xfe\xfe", {"", 0}, {"\xef\xfc", 2}, {"\x81\xac", 2}},
  });
}

TEST(JisZenCopy, ThreeModes) {
  CheckModes(JisZenCopy, {
      Same("stops at the escape", "F|\x1b(B", "\x93\xfa", 2),
      Same("copies no line end", "F|\r\n", "\x93\xfa", 2),
      Same("second byte 0x7F", "F\x7f", "", 0),
      Same("odd byte at the end meets the padding", "F|F", "\x93\xfa", 2),
      {"row 13: table entry", "-!", {"", 0}, {"\x87\x40", 2}, {"(1)", 2}},
      {"0x7E 0x7E", "F|~~", {"\x93\xfa", 2}, {"\x93\xfa\xef\xfc", 4}, {"\x93\xfa\x81\xac", 4}},
  });
}

struct Cell {
  std::string sjis, euc, jis;
  const std::string& In(int code) const { return code == 0 ? sjis : code == 1 ? euc : jis; }
};
const Copier kCopiers[] = {SjisCopy, EucCopy, JisZenCopy};
const char* const kCodeNames[] = {"Shift JIS", "EUC", "JIS"};

std::optional<std::string> Iconv(const char* to, const char* from, std::string in) {
  const iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  std::string out(in.size() * 4 + 16, '\0');
  char* src = in.data();
  char* dst = out.data();
  std::size_t left = in.size(), room = out.size();
  const std::size_t rc = iconv(cd, &src, &left, &dst, &room);
  iconv_close(cd);
  if (rc == static_cast<std::size_t>(-1) || left != 0) return std::nullopt;
  out.resize(out.size() - room);
  return out;
}

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

}  // namespace
}  // namespace ferrox
