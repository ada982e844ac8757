// The ASCII run copier at each wide-path level.

#include "convert/ascii_run.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define FERROX_X86 1
#endif

namespace ferrox {
namespace {

// One byte that stopped a wide stretch (or any byte in the scalar path):
// takes it and returns true, or returns false when the run ends there.
[[gnu::always_inline]] inline bool TakeByte(const std::uint8_t* in, BufIndex& k,
                                            std::uint8_t*& q) noexcept {
  const std::uint8_t b = in[k];
  if ((b >= 0x20 && b <= 0x7E) || b == 0x09 || b == 0x0C) {
    *q++ = b;
    ++k;
  } else if (b == 0x0A || b == 0x0D) {
    q[0] = 0x0D;
    q[1] = 0x0A;
    q += 2;
    k += (b == 0x0D && in[k + 1] == 0x0A) ? 2 : 1;
  } else {
    return false;
  }
  return true;
}

AsciiRunEnd ScalarRun(const std::uint8_t* in, BufIndex k, BufIndex end, std::uint8_t* q) noexcept {
  while (k <= end && TakeByte(in, k, q)) {
  }
  return {k, q};
}

#if FERROX_X86

// Each wide loop copies a whole vector, then keeps only its printable prefix;
// the byte after the prefix goes through TakeByte.
AsciiRunEnd Sse2Run(const std::uint8_t* in, BufIndex k, BufIndex end, std::uint8_t* q) noexcept {
  const __m128i below = _mm_set1_epi8(0x1F);
  const __m128i above = _mm_set1_epi8(0x7F);
  for (;;) {
    if (k + 15 <= end) {
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + k));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(q), v);
      const __m128i printable = _mm_and_si128(_mm_cmpgt_epi8(v, below), _mm_cmplt_epi8(v, above));
      const auto mask = static_cast<unsigned>(_mm_movemask_epi8(printable));
      if (mask == 0xFFFFU) {
        q += 16;
        k += 16;
        continue;
      }
      const int n = __builtin_ctz(~mask);
      q += n;
      k += n;
    } else if (k > end) {
      break;
    }
    if (!TakeByte(in, k, q)) break;
  }
  return {k, q};
}

[[gnu::target("avx2")]] AsciiRunEnd Avx2Run(const std::uint8_t* in, BufIndex k, BufIndex end,
                                            std::uint8_t* q) noexcept {
  const __m256i below = _mm256_set1_epi8(0x1F);
  const __m256i above = _mm256_set1_epi8(0x7F);
  for (;;) {
    if (k + 31 <= end) {
      const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + k));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(q), v);
      const __m256i printable =
          _mm256_and_si256(_mm256_cmpgt_epi8(v, below), _mm256_cmpgt_epi8(above, v));
      const auto mask = static_cast<unsigned>(_mm256_movemask_epi8(printable));
      if (mask == 0xFFFFFFFFU) {
        q += 32;
        k += 32;
        continue;
      }
      const int n = __builtin_ctz(~mask);
      q += n;
      k += n;
    } else if (k > end) {
      break;
    } else if (k + 15 <= end) {
      // A line shorter than a wide stretch near the end of the block.
      const AsciiRunEnd e = Sse2Run(in, k, end, q);
      return e;
    }
    if (!TakeByte(in, k, q)) break;
  }
  return {k, q};
}

#endif

}  // namespace

AsciiRunEnd AsciiRun(const std::uint8_t* in, BufIndex k, BufIndex end, std::uint8_t* q,
                     SimdLevel level) noexcept {
#if FERROX_X86
  if (level == SimdLevel::kAvx2) return Avx2Run(in, k, end, q);
  if (level == SimdLevel::kSse2) return Sse2Run(in, k, end, q);
#endif
  (void)level;
  return ScalarRun(in, k, end, q);
}

}  // namespace ferrox
