#include "text/mac_japanese.h"

#include <algorithm>
#include <array>

#include "text/code_ranges.h"

namespace ferrox {

namespace {

constexpr MacCode kCodes[] = {
#include "text/mac_japanese_table.inc"
};

// The leads that start a Mac code (2) and the single bytes (1).
constexpr std::array<std::uint8_t, 256> MakeStarts() {
  std::array<std::uint8_t, 256> t{};
  for (const MacCode& c : kCodes) t[c.code < 0x100 ? c.code : c.code >> 8] = c.code < 0x100 ? 1 : 2;
  return t;
}
constexpr auto kStarts = MakeStarts();

static_assert(std::ranges::is_sorted(kCodes, {}, &MacCode::code));
static_assert(std::ranges::max(kCodes, {}, [](const MacCode& c) { return c.cp932.size(); })
                  .cp932.size() == kMacLongest);

}  // namespace

std::span<const MacCode> MacCodes() noexcept { return kCodes; }

const MacCode* MacCodeAt(const std::uint8_t* p) noexcept {
  const std::uint8_t start = kStarts[p[0]];
  if (start == 0) return nullptr;
  const std::uint16_t code = start == 1 ? p[0] : static_cast<std::uint16_t>((p[0] << 8) | p[1]);
  const auto* it = std::lower_bound(std::begin(kCodes), std::end(kCodes), code,
                                    [](const MacCode& c, std::uint16_t v) { return c.code < v; });
  return it != std::end(kCodes) && it->code == code ? it : nullptr;
}

bool HoldsMacCodes(const std::uint8_t* p, std::size_t n) noexcept {
  for (std::size_t k = 0; k < n;) {
    const std::uint8_t b = p[k];
    if (b == 0x80 || b >= 0xFD) return true;
    if (code_ranges::IsSjisLead(b) && k + 1 < n && code_ranges::IsSjisTrail(p[k + 1])) {
      if (code_ranges::SjisLead(b, p[k + 1]) == code_ranges::Lead::kGaiji && MacCodeAt(p + k)) {
        return true;
      }
      k += 2;
    } else {
      ++k;
    }
  }
  return false;
}

}  // namespace ferrox
