// Canonical composition from the generated Unicode tables of nfc_data.h.

#include "text/nfc.h"

// ferrox
#include "text/nfc_data.h"

// std
#include <algorithm>
#include <iterator>
#include <memory>
#include <unordered_map>

namespace ferrox::nfc {
namespace {

// Hangul syllables decompose and compose by arithmetic.
constexpr char32_t kSBase = 0xAC00;
constexpr char32_t kLBase = 0x1100;
constexpr char32_t kVBase = 0x1161;
constexpr char32_t kTBase = 0x11A7;
constexpr char32_t kLCount = 19;
constexpr char32_t kVCount = 21;
constexpr char32_t kTCount = 28;
constexpr char32_t kNCount = kVCount * kTCount;
constexpr char32_t kSCount = kLCount * kNCount;

struct Tables {
  std::uint64_t attention[0x10000 / 64] = {};  // the BMP part of kAttention
  std::unordered_map<std::uint64_t, char32_t> compose;  // (first << 32 | second) -> composite

  Tables() {
    for (const auto& r : nfc_data::kAttention) {
      for (std::uint32_t cp = r.first; cp <= r.last && cp < 0x10000; ++cp) {
        attention[cp / 64] |= std::uint64_t{1} << (cp % 64);
      }
    }
    for (const auto& d : nfc_data::kDecompositions) {
      if (d.composes) compose.emplace(std::uint64_t{d.first} << 32 | d.second, d.cp);
    }
  }
};

const Tables& Get() {
  static const Tables tables;
  return tables;
}

std::uint8_t ClassOf(char32_t cp) noexcept {
  const auto* end = std::end(nfc_data::kClasses);
  const auto* it = std::lower_bound(std::begin(nfc_data::kClasses), end, cp,
                                    [](const nfc_data::Class& c, char32_t v) { return c.cp < v; });
  return it != end && it->cp == cp ? it->ccc : 0;
}

const nfc_data::Decomposition* DecompositionOf(char32_t cp) noexcept {
  const auto* end = std::end(nfc_data::kDecompositions);
  const auto* it = std::lower_bound(
      std::begin(nfc_data::kDecompositions), end, cp,
      [](const nfc_data::Decomposition& d, char32_t v) { return d.cp < v; });
  return it != end && it->cp == cp ? it : nullptr;
}

// Appends the full canonical decomposition of cp to out[n..); false when it
// does not fit.
bool Decompose(char32_t cp, char32_t* out, std::size_t& n, std::size_t capacity) noexcept {
  if (cp >= kSBase && cp < kSBase + kSCount) {
    const char32_t s = cp - kSBase;
    const char32_t t = s % kTCount;
    if (n + (t != 0 ? 3 : 2) > capacity) return false;
    out[n++] = kLBase + s / kNCount;
    out[n++] = kVBase + (s % kNCount) / kTCount;
    if (t != 0) out[n++] = kTBase + t;
    return true;
  }
  if (const auto* d = DecompositionOf(cp)) {
    if (!Decompose(d->first, out, n, capacity)) return false;
    return d->second == 0 || Decompose(d->second, out, n, capacity);
  }
  if (n >= capacity) return false;
  out[n++] = cp;
  return true;
}

}  // namespace

char32_t Composite(char32_t a, char32_t b) noexcept {
  if (a >= kLBase && a < kLBase + kLCount && b >= kVBase && b < kVBase + kVCount) {
    return kSBase + ((a - kLBase) * kVCount + (b - kVBase)) * kTCount;
  }
  if (a >= kSBase && a < kSBase + kSCount && (a - kSBase) % kTCount == 0 && b > kTBase &&
      b < kTBase + kTCount) {
    return a + (b - kTBase);
  }
  const auto& map = Get().compose;
  const auto it = map.find(std::uint64_t{a} << 32 | b);
  return it == map.end() ? 0 : it->second;
}

bool NeedsAttention(char32_t cp) noexcept {
  if (cp < 0x300) return false;
  if (cp < 0x10000) return (Get().attention[cp / 64] >> (cp % 64) & 1) != 0;
  const auto* end = std::end(nfc_data::kAttention);
  const auto* it = std::upper_bound(std::begin(nfc_data::kAttention), end, cp,
                                    [](char32_t v, const nfc_data::Range& r) { return v < r.first; });
  return it != std::begin(nfc_data::kAttention) && cp <= std::prev(it)->last;
}

const std::uint64_t* AttentionBits() noexcept { return Get().attention; }

char32_t SingletonOf(char32_t cp) noexcept {
  const auto* d = DecompositionOf(cp);
  return d != nullptr && d->second == 0 ? d->first : 0;
}

std::size_t Compose(char32_t* text, std::size_t count, std::size_t capacity) noexcept {
  // Decompose fully into a scratch copy; a segment too long for it stays as it is.
  constexpr std::size_t kScratch = 128;
  char32_t buf[kScratch];
  std::size_t n = 0;
  for (std::size_t k = 0; k < count; ++k) {
    if (!Decompose(text[k], buf, n, std::min(capacity, kScratch))) return count;
  }
  // Canonical order: marks sorted by class between starters, stably.
  std::uint8_t cls[kScratch];
  for (std::size_t k = 0; k < n; ++k) cls[k] = ClassOf(buf[k]);
  for (std::size_t k = 1; k < n; ++k) {
    for (std::size_t j = k; j > 0 && cls[j] != 0 && cls[j - 1] > cls[j]; --j) {
      std::swap(buf[j], buf[j - 1]);
      std::swap(cls[j], cls[j - 1]);
    }
  }
  // Compose: a mark joins the last starter unless a mark of the same or a
  // higher class, or another starter, stands between them.
  std::size_t out = 0;
  std::size_t starter = 0;
  bool haveStarter = false;
  int lastClass = -1;
  for (std::size_t k = 0; k < n; ++k) {
    const char32_t c = buf[k];
    const int cc = cls[k];
    if (haveStarter && (lastClass == -1 || lastClass < cc)) {
      if (const char32_t joined = Composite(text[starter], c)) {
        text[starter] = joined;
        continue;
      }
    }
    if (cc == 0) {
      starter = out;
      haveStarter = true;
      lastClass = -1;  // nothing between the starter and what follows yet
    } else {
      lastClass = cc;
    }
    text[out++] = c;
  }
  return out;
}

}  // namespace ferrox::nfc
