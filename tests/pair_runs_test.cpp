// Long runs of double-byte characters through the copiers: the wide paths must
// give what the pair-by-pair rules give, wherever a run starts, stops or meets
// the end of the block.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "convert/transcoders.h"

namespace ferrox {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Copier = void (*)(std::uint8_t*, const std::uint8_t*, BufIndex&, BufIndex&, BufIndex,
                        BufIndex&, const GaijiPolicy&) noexcept;

struct Code {
  const char* name;
  Copier copy;
  std::uint8_t high;  // 0x80 for EUC, 0 for JIS, unused for Shift JIS
  bool sjis;
};

const Code kCodes[] = {
    {"Shift JIS", SjisCopy, 0, true},
    {"EUC", EucCopy, 0x80, false},
    {"JIS", JisZenCopy, 0, false},
};

// Every character of the standard rows (1-8, 16-84) of JIS X 0208, in order.
std::vector<std::pair<int, int>> StandardPairs() {
  std::vector<std::pair<int, int>> pairs;
  for (int j1 = 0x21; j1 <= 0x74; ++j1) {
    if (j1 >= 0x29 && j1 <= 0x2F) continue;
    for (int j2 = 0x21; j2 <= 0x7E; ++j2) pairs.emplace_back(j1, j2);
  }
  return pairs;
}

// The input bytes of the pairs in `code` and the Shift JIS they become, each
// pair converted on its own.
void Encode(const Code& code, const std::vector<std::pair<int, int>>& pairs, Bytes& in,
            Bytes& expected) {
  for (const auto& [j1, j2] : pairs) {
    std::uint8_t s1 = 0;
    std::uint8_t s2 = 0;
    JisToSjis(s1, s2, static_cast<std::uint8_t>(j1), static_cast<std::uint8_t>(j2));
    expected.push_back(s1);
    expected.push_back(s2);
    if (code.sjis) {
      in.push_back(s1);
      in.push_back(s2);
    } else {
      in.push_back(static_cast<std::uint8_t>(j1 | code.high));
      in.push_back(static_cast<std::uint8_t>(j2 | code.high));
    }
  }
}

struct Result {
  Bytes out;
  BufIndex consumed;
};

// Copies from `start` with the given end index; the buffer gets its two bytes
// of look-ahead past end.
Result Copy(const Code& code, Bytes in, BufIndex start, BufIndex end, GaijiPolicy::Mode mode) {
  in.resize(static_cast<std::size_t>(end) + 3, 0);
  Bytes out(2 * in.size() + 16, 0xEE);
  BufIndex o = 0;
  BufIndex i = start;
  BufIndex consumed = -1;
  GaijiPolicy policy;
  policy.mode = mode;
  code.copy(out.data(), in.data(), o, i, end, consumed, policy);
  EXPECT_EQ(i, start + consumed - 1);
  out.resize(static_cast<std::size_t>(o));
  return {out, consumed};
}

TEST(PairRuns, EveryStandardCharacterInOneRun) {
  for (const Code& code : kCodes) {
    SCOPED_TRACE(code.name);
    Bytes in;
    Bytes expected;
    Encode(code, StandardPairs(), in, expected);
    for (auto mode : {GaijiPolicy::Mode::kStrict, GaijiPolicy::Mode::kPass}) {
      const auto end = static_cast<BufIndex>(in.size()) - 1;
      const Result r = Copy(code, in, 0, end, mode);
      EXPECT_EQ(r.consumed, static_cast<BufIndex>(in.size()));
      EXPECT_EQ(r.out, expected);
    }
  }
}

TEST(PairRuns, StopAtTheFirstByteThatIsNoCharacter) {
  const auto all = StandardPairs();
  const std::vector<std::pair<int, int>> pairs(all.begin() + 500, all.begin() + 540);
  for (const Code& code : kCodes) {
    SCOPED_TRACE(code.name);
    Bytes clean;
    Bytes expected;
    Encode(code, pairs, clean, expected);
    for (std::size_t shift : {0u, 1u, 7u}) {
      for (std::size_t bad = 0; bad < 48; ++bad) {
        SCOPED_TRACE(std::to_string(shift) + " " + std::to_string(bad));
        Bytes in(shift, 0x21);
        in.insert(in.end(), clean.begin(), clean.end());
        in[shift + bad] = 0x1B;  // stops every copier, as a lead or as a trail
        const Result r = Copy(code, in, static_cast<BufIndex>(shift),
                              static_cast<BufIndex>(in.size()) - 1, GaijiPolicy::Mode::kPass);
        const auto taken = static_cast<BufIndex>(bad & ~std::size_t{1});
        EXPECT_EQ(r.consumed, taken);
        EXPECT_EQ(r.out, Bytes(expected.begin(), expected.begin() + taken));
      }
    }
  }
}

TEST(PairRuns, TakeNoCharacterThatStartsPastTheEnd) {
  const auto all = StandardPairs();
  const std::vector<std::pair<int, int>> pairs(all.begin() + 2000, all.begin() + 2030);
  for (const Code& code : kCodes) {
    SCOPED_TRACE(code.name);
    Bytes in;
    Bytes expected;
    Encode(code, pairs, in, expected);
    for (BufIndex end = 0; end < 50; ++end) {
      SCOPED_TRACE(end);
      const Result r = Copy(code, in, 0, end, GaijiPolicy::Mode::kStrict);
      const BufIndex taken = (end / 2 + 1) * 2;  // the pair at end reads end + 1
      EXPECT_EQ(r.consumed, taken);
      EXPECT_EQ(r.out, Bytes(expected.begin(), expected.begin() + taken));
    }
  }
}

TEST(PairRuns, GaijiAndRowSeamsInsideLongRuns) {
  // Runs that mix standard characters with gaiji and the Shift JIS row 0x88
  // leave the wide path at each of them and come back.
  std::vector<std::pair<int, int>> pairs;
  for (int k = 0; k < 30; ++k) {
    pairs.emplace_back(0x30 + k % 3, 0x21 + k);
    if (k % 7 == 3) pairs.emplace_back(0x2D, 0x21 + k);  // row 13: gaiji
    if (k % 5 == 1) pairs.emplace_back(0x75, 0x30);      // row 85: gaiji
    if (k % 7 == 5) pairs.emplace_back(0x2F, 0x7D);      // Shift JIS 0x88 0x9D: gaiji
  }
  for (const Code& code : kCodes) {
    SCOPED_TRACE(code.name);
    Bytes in;
    Bytes expected;
    Encode(code, pairs, in, expected);
    const Result pass = Copy(code, in, 0, static_cast<BufIndex>(in.size()) - 1, GaijiPolicy::Mode::kPass);
    EXPECT_EQ(pass.out, expected);
    const Result strict = Copy(code, in, 0, static_cast<BufIndex>(in.size()) - 1, GaijiPolicy::Mode::kStrict);
    EXPECT_EQ(strict.consumed, 2 * 2);  // up to the first gaiji, pairs[2]
  }
}

TEST(PairRuns, ShiftJisRow88SplitsAt9E) {
  // 0x88 0x9E still counts as standard; 0x88 0x9D is a gaiji and stops a strict run.
  for (std::size_t at = 0; at < 20; ++at) {
    SCOPED_TRACE(at);
    Bytes in;
    for (std::size_t k = 0; k < 20; ++k) {
      in.push_back(0x88);
      in.push_back(static_cast<std::uint8_t>(k == at ? 0x9D : 0x9E + k % 3));
    }
    const Result r = Copy(kCodes[0], in, 0, static_cast<BufIndex>(in.size()) - 1,
                          GaijiPolicy::Mode::kStrict);
    EXPECT_EQ(r.consumed, static_cast<BufIndex>(2 * at));
    EXPECT_EQ(r.out, Bytes(in.begin(), in.begin() + static_cast<std::ptrdiff_t>(2 * at)));
  }
}

}  // namespace
}  // namespace ferrox
