// Line folding of converted text at a fixed width in bytes.

#include "convert/keta_soroe.h"

#include "text/code_ranges.h"

namespace ferrox {

namespace {

inline void Break(std::uint8_t* out, BufIndex& o, std::int32_t& c) noexcept {
  out[o] = 0x0D;
  out[o + 1] = 0x0A;
  o += 2;
  c = 0;
}

}  // namespace

BufIndex KetaSoroe(std::uint8_t* out, const std::uint8_t* in, BufIndex length, std::int32_t& column,
                   std::int32_t lineSize) noexcept {
  const BufIndex end = length - 3;
  std::int32_t c = column;
  BufIndex o = 0;
  for (BufIndex j = 0; j <= end; ++j) {
    const std::uint8_t b = in[j];
    if (b == 0x0D) {
      out[o] = b;
      out[o + 1] = in[j + 1];
      o += 2;
      ++j;
      c = 0;
    } else if (code_ranges::IsSjisLead(b) && code_ranges::IsSjisTrail(in[j + 1])) {
      if (c + 2 > lineSize) Break(out, o, c);
      out[o] = b;
      out[o + 1] = in[j + 1];
      o += 2;
      ++j;
      c += 2;
    } else {
      if (c + 1 > lineSize) Break(out, o, c);
      out[o++] = b;
      ++c;
    }
  }
  column = c;
  return o;
}

}  // namespace ferrox
