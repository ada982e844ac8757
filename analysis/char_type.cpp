#include "analysis/char_type.h"

#include <array>

#include "analysis/code_ranges.h"
#include "analysis/survey_flags.h"

namespace ferrox {
namespace {

using namespace char_type;
using code_ranges::Lead;

// Type of a byte below 0x80 that needs no look-ahead; kLookAhead marks the
// bytes (ESC, SO, CR) whose type depends on the bytes after them.
constexpr std::uint16_t kLookAhead = 0xFFFF;

constexpr std::array<std::uint16_t, 128> MakeLowTable() {
  std::array<std::uint16_t, 128> t{};
  for (int b = 0x20; b <= 0x7E; ++b) t[static_cast<std::size_t>(b)] = kAscii;
  t[0x09] = kNeutral;
  t[0x0C] = kNeutral;
  t[0x1A] = kNeutral;
  t[0x0A] = kLf;
  t[0x0F] = kJisKanaOut;
  t[0x0D] = kLookAhead;
  t[0x0E] = kLookAhead;
  t[0x1B] = kLookAhead;
  return t;
}
constexpr auto kLowTable = MakeLowTable();

constexpr bool InRange(std::uint8_t b, int lo, int hi) noexcept { return b >= lo && b <= hi; }

std::uint16_t EscapeType(std::uint8_t b1, std::uint8_t b2) noexcept {
  if (b1 == 0x24 && (b2 == 0x42 || b2 == 0x40)) return kJisKanjiIn;
  if (b1 == 0x28) {
    if (b2 == 0x42 || b2 == 0x4A) return kJisKanjiOut;
    if (b2 == 0x49) return kJisKanaIn;
  }
  return kNone;
}

// The multi-byte bits of a position whose first byte is 0x80 or above.
template <bool kGaijiAsChar>
std::uint16_t HighType(std::uint8_t b0, std::uint8_t b1) noexcept {
  std::uint16_t t = InRange(b0, 0xA0, 0xDF) ? kSjisKana : kNone;
  if (b0 == 0x8E && InRange(b1, 0xA0, 0xDF)) t |= kEucKana;
  if (code_ranges::IsSjisTrail(b1)) {
    const Lead lead = code_ranges::SjisLead(b0, b1);
    if (lead == Lead::kStandard) t |= kSjisDouble;
    else if (kGaijiAsChar && lead == Lead::kGaiji) t |= kSjisDouble | kSjisGaiji;
  }
  if (code_ranges::IsEucByte(b1)) {
    const Lead lead = code_ranges::EucLead(b0);
    if (lead == Lead::kStandard) t |= kEucDouble;
    else if (kGaijiAsChar && lead == Lead::kGaiji) t |= kEucDouble | kEucGaiji;
  }
  return t;
}

template <bool kGaijiAsChar>
std::uint16_t CharType(std::uint8_t b0, std::uint8_t b1, std::uint8_t b2) noexcept {
  if (b0 >= 0x80) return HighType<kGaijiAsChar>(b0, b1);
  const std::uint16_t t = kLowTable[b0];
  if (t != kLookAhead) return t;
  if (b0 == 0x0D) return b1 == 0x0A ? kCrLf : kCr;
  if (b0 == 0x1B) return EscapeType(b1, b2);
  // SO: kana-in only when a kana byte follows, and after it another kana, SI or ESC.
  if (InRange(b1, 0x20, 0x5F) && (b2 == 0x1B || b2 == 0x0F || InRange(b2, 0x20, 0x5F))) {
    return kJisKanaIn;
  }
  return kNone;
}

// Blank, tab, form feed and line ends, common to the three text scanners;
// line ends go into the survey flag word. Returns the bytes consumed at p (0
// when p holds none of them).
inline BufIndex SpaceOrLineEnd(const std::uint8_t* p, std::uint16_t& flags) noexcept {
  switch (p[0]) {
    case 0x20:
    case 0x09:
    case 0x0C:
      return 1;
    case 0x0D:
      if (p[1] == 0x0A) {
        flags |= survey::kCrLf;
        return 2;
      }
      flags |= survey::kCr;
      return 1;
    case 0x0A:
      flags |= survey::kLf;
      return 1;
    default:
      return 0;
  }
}

template <bool kGaijiAsChar>
void SjisScan(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
              BufIndex& count) noexcept {
  const BufIndex start = pos;
  BufIndex i = pos;
  std::uint16_t seen = 0;
  while (i <= last) {
    const std::uint8_t b = buf[i];
    if (InRange(b, 0xA0, 0xDF)) {
      seen |= survey::kSjis;
      ++i;
      continue;
    }
    if (b >= 0x81) {
      const std::uint8_t c = buf[i + 1];
      if (!code_ranges::IsSjisTrail(c)) break;
      const Lead lead = code_ranges::SjisLead(b, c);
      if (lead == Lead::kStandard) {
        seen |= survey::kSjis;
      } else if (kGaijiAsChar && lead == Lead::kGaiji) {
        seen |= survey::kSjis | survey::kSjisGaiji;
      } else {
        break;
      }
      i += 2;
      continue;
    }
    const BufIndex n = SpaceOrLineEnd(buf + i, seen);
    if (n == 0) break;
    i += n;
  }
  flags |= seen;
  count = i - start;
  pos = i - 1;
}

template <bool kGaijiAsChar>
void EucScan(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
             BufIndex& count) noexcept {
  const BufIndex start = pos;
  BufIndex i = pos;
  std::uint16_t seen = 0;
  while (i <= last) {
    const std::uint8_t b = buf[i];
    if (b >= 0x80) {
      const std::uint8_t c = buf[i + 1];
      if (b == 0x8E) {
        if (!InRange(c, 0xA0, 0xDF)) break;
        seen |= survey::kEuc;
      } else {
        if (!code_ranges::IsEucByte(c)) break;
        const Lead lead = code_ranges::EucLead(b);
        if (lead == Lead::kStandard) {
          seen |= survey::kEuc;
        } else if (kGaijiAsChar && lead == Lead::kGaiji) {
          seen |= survey::kEuc | survey::kEucGaiji;
        } else {
          break;
        }
      }
      i += 2;
      continue;
    }
    const BufIndex n = SpaceOrLineEnd(buf + i, seen);
    if (n == 0) break;
    i += n;
  }
  flags |= seen;
  count = i - start;
  pos = i - 1;
}

template <bool kGaijiAsChar>
void JisZenScan(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
                BufIndex& count) noexcept {
  const BufIndex start = pos;
  BufIndex i = pos;
  std::uint16_t seen = 0;
  while (i <= last) {
    const std::uint8_t b = buf[i];
    if (!InRange(buf[i + 1], 0x21, 0x7E)) break;
    const Lead lead = code_ranges::JisLead(b);
    if (lead == Lead::kGaiji && kGaijiAsChar) {
      seen |= survey::kJisGaiji;
    } else if (lead != Lead::kStandard) {
      break;
    }
    i += 2;
  }
  flags |= seen;
  count = i - start;
  pos = i - 1;
}

}  // namespace

std::uint16_t GetCharType(std::uint8_t b0, std::uint8_t b1, std::uint8_t b2,
                          bool gaijiAsChar) noexcept {
  return gaijiAsChar ? CharType<true>(b0, b1, b2) : CharType<false>(b0, b1, b2);
}

void AsciiCheck(const std::uint8_t* buf, BufIndex& pos, BufIndex last,
                std::uint16_t& flags) noexcept {
  BufIndex i = pos;
  std::uint16_t seen = 0;
  while (i <= last) {
    const std::uint8_t b = buf[i];
    if (InRange(b, 0x21, 0x7E)) {
      ++i;
      continue;
    }
    const BufIndex n = SpaceOrLineEnd(buf + i, seen);
    if (n == 0) break;
    i += n;
  }
  flags |= seen;
  pos = i - 1;
}

void SjisCheck(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
               BufIndex& count, bool gaijiAsChar) noexcept {
  if (gaijiAsChar) {
    SjisScan<true>(buf, pos, last, flags, count);
  } else {
    SjisScan<false>(buf, pos, last, flags, count);
  }
}

void EucCheck(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
              BufIndex& count, bool gaijiAsChar) noexcept {
  if (gaijiAsChar) {
    EucScan<true>(buf, pos, last, flags, count);
  } else {
    EucScan<false>(buf, pos, last, flags, count);
  }
}

void JisZenCheck(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
                 BufIndex& count, bool gaijiAsChar) noexcept {
  if (gaijiAsChar) {
    JisZenScan<true>(buf, pos, last, flags, count);
  } else {
    JisZenScan<false>(buf, pos, last, flags, count);
  }
}

namespace {

// The mode is a template argument so that the classifier inlines into both
// readings: they classify every position of the stretch.
template <bool kGaijiAsChar>
SjisOrEucResult SjisOrEucScan(const std::uint8_t* buf, BufIndex start, BufIndex last) noexcept {
  constexpr std::uint16_t kEucOnly = kEucKana | kEucDouble | kEucGaiji;
  constexpr std::uint16_t kSjisOnly = kSjisKana | kSjisDouble | kSjisGaiji;
  auto type = [&](BufIndex p) { return CharType<kGaijiAsChar>(buf[p], buf[p + 1], buf[p + 2]); };
  SjisOrEucResult r;

  // Shift JIS reading. A stop on a type that only EUC (or nothing) explains
  // rules Shift JIS out; a stop on ASCII or a line end does not.
  bool sjisPossible = true;
  BufIndex p = start;
  while (p <= last) {
    const std::uint16_t t = type(p);
    if (t & kSjisKana) {
      p += 1;
    } else if (t & kSjisDouble) {
      p += 2;
      if (t & kSjisGaiji) ++r.sjisGaiji;
    } else {
      if ((t & ~kEucOnly) == 0) sjisPossible = false;
      break;
    }
  }
  r.sjisLength = p - start;

  bool eucPossible = true;
  p = start;
  while (p <= last) {
    const std::uint16_t t = type(p);
    if (t & (kEucKana | kEucDouble)) {
      p += 2;
      if (t & kEucGaiji) ++r.eucGaiji;
    } else {
      if ((t & ~kSjisOnly) == 0) eucPossible = false;
      break;
    }
  }
  r.eucLength = p - start;

  if (sjisPossible && eucPossible) {
    r.verdict = r.sjisGaiji > r.eucGaiji ? 2 : r.sjisGaiji == r.eucGaiji ? 0 : 1;
  } else if (sjisPossible) {
    r.verdict = 1;
  } else if (eucPossible) {
    r.verdict = 2;
  }
  return r;
}

}  // namespace

SjisOrEucResult SjisOrEuc(const std::uint8_t* buf, BufIndex start, BufIndex last,
                          bool gaijiAsChar) noexcept {
  return gaijiAsChar ? SjisOrEucScan<true>(buf, start, last) : SjisOrEucScan<false>(buf, start, last);
}

}  // namespace ferrox
