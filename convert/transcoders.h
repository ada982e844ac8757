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
#include "convert/simd_level.h"

namespace ferrox {

class ChangeAccount;
class GaijiTable;

// How gaiji are treated, from ConvMode bits 8 and 16, whether Shift JIS is
// read as Mac Japanese, and where changes are counted.
struct GaijiPolicy {
  enum class Mode : std::uint8_t { kStrict, kPass, kReplace };
  Mode mode = Mode::kStrict;
  const GaijiTable* table = nullptr;  // used in kReplace; null means default-only
  bool mac = false;                   // Apple's extension codes become CP932
  ChangeAccount* account = nullptr;   // null: changes are not counted

  [[nodiscard]] static GaijiPolicy FromConvMode(std::uint16_t convMode,
                                                const GaijiTable* table) noexcept;
};

// The loops behind the copiers, for a caller that starts many short runs and
// picks the loops once: each takes the run from in[k] on and returns the first
// byte it did not take (k when it refuses the first) and the output position
// behind what it wrote.
struct RunEnd {
  BufIndex stop;
  std::uint8_t* q;
};
using RunLoop = RunEnd (*)(const std::uint8_t* in, BufIndex k, BufIndex end, std::uint8_t* q,
                           const GaijiPolicy& policy, SimdLevel level) noexcept;
struct RunLoops {
  RunLoop sjis;
  RunLoop euc;
  RunLoop jisZen;
};
[[nodiscard]] RunLoops RunLoopsFor(const GaijiPolicy& policy) noexcept;

void SjisCopy(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i, BufIndex end,
              BufIndex& consumed, const GaijiPolicy& policy) noexcept;
void EucCopy(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i, BufIndex end,
             BufIndex& consumed, const GaijiPolicy& policy) noexcept;
void JisZenCopy(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i, BufIndex end,
                BufIndex& consumed, const GaijiPolicy& policy) noexcept;

}  // namespace ferrox
