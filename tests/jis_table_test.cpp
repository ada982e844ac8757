// Every JIS X 0208 character that CP932 has must come out of the EUC and the
// JIS copiers as the very bytes iconv's CP932 gives for it.

#include <gtest/gtest.h>
#include <iconv.h>

#include <optional>
#include <string>
#include <vector>

#include "convert/transcoders.h"

namespace ferrox {
namespace {

std::optional<std::string> Iconv(const char* to, const char* from, const std::string& in) {
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  std::string out(in.size() * 4 + 16, '\0');
  char* src = const_cast<char*>(in.data());
  std::size_t left = in.size();
  char* dst = out.data();
  std::size_t room = out.size();
  const std::size_t rc = iconv(cd, &src, &left, &dst, &room);
  iconv_close(cd);
  if (rc == static_cast<std::size_t>(-1) || left != 0) return std::nullopt;
  out.resize(out.size() - room);
  return out;
}

struct Cell {
  int row, cell;
  std::string euc, jis, sjis;
};

// The oracle: EUC-JP bytes -> the character (UTF-8) -> CP932 bytes, both by
// iconv. Cells either conversion refuses are not characters of both codes.
const std::vector<Cell>& MappedCells() {
  static const std::vector<Cell> cells = [] {
    std::vector<Cell> v;
    for (int row = 1; row <= 94; ++row) {
      for (int cell = 1; cell <= 94; ++cell) {
        const std::string euc{static_cast<char>(0xA0 + row), static_cast<char>(0xA0 + cell)};
        const auto utf8 = Iconv("UTF-8", "EUC-JP", euc);
        if (!utf8) continue;
        const auto sjis = Iconv("CP932", "UTF-8", *utf8);
        if (!sjis) continue;
        const std::string jis{static_cast<char>(0x20 + row), static_cast<char>(0x20 + cell)};
        v.push_back({row, cell, euc, jis, *sjis});
      }
    }
    return v;
  }();
  return cells;
}

std::string Copy(void (*copy)(std::uint8_t*, const std::uint8_t*, BufIndex&, BufIndex&, BufIndex,
                              BufIndex&, const GaijiPolicy&) noexcept,
                 const std::string& in, GaijiPolicy::Mode mode, BufIndex& consumed) {
  const std::string padded = in + std::string(2, '\0');
  std::vector<std::uint8_t> out(in.size() * 3 + 8);
  BufIndex o = 0, i = 0;
  copy(out.data(), reinterpret_cast<const std::uint8_t*>(padded.data()), o, i,
       static_cast<BufIndex>(in.size()) - 1, consumed, GaijiPolicy{mode, nullptr});
  return std::string(out.begin(), out.begin() + o);
}

TEST(JisTable, IconvMapsTheWholeStandardTable) {
  // JIS X 0208 has 6879 characters and CP932 has every one of them, so a
  // smaller count means the oracle itself is broken on this machine.
  EXPECT_EQ(MappedCells().size(), 6879u);
}

TEST(JisTable, EachCellAloneFromEucAndJis) {
  for (const Cell& c : MappedCells()) {
    for (const auto mode : {GaijiPolicy::Mode::kStrict, GaijiPolicy::Mode::kPass}) {
      BufIndex consumed = 0;
      EXPECT_EQ(Copy(EucCopy, c.euc, mode, consumed), c.sjis) << "row " << c.row << " cell " << c.cell;
      EXPECT_EQ(consumed, 2);
      EXPECT_EQ(Copy(JisZenCopy, c.jis, mode, consumed), c.sjis) << "row " << c.row << " cell " << c.cell;
      EXPECT_EQ(consumed, 2);
    }
  }
}

TEST(JisTable, WholeTableAsOneRun) {
  std::string euc, jis, sjis;
  for (const Cell& c : MappedCells()) {
    euc += c.euc;
    jis += c.jis;
    sjis += c.sjis;
  }
  BufIndex consumed = 0;
  EXPECT_TRUE(Copy(EucCopy, euc, GaijiPolicy::Mode::kStrict, consumed) == sjis);
  EXPECT_EQ(consumed, static_cast<BufIndex>(euc.size()));
  EXPECT_TRUE(Copy(JisZenCopy, jis, GaijiPolicy::Mode::kStrict, consumed) == sjis);
  EXPECT_EQ(consumed, static_cast<BufIndex>(jis.size()));
}

}  // namespace
}  // namespace ferrox
