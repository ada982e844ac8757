#pragma once
// Shift JIS or EUC-JP for a stretch that both read to its end without a
// fault and with as many gaiji (SjisOrEuc's verdict 0), decided as real
// Japanese text is written: EUC-JP text is full of kana and punctuation pairs
// (leads 0xA1, 0xA4, 0xA5), which Shift JIS would read as half-width "｡",
// "､", "･" at every other byte; and half-width katakana words never start
// with a sound mark, a long-vowel mark or a small kana.

#include "analysis/char_type.h"

namespace ferrox {

// 1 Shift JIS, 2 EUC-JP, 0 no telling. `r` is the SjisOrEuc result for the
// stretch at `start`; `cutBefore` says that what precedes it is unknown (it
// starts a chunk), so it may continue a word.
[[nodiscard]] int BreakTie(const std::uint8_t* buf, BufIndex start, const SjisOrEucResult& r,
                           bool cutBefore) noexcept;

}  // namespace ferrox
