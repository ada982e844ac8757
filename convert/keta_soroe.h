#pragma once
// Line folding of converted text at a fixed width in bytes.

#include <cstdint>

#include "analysis/char_type.h"

namespace ferrox {

// Folds `in` (converted text whose line ends are all CR LF, `length` bytes of
// which the last two are zero look-ahead bytes) into `out` from index 0 so that
// no line holds more than `lineSize` bytes (lineSize > 0). A double-byte
// character is never split: it moves whole to the next line. `column` is the
// output column before the first byte and is updated, so folding is exact
// across blocks. Returns the number of bytes written; `out` must hold up to
// three times length bytes.
[[nodiscard]] BufIndex KetaSoroe(std::uint8_t* out, const std::uint8_t* in, BufIndex length,
                                 std::int32_t& column, std::int32_t lineSize) noexcept;

}  // namespace ferrox
