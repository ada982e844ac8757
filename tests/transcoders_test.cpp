// The run copiers: the whole JIS X 0208 table against iconv, and where long
// runs stop. (The gaiji modes: fast_pass_test holds every mode to the plain
// reference converters, and ferrox_conv_test gives their bytes.)

#include "convert/transcoders.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "helpers/cli_runner.h"

namespace ferrox {
namespace {

using Mode = GaijiPolicy::Mode;
using testing::Iconv;
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

}  // namespace
}  // namespace ferrox
