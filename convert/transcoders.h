#pragma once
// Run copiers: each copies or converts a whole run of like characters into
// Shift JIS in a tight loop, so that the block converter classifies only at the
// borders between runs.
//
// Contract: `o` is the next free output index and is advanced past what was
// written; `i` starts on the first byte of the run and ends on the last byte
// consumed (so the caller's "+1" lands on the next byte); `end` is the last
// index that may start a character, and the input holds two bytes beyond it.
// `consumed` is 0 when the first byte was refused.

#include <cstdint>

#include "analysis/char_type.h"

namespace ferrox {

class GaijiTable;

// How gaiji are treated, from ConvMode bits 8 and 16.
struct GaijiPolicy {
  enum class Mode : std::uint8_t { kStrict, kPass, kReplace };
  Mode mode = Mode::kStrict;
  const GaijiTable* table = nullptr;  // used in kReplace; null means default-only

  [[nodiscard]] static GaijiPolicy FromConvMode(std::uint16_t convMode,
                                                const GaijiTable* table) noexcept;
};

void SjisCopy(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i, BufIndex end,
              BufIndex& consumed, const GaijiPolicy& policy) noexcept;
void EucCopy(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i, BufIndex end,
             BufIndex& consumed, const GaijiPolicy& policy) noexcept;
void JisZenCopy(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i, BufIndex end,
                BufIndex& consumed, const GaijiPolicy& policy) noexcept;

}  // namespace ferrox
