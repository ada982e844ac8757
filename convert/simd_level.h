#pragma once
// The width of the converters' wide paths, chosen once from what the processor
// offers: 32 bytes (AVX2), 16 bytes (SSE2, every x86-64) or one byte at a time.

#include <cstdint>

namespace ferrox {

enum class SimdLevel : std::uint8_t { kScalar, kSse2, kAvx2 };

// The widest level this processor runs.
[[nodiscard]] SimdLevel BestSimdLevel() noexcept;

namespace detail {
extern SimdLevel gSimdLevel;
}  // namespace detail

// The level the converters use; the best one unless set otherwise. Read once
// per run, so it is a plain load.
[[nodiscard]] inline SimdLevel CurrentSimdLevel() noexcept { return detail::gSimdLevel; }

// Makes the converters use `level` (so that tests can hold each path to the
// same results). False, and nothing changed, when the processor lacks it.
bool SetSimdLevel(SimdLevel level) noexcept;

}  // namespace ferrox
