#pragma once
// Mac Japanese in the conversion pass: Apple's codes written as CP932.

#include <cstddef>
#include <cstdint>

#include "text/mac_japanese.h"

namespace ferrox {

struct GaijiPolicy;
// Writes the CP932 form of the Mac code at p to q and returns the input bytes
// it took (0 when p holds none). A code the user's gaiji table lists (with
// ConvMode bit 16) takes the table's replacement; a code CP932 lacks with no
// fallback takes the table's default. `written` receives the output length.
[[nodiscard]] std::size_t TakeMacCode(const std::uint8_t* in, std::ptrdiff_t at, std::uint8_t* q,
                                      std::size_t& written, const GaijiPolicy& policy) noexcept;

}  // namespace ferrox
