// Shift JIS/EUC-JP ties decided from what the two readings look like.

#include "analysis/tie_break.h"

namespace ferrox {
namespace {

constexpr bool InRange(std::uint8_t b, int lo, int hi) noexcept { return b >= lo && b <= hi; }

// Half-width katakana that only ever follow a kana letter: the sound marks
// ﾞ ﾟ, the long-vowel mark ｰ and the small kana ｧ .. ｯ.
constexpr bool FollowsLetter(std::uint8_t b) noexcept {
  return b == 0xDE || b == 0xDF || b == 0xB0 || InRange(b, 0xA7, 0xAF);
}

// A half-width katakana letter (ｦ, ｱ .. ﾝ), after which those may stand.
constexpr bool IsKanaLetter(std::uint8_t b) noexcept {
  return b == 0xA6 || InRange(b, 0xB1, 0xDD);
}

}  // namespace

int BreakTie(const std::uint8_t* buf, BufIndex start, const SjisOrEucResult& r,
             bool cutBefore) noexcept {
  // EUC-JP reading: pairs in the kana and punctuation rows.
  int pairs = 0;
  int kanaRows = 0;
  for (BufIndex p = start; p < start + r.eucLength; p += 2) {
    ++pairs;
    const std::uint8_t lead = buf[p];
    if (lead == 0xA1 || lead == 0xA4 || lead == 0xA5) ++kanaRows;
  }
  if (kanaRows >= 2 && 2 * kanaRows >= pairs) return 2;

  // Shift JIS reading: half-width katakana that no word would hold.
  // The half-width katakana before, 0 after anything else.
  std::uint8_t before = cutBefore ? 0xB1 : 0;
  for (BufIndex p = start; p < start + r.sjisLength;) {
    const std::uint8_t b = buf[p];
    if (InRange(b, 0xA1, 0xDF)) {
      if (FollowsLetter(b) && !IsKanaLetter(before) && !FollowsLetter(before)) return 2;
      before = b;
      p += 1;
    } else {
      before = 0;
      p += 2;
    }
  }
  return 0;
}

}  // namespace ferrox
