#pragma once
// The one wildcard matcher: "*" any run, "?" one unit of the text, the rest
// as the caller compares it. Greedy, with one backtrack point (the last "*"
// seen), so it runs in time proportional to pattern times text at worst.

#include <cstddef>

namespace ferrox {

// `isStar(p)`: pattern position p is a "*". `step(p, t)`: how many text units
// pattern position p (not a "*") takes at text position t, 0 when it does
// not match there. True when the pattern matches all `textSize` units.
template <class IsStar, class Step>
[[nodiscard]] bool GlobMatch(std::size_t patternSize, std::size_t textSize, IsStar isStar, Step step) {
  std::size_t p = 0;
  std::size_t t = 0;
  std::size_t starP = static_cast<std::size_t>(-1);
  std::size_t starT = 0;
  while (t < textSize) {
    if (p < patternSize && isStar(p)) {
      starP = p++;
      starT = t;
    } else if (const std::size_t n = p < patternSize ? step(p, t) : 0; n > 0) {
      ++p;
      t += n;
    } else if (starP != static_cast<std::size_t>(-1)) {
      p = starP + 1;
      t = ++starT;
    } else {
      return false;
    }
  }
  while (p < patternSize && isStar(p)) ++p;
  return p == patternSize;
}

}  // namespace ferrox
