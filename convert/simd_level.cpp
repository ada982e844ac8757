// Run-time choice of the converters' wide paths.

#include "convert/simd_level.h"

#include <cstdlib>
#include <string_view>

namespace ferrox {
namespace {

SimdLevel Supported() noexcept {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx2")) return SimdLevel::kAvx2;
  if (__builtin_cpu_supports("sse2")) return SimdLevel::kSse2;
#endif
  return SimdLevel::kScalar;
}

// The supported level, or a lower one named by FERROX_SIMD (scalar, sse2),
// so that a benchmark can measure each path of the same build.
SimdLevel Detect() noexcept {
  const SimdLevel best = Supported();
  const char* wanted = std::getenv("FERROX_SIMD");
  if (wanted == nullptr) return best;
  const std::string_view name(wanted);
  const SimdLevel level = name == "scalar" ? SimdLevel::kScalar
                          : name == "sse2" ? SimdLevel::kSse2
                                           : SimdLevel::kAvx2;
  return static_cast<int>(level) < static_cast<int>(best) ? level : best;
}

}  // namespace

SimdLevel detail::gSimdLevel = Detect();

SimdLevel BestSimdLevel() noexcept {
  static const SimdLevel best = Supported();
  return best;
}

bool SetSimdLevel(SimdLevel level) noexcept {
  if (static_cast<int>(level) > static_cast<int>(BestSimdLevel())) return false;
  detail::gSimdLevel = level;
  return true;
}

}  // namespace ferrox
