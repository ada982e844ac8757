#pragma once
// The ASCII run copier of the block converters: printable bytes, TAB and FF go
// out as they are, CR, LF and CR LF as CR LF, sixteen or thirty-two bytes at a
// time at the level CurrentSimdLevel names.

#include <cstdint>

#include "analysis/char_type.h"
#include "convert/simd_level.h"

namespace ferrox {

struct AsciiRunEnd {
  BufIndex stop;    // the first byte not taken (at most end + 1)
  std::uint8_t* q;  // the output position behind what was written
};

// Copies the run that starts at in[k]; `end` is the last index that may be
// taken, and the input holds two bytes beyond it. The wide paths may store up
// to 32 bytes past the reported output end, never more than twice the input
// taken plus 32: an output with room for two bytes per input byte is enough.
[[nodiscard]] AsciiRunEnd AsciiRun(const std::uint8_t* in, BufIndex k, BufIndex end,
                                   std::uint8_t* q, SimdLevel level) noexcept;

}  // namespace ferrox
