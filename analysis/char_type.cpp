#include "analysis/char_type.h"

#include "analysis/survey_flags.h"
#include "text/code_ranges.h"

namespace ferrox {
namespace {

using namespace char_type;
using code_ranges::Lead;

using detail::CharType;
using detail::InRange;

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

// What a text scanner takes at p: adds what it saw to `seen` and returns the
// bytes taken, 0 when p holds nothing of its kind.
using ScanStep = BufIndex (*)(const std::uint8_t* p, std::uint16_t& seen) noexcept;

// The run loop the text scanners share. The step is a template argument so
// that it inlines into the loop.
template <ScanStep kStep>
void ScanRun(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
             BufIndex& count) noexcept {
  const BufIndex start = pos;
  BufIndex i = pos;
  std::uint16_t seen = 0;
  while (i <= last) {
    const BufIndex n = kStep(buf + i, seen);
    if (n == 0) break;
    i += n;
  }
  flags |= seen;
  count = i - start;
  pos = i - 1;
}

BufIndex AsciiStep(const std::uint8_t* p, std::uint16_t& seen) noexcept {
  return InRange(p[0], 0x21, 0x7E) ? 1 : SpaceOrLineEnd(p, seen);
}

template <bool kGaijiAsChar>
BufIndex SjisStep(const std::uint8_t* p, std::uint16_t& seen) noexcept {
  const std::uint8_t b = p[0];
  if (InRange(b, 0xA0, 0xDF)) {
    seen |= survey::kSjis;
    return 1;
  }
  if (b < 0x81) return SpaceOrLineEnd(p, seen);
  const std::uint8_t c = p[1];
  if (!code_ranges::IsSjisTrail(c)) return 0;
  const Lead lead = code_ranges::SjisLead(b, c);
  if (lead == Lead::kStandard) {
    seen |= survey::kSjis;
  } else if (kGaijiAsChar && lead == Lead::kGaiji) {
    seen |= survey::kSjis | survey::kSjisGaiji;
  } else {
    return 0;
  }
  return 2;
}

template <bool kGaijiAsChar>
BufIndex EucStep(const std::uint8_t* p, std::uint16_t& seen) noexcept {
  const std::uint8_t b = p[0];
  if (b < 0x80) return SpaceOrLineEnd(p, seen);
  const std::uint8_t c = p[1];
  if (b == 0x8E) {
    if (!InRange(c, 0xA0, 0xDF)) return 0;
    seen |= survey::kEuc;
    return 2;
  }
  if (!code_ranges::IsEucByte(c)) return 0;
  const Lead lead = code_ranges::EucLead(b);
  if (lead == Lead::kStandard) {
    seen |= survey::kEuc;
  } else if (kGaijiAsChar && lead == Lead::kGaiji) {
    seen |= survey::kEuc | survey::kEucGaiji;
  } else {
    return 0;
  }
  return 2;
}

template <bool kGaijiAsChar>
BufIndex JisZenStep(const std::uint8_t* p, std::uint16_t& seen) noexcept {
  if (!InRange(p[1], 0x21, 0x7E)) return 0;
  const Lead lead = code_ranges::JisLead(p[0]);
  if (lead == Lead::kGaiji && kGaijiAsChar) {
    seen |= survey::kJisGaiji;
  } else if (lead != Lead::kStandard) {
    return 0;
  }
  return 2;
}

// One loop per mode, so that the mode is never tested inside it.
template <ScanStep kStrict, ScanStep kPermissive>
void ScanRunInMode(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
                   BufIndex& count, bool gaijiAsChar) noexcept {
  if (gaijiAsChar) {
    ScanRun<kPermissive>(buf, pos, last, flags, count);
  } else {
    ScanRun<kStrict>(buf, pos, last, flags, count);
  }
}

}  // namespace

std::uint16_t GetCharType(std::uint8_t b0, std::uint8_t b1, std::uint8_t b2,
                          bool gaijiAsChar) noexcept {
  return gaijiAsChar ? CharType<true>(b0, b1, b2) : CharType<false>(b0, b1, b2);
}

void AsciiCheck(const std::uint8_t* buf, BufIndex& pos, BufIndex last,
                std::uint16_t& flags) noexcept {
  BufIndex count = 0;
  ScanRun<AsciiStep>(buf, pos, last, flags, count);
}

void SjisCheck(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
               BufIndex& count, bool gaijiAsChar) noexcept {
  ScanRunInMode<SjisStep<false>, SjisStep<true>>(buf, pos, last, flags, count, gaijiAsChar);
}

void EucCheck(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
              BufIndex& count, bool gaijiAsChar) noexcept {
  ScanRunInMode<EucStep<false>, EucStep<true>>(buf, pos, last, flags, count, gaijiAsChar);
}

void JisZenCheck(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
                 BufIndex& count, bool gaijiAsChar) noexcept {
  ScanRunInMode<JisZenStep<false>, JisZenStep<true>>(buf, pos, last, flags, count, gaijiAsChar);
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
