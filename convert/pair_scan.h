#pragma once
// Wide fast paths for the run copiers: 16-byte stretches made only of standard
// double-byte characters, the bulk of Japanese text, are checked and copied
// (Shift JIS) or converted (EUC, JIS) eight characters at a time. Anything else
// (ASCII, kana, line ends, gaiji) ends the
// stretch and goes through the copier's byte loop, which alone decides what
// such bytes become.

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "analysis/char_type.h"

namespace ferrox::pair_scan {

#if defined(__SSE2__)

namespace detail {

// Bytes of v in lo..hi (unsigned) as 0xFF.
inline __m128i InRange(__m128i v, std::uint8_t lo, std::uint8_t hi) noexcept {
  const __m128i shifted = _mm_sub_epi8(v, _mm_set1_epi8(static_cast<char>(lo)));
  const __m128i width = _mm_set1_epi8(static_cast<char>(hi - lo));
  return _mm_cmpeq_epi8(_mm_min_epu8(shifted, width), shifted);
}

}  // namespace detail

// Copies from in[k] to q the standard Shift JIS characters (lead 0x81..0x84,
// 0x89..0x9F or 0xE0..0xEA, or 0x88 before 0x9E..0xFC; trail 0x40..0xFC
// without 0x7F) that follow each
// other from k, sixteen bytes at a time while a whole stretch lies at or before
// `end` (a lead at end + 1 is never taken). Advances k and q past them.
inline void CopyStandardSjisPairs(const std::uint8_t* in, BufIndex& k, BufIndex end,
                                  std::uint8_t*& q) noexcept {
  using detail::InRange;
  while (k + 14 <= end) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + k));
    // 0x88 is a standard lead only before a trail of 0x9E and above.
    const __m128i next = _mm_srli_si128(v, 1);
    const __m128i lead88 =
        _mm_and_si128(_mm_cmpeq_epi8(v, _mm_set1_epi8(static_cast<char>(0x88))),
                      InRange(next, 0x9E, 0xFF));
    const __m128i lead =
        _mm_or_si128(_mm_or_si128(InRange(v, 0x81, 0x84), InRange(v, 0x89, 0x9F)),
                     _mm_or_si128(InRange(v, 0xE0, 0xEA), lead88));
    const __m128i trail =
        _mm_andnot_si128(_mm_cmpeq_epi8(v, _mm_set1_epi8(0x7F)), InRange(v, 0x40, 0xFC));
    const unsigned leads = static_cast<unsigned>(_mm_movemask_epi8(lead)) & 0x5555U;
    const unsigned trails = static_cast<unsigned>(_mm_movemask_epi8(trail)) & 0xAAAAU;
    const unsigned bad = ~(leads | trails) & 0xFFFFU;
    if (bad != 0) {
      // The whole pairs before the first byte that does not fit are still taken.
      const auto good = static_cast<BufIndex>(__builtin_ctz(bad) & ~1);
      std::memcpy(q, in + k, static_cast<std::size_t>(good));
      q += good;
      k += good;
      return;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(q), v);
    q += 16;
    k += 16;
  }
}

// Eight JIS X 0208 pairs (high bits ignored, so EUC works too) to Shift JIS,
// with the arithmetic of JisToSjis on each 16-bit lane.
inline __m128i JisPairsToSjis(__m128i v) noexcept {
  const __m128i j = _mm_and_si128(v, _mm_set1_epi8(0x7F));
  const __m128i leadBytes = _mm_set1_epi16(0x00FF);
  // First byte: (j1 - 0x21) / 2 + 0x81, moved up by 0x40 past 0x9F.
  __m128i f = _mm_and_si128(_mm_srli_epi16(_mm_sub_epi8(j, _mm_set1_epi8(0x21)), 1),
                            _mm_set1_epi8(0x7F));
  f = _mm_add_epi8(f, _mm_set1_epi8(static_cast<char>(0x81)));
  const __m128i pastRow = _mm_cmpeq_epi8(_mm_max_epu8(f, _mm_set1_epi8(static_cast<char>(0xA0))), f);
  f = _mm_add_epi8(f, _mm_and_si128(pastRow, _mm_set1_epi8(0x40)));
  // Second byte: j2 + 0x1F after an odd first byte, j2 + 0x7D after an even
  // one; one more from 0x7F on.
  const __m128i one = _mm_set1_epi8(1);
  const __m128i odd = _mm_cmpeq_epi8(_mm_and_si128(_mm_slli_epi16(j, 8), one), one);
  __m128i t = _mm_add_epi8(j, _mm_or_si128(_mm_and_si128(odd, _mm_set1_epi8(0x1F)),
                                           _mm_andnot_si128(odd, _mm_set1_epi8(0x7D))));
  const __m128i skip7F = _mm_cmpeq_epi8(_mm_max_epu8(t, _mm_set1_epi8(0x7F)), t);
  t = _mm_sub_epi8(t, skip7F);  // a true lane is -1
  return _mm_or_si128(_mm_and_si128(leadBytes, f), _mm_andnot_si128(leadBytes, t));
}

enum class PairCode { kEuc, kJis };

// Converts from in[k] to q the standard JIS X 0208 characters in EUC (lead
// 0xA1..0xA8 or 0xB0..0xF4, trail 0xA1..0xFE) or 7-bit JIS (0x21..0x28 or
// 0x30..0x74, trail 0x21..0x7E) that follow each other from k, under the same
// bound as CopyStandardSjisPairs. Advances k and q past them.
template <PairCode kCode>
inline void ConvertStandardPairs(const std::uint8_t* in, BufIndex& k, BufIndex end,
                                 std::uint8_t*& q) noexcept {
  using detail::InRange;
  constexpr std::uint8_t kHigh = kCode == PairCode::kEuc ? 0x80 : 0x00;
  while (k + 14 <= end) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + k));
    const __m128i lead = _mm_or_si128(InRange(v, 0x21 | kHigh, 0x28 | kHigh),
                                      InRange(v, 0x30 | kHigh, 0x74 | kHigh));
    const __m128i trail = InRange(v, 0x21 | kHigh, 0x7E | kHigh);
    const unsigned leads = static_cast<unsigned>(_mm_movemask_epi8(lead)) & 0x5555U;
    const unsigned trails = static_cast<unsigned>(_mm_movemask_epi8(trail)) & 0xAAAAU;
    const unsigned bad = ~(leads | trails) & 0xFFFFU;
    const __m128i s = JisPairsToSjis(v);
    if (bad != 0) {
      const auto good = static_cast<BufIndex>(__builtin_ctz(bad) & ~1);
      alignas(16) std::uint8_t converted[16];
      _mm_store_si128(reinterpret_cast<__m128i*>(converted), s);
      std::memcpy(q, converted, static_cast<std::size_t>(good));
      q += good;
      k += good;
      return;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(q), s);
    q += 16;
    k += 16;
  }
}

#else

enum class PairCode { kEuc, kJis };

template <PairCode kCode>
inline void ConvertStandardPairs(const std::uint8_t*, BufIndex&, BufIndex,
                                 std::uint8_t*&) noexcept {}

inline void CopyStandardSjisPairs(const std::uint8_t*, BufIndex&, BufIndex,
                                  std::uint8_t*&) noexcept {}

#endif

}  // namespace ferrox::pair_scan
