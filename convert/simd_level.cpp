// Run-time choice of the converters' wide paths.

#include "convert/simd_level.h"

namespace ferrox {
namespace {

SimdLevel Detect() noexcept {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx2")) return SimdLevel::kAvx2;
  if (__builtin_cpu_supports("sse2")) return SimdLevel::kSse2;
#endif
  return SimdLevel::kScalar;
}

}  // namespace

SimdLevel detail::gSimdLevel = Detect();

SimdLevel BestSimdLevel() noexcept {
  static const SimdLevel best = Detect();
  return best;
}

bool SetSimdLevel(SimdLevel level) noexcept {
  if (static_cast<int>(level) > static_cast<int>(BestSimdLevel())) return false;
  detail::gSimdLevel = level;
  return true;
}

}  // namespace ferrox
