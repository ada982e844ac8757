#pragma once
// Wide fast paths for the run copiers: stretches made only of standard
// double-byte characters, the bulk of Japanese text, are checked and copied
// (Shift JIS) or converted (EUC, JIS) eight or sixteen characters at a time,
// at the level the caller names. Anything else (ASCII, kana, line ends, gaiji)
// ends the stretch and goes through the copier's byte loop, which alone
// decides what such bytes become.
//
// A stretch is stored whole and only its good prefix is kept, so the output
// needs room for two bytes per input byte plus one vector, which the block
// converters' output always has.

#include <array>
#include <cstddef>
#include <cstdint>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define FERROX_PAIR_SCAN_X86 1
#endif

#include "analysis/char_type.h"
#include "convert/simd_level.h"

namespace ferrox::pair_scan {

enum class PairCode { kEuc, kJis };

#if FERROX_PAIR_SCAN_X86

namespace detail {

// Vector constants are read from memory, where each instruction can take them
// as an operand; built in registers, they cost three instructions apiece and
// the compiler rebuilds them inside the loops.
using SplatRow = std::array<std::uint8_t, 32>;

constexpr std::array<SplatRow, 256> MakeSplats() noexcept {
  std::array<SplatRow, 256> t{};
  for (std::size_t b = 0; b < 256; ++b) {
    for (auto& x : t[b]) x = static_cast<std::uint8_t>(b);
  }
  return t;
}

// Row b holds 32 copies of b.
alignas(32) inline constexpr std::array<SplatRow, 256> kSplats = MakeSplats();

// The empty asm hides where the table is, so that the compiler keeps the loads
// instead of folding the known bytes back into broadcasts; one base register
// then serves every constant.
inline const std::uint8_t* SplatBase() noexcept {
  const std::uint8_t* p = kSplats[0].data();
  asm("" : "+r"(p));
  return p;
}

template <std::uint8_t kB>
inline __m128i Splat16() noexcept {
  return _mm_load_si128(reinterpret_cast<const __m128i*>(SplatBase() + 32 * kB));
}

template <std::uint8_t kB>
[[gnu::target("avx2")]] inline __m256i Splat32() noexcept {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(SplatBase() + 32 * kB));
}

// Bytes of v in lo..hi (unsigned) as 0xFF.
template <std::uint8_t kLo, std::uint8_t kHi>
inline __m128i InRange(__m128i v) noexcept {
  const __m128i shifted = _mm_sub_epi8(v, Splat16<kLo>());
  return _mm_cmpeq_epi8(_mm_min_epu8(shifted, Splat16<kHi - kLo>()), shifted);
}

template <std::uint8_t kLo, std::uint8_t kHi>
[[gnu::target("avx2")]] inline __m256i InRange(__m256i v) noexcept {
  const __m256i shifted = _mm256_sub_epi8(v, Splat32<kLo>());
  return _mm256_cmpeq_epi8(_mm256_min_epu8(shifted, Splat32<kHi - kLo>()), shifted);
}

// The positions that break the pairs: a lead position (even) holding no lead or
// an odd position holding no trail. Standard Shift JIS leads are 0x81..0x84,
// 0x89..0x9F, 0xE0..0xEA, and 0x88 before a trail of 0x9E and above; trails
// are 0x40..0xFC without 0x7F.
inline unsigned SjisBreaks(__m128i v) noexcept {
  const __m128i next = _mm_srli_si128(v, 1);
  const __m128i lead88 = _mm_and_si128(
      _mm_cmpeq_epi8(v, Splat16<0x88>()), InRange<0x9E, 0xFF>(next));
  const __m128i lead = _mm_or_si128(_mm_or_si128(InRange<0x81, 0x84>(v), InRange<0x89, 0x9F>(v)),
                                    _mm_or_si128(InRange<0xE0, 0xEA>(v), lead88));
  const __m128i trail =
      _mm_andnot_si128(_mm_cmpeq_epi8(v, Splat16<0x7F>()), InRange<0x40, 0xFC>(v));
  const unsigned leads = static_cast<unsigned>(_mm_movemask_epi8(lead)) & 0x5555U;
  const unsigned trails = static_cast<unsigned>(_mm_movemask_epi8(trail)) & 0xAAAAU;
  return ~(leads | trails) & 0xFFFFU;
}

// The same on 32 bytes. The shift to the next byte stays inside each 16-byte
// lane, which is enough: only even positions read it.
[[gnu::target("avx2")]] inline unsigned SjisBreaks(__m256i v) noexcept {
  const __m256i next = _mm256_srli_si256(v, 1);
  const __m256i lead88 =
      _mm256_and_si256(_mm256_cmpeq_epi8(v, Splat32<0x88>()),
                       InRange<0x9E, 0xFF>(next));
  const __m256i lead =
      _mm256_or_si256(_mm256_or_si256(InRange<0x81, 0x84>(v), InRange<0x89, 0x9F>(v)),
                      _mm256_or_si256(InRange<0xE0, 0xEA>(v), lead88));
  const __m256i trail =
      _mm256_andnot_si256(_mm256_cmpeq_epi8(v, Splat32<0x7F>()), InRange<0x40, 0xFC>(v));
  const auto leads = static_cast<unsigned>(_mm256_movemask_epi8(lead)) & 0x55555555U;
  const auto trails = static_cast<unsigned>(_mm256_movemask_epi8(trail)) & 0xAAAAAAAAU;
  return ~(leads | trails);
}

// Standard JIS X 0208 pairs in EUC (lead 0xA1..0xA8 or 0xB0..0xF4, trail
// 0xA1..0xFE) or 7-bit JIS (the same without the high bit).
template <PairCode kCode>
inline unsigned JisBreaks(__m128i v) noexcept {
  constexpr std::uint8_t kHigh = kCode == PairCode::kEuc ? 0x80 : 0x00;
  const __m128i lead = _mm_or_si128(InRange<0x21 | kHigh, 0x28 | kHigh>(v),
                                    InRange<0x30 | kHigh, 0x74 | kHigh>(v));
  const __m128i trail = InRange<0x21 | kHigh, 0x7E | kHigh>(v);
  const unsigned leads = static_cast<unsigned>(_mm_movemask_epi8(lead)) & 0x5555U;
  const unsigned trails = static_cast<unsigned>(_mm_movemask_epi8(trail)) & 0xAAAAU;
  return ~(leads | trails) & 0xFFFFU;
}

template <PairCode kCode>
[[gnu::target("avx2")]] inline unsigned JisBreaks(__m256i v) noexcept {
  constexpr std::uint8_t kHigh = kCode == PairCode::kEuc ? 0x80 : 0x00;
  const __m256i lead = _mm256_or_si256(InRange<0x21 | kHigh, 0x28 | kHigh>(v),
                                       InRange<0x30 | kHigh, 0x74 | kHigh>(v));
  const __m256i trail = InRange<0x21 | kHigh, 0x7E | kHigh>(v);
  const auto leads = static_cast<unsigned>(_mm256_movemask_epi8(lead)) & 0x55555555U;
  const auto trails = static_cast<unsigned>(_mm256_movemask_epi8(trail)) & 0xAAAAAAAAU;
  return ~(leads | trails);
}

// JIS X 0208 pairs (high bits ignored, so EUC works too) to Shift JIS, with
// the arithmetic of JisToSjis on each 16-bit lane: first byte (j1 - 0x21) / 2
// + 0x81, moved up by 0x40 past 0x9F; second byte j2 + 0x1F after an odd first
// byte, j2 + 0x7D after an even one, one more from 0x7F on.
inline __m128i JisPairsToSjis(__m128i v) noexcept {
  const __m128i j = _mm_and_si128(v, Splat16<0x7F>());
  const __m128i leadBytes = _mm_set1_epi16(0x00FF);
  __m128i f = _mm_and_si128(_mm_srli_epi16(_mm_sub_epi8(j, Splat16<0x21>()), 1),
                            Splat16<0x7F>());
  f = _mm_add_epi8(f, Splat16<0x81>());
  const __m128i pastRow = _mm_cmpeq_epi8(_mm_max_epu8(f, Splat16<0xA0>()), f);
  f = _mm_add_epi8(f, _mm_and_si128(pastRow, Splat16<0x40>()));
  const __m128i one = Splat16<1>();
  const __m128i odd = _mm_cmpeq_epi8(_mm_and_si128(_mm_slli_epi16(j, 8), one), one);
  __m128i t = _mm_add_epi8(j, _mm_or_si128(_mm_and_si128(odd, Splat16<0x1F>()),
                                           _mm_andnot_si128(odd, Splat16<0x7D>())));
  const __m128i skip7F = _mm_cmpeq_epi8(_mm_max_epu8(t, Splat16<0x7F>()), t);
  t = _mm_sub_epi8(t, skip7F);  // a true lane is -1
  return _mm_or_si128(_mm_and_si128(leadBytes, f), _mm_andnot_si128(leadBytes, t));
}

[[gnu::target("avx2")]] inline __m256i JisPairsToSjis(__m256i v) noexcept {
  const __m256i j = _mm256_and_si256(v, Splat32<0x7F>());
  const __m256i leadBytes = _mm256_set1_epi16(0x00FF);
  __m256i f = _mm256_and_si256(_mm256_srli_epi16(_mm256_sub_epi8(j, Splat32<0x21>()), 1),
                               Splat32<0x7F>());
  f = _mm256_add_epi8(f, Splat32<0x81>());
  const __m256i pastRow =
      _mm256_cmpeq_epi8(_mm256_max_epu8(f, Splat32<0xA0>()), f);
  f = _mm256_add_epi8(f, _mm256_and_si256(pastRow, Splat32<0x40>()));
  const __m256i one = Splat32<1>();
  const __m256i odd = _mm256_cmpeq_epi8(_mm256_and_si256(_mm256_slli_epi16(j, 8), one), one);
  __m256i t = _mm256_add_epi8(j, _mm256_or_si256(_mm256_and_si256(odd, Splat32<0x1F>()),
                                                 _mm256_andnot_si256(odd, Splat32<0x7D>())));
  const __m256i skip7F = _mm256_cmpeq_epi8(_mm256_max_epu8(t, Splat32<0x7F>()), t);
  t = _mm256_sub_epi8(t, skip7F);
  return _mm256_or_si256(_mm256_and_si256(leadBytes, f), _mm256_andnot_si256(leadBytes, t));
}

// The whole pairs before the first break.
inline BufIndex GoodPrefix(unsigned breaks) noexcept {
  return static_cast<BufIndex>(__builtin_ctz(breaks) & ~1);
}

// One loop per width and kind: kConvert false copies the bytes (Shift JIS),
// true converts JIS or EUC pairs. Returns when a stretch breaks or fewer than
// a whole stretch is left before end (a lead at end + 1 is never taken).
template <PairCode kCode, bool kConvert>
inline void Sse2Pairs(const std::uint8_t* in, BufIndex& k, BufIndex end,
                      std::uint8_t*& q) noexcept {
  while (k + 14 <= end) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + k));
    const unsigned breaks = kConvert ? JisBreaks<kCode>(v) : SjisBreaks(v);
    if ((breaks & 3U) != 0) return;  // not even one pair: nothing to convert
    _mm_storeu_si128(reinterpret_cast<__m128i*>(q), kConvert ? JisPairsToSjis(v) : v);
    if (breaks != 0) {
      const BufIndex good = GoodPrefix(breaks);
      q += good;
      k += good;
      return;
    }
    q += 16;
    k += 16;
  }
}

template <PairCode kCode, bool kConvert>
[[gnu::target("avx2")]] inline void Avx2Pairs(const std::uint8_t* in, BufIndex& k, BufIndex end,
                                              std::uint8_t*& q) noexcept {
  while (k + 30 <= end) {
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + k));
    const unsigned breaks = kConvert ? JisBreaks<kCode>(v) : SjisBreaks(v);
    if ((breaks & 3U) != 0) return;
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(q), kConvert ? JisPairsToSjis(v) : v);
    if (breaks != 0) {
      const BufIndex good = GoodPrefix(breaks);
      q += good;
      k += good;
      return;
    }
    q += 32;
    k += 32;
  }
  Sse2Pairs<kCode, kConvert>(in, k, end, q);
}

// Only counts: how many bytes of standard pairs start at in[k].
template <PairCode kCode, bool kSjis>
inline BufIndex Sse2PairsAhead(const std::uint8_t* in, BufIndex k, BufIndex end) noexcept {
  const BufIndex start = k;
  while (k + 14 <= end) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + k));
    const unsigned breaks = kSjis ? SjisBreaks(v) : JisBreaks<kCode>(v);
    if (breaks != 0) return k - start + GoodPrefix(breaks);
    k += 16;
  }
  return k - start;
}

template <PairCode kCode, bool kSjis>
[[gnu::target("avx2")]] inline BufIndex Avx2PairsAhead(const std::uint8_t* in, BufIndex k,
                                                       BufIndex end) noexcept {
  const BufIndex start = k;
  while (k + 30 <= end) {
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + k));
    const unsigned breaks = kSjis ? SjisBreaks(v) : JisBreaks<kCode>(v);
    if (breaks != 0) return k - start + GoodPrefix(breaks);
    k += 32;
  }
  return k - start + Sse2PairsAhead<kCode, kSjis>(in, k, end);
}

}  // namespace detail

// Copies from in[k] to q the standard Shift JIS characters that follow each
// other from k. Advances k and q past them.
inline void CopyStandardSjisPairs(const std::uint8_t* in, BufIndex& k, BufIndex end,
                                  std::uint8_t*& q, SimdLevel level) noexcept {
  if (level == SimdLevel::kAvx2) {
    detail::Avx2Pairs<PairCode::kEuc, false>(in, k, end, q);
  } else if (level == SimdLevel::kSse2) {
    detail::Sse2Pairs<PairCode::kEuc, false>(in, k, end, q);
  }
}

// Converts from in[k] to q the standard JIS X 0208 characters in EUC or 7-bit
// JIS that follow each other from k. Advances k and q past them.
template <PairCode kCode>
inline void ConvertStandardPairs(const std::uint8_t* in, BufIndex& k, BufIndex end,
                                 std::uint8_t*& q, SimdLevel level) noexcept {
  if (level == SimdLevel::kAvx2) {
    detail::Avx2Pairs<kCode, true>(in, k, end, q);
  } else if (level == SimdLevel::kSse2) {
    detail::Sse2Pairs<kCode, true>(in, k, end, q);
  }
}

// The bytes of standard EUC pairs that start at in[k]; 0 in the scalar path,
// where the caller's own loop does the work.
inline BufIndex StandardEucPairsAhead(const std::uint8_t* in, BufIndex k, BufIndex end,
                                      SimdLevel level) noexcept {
  if (level == SimdLevel::kAvx2) return detail::Avx2PairsAhead<PairCode::kEuc, false>(in, k, end);
  if (level == SimdLevel::kSse2) return detail::Sse2PairsAhead<PairCode::kEuc, false>(in, k, end);
  return 0;
}

// The same for standard Shift JIS pairs.
inline BufIndex StandardSjisPairsAhead(const std::uint8_t* in, BufIndex k, BufIndex end,
                                       SimdLevel level) noexcept {
  if (level == SimdLevel::kAvx2) return detail::Avx2PairsAhead<PairCode::kEuc, true>(in, k, end);
  if (level == SimdLevel::kSse2) return detail::Sse2PairsAhead<PairCode::kEuc, true>(in, k, end);
  return 0;
}

#else

template <PairCode kCode>
inline void ConvertStandardPairs(const std::uint8_t*, BufIndex&, BufIndex, std::uint8_t*&,
                                 SimdLevel) noexcept {}
inline void CopyStandardSjisPairs(const std::uint8_t*, BufIndex&, BufIndex, std::uint8_t*&,
                                  SimdLevel) noexcept {}
inline BufIndex StandardEucPairsAhead(const std::uint8_t*, BufIndex, BufIndex,
                                      SimdLevel) noexcept {
  return 0;
}
inline BufIndex StandardSjisPairsAhead(const std::uint8_t*, BufIndex, BufIndex,
                                       SimdLevel) noexcept {
  return 0;
}

#endif

}  // namespace ferrox::pair_scan
