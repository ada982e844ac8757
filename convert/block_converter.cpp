// The full and the light block converter of the conversion pass.

#include "convert/block_converter.h"

// std
#include <cstring>

// ferrox
#include "analysis/survey_flags.h"
#include "convert/ascii_run.h"
#include "convert/change_account.h"
#include "convert/mac_japanese.h"
#include "convert/pair_scan.h"
#include "text/code_ranges.h"
#include "text/conv_mode.h"

namespace ferrox {

namespace {

namespace ct = char_type;

// The code state, in the survey's first-code bits.
constexpr std::uint16_t kSjis = survey::kMarkSjis;
constexpr std::uint16_t kJisKanji = survey::kMarkJisKanji;
constexpr std::uint16_t kJisKana = survey::kMarkJisKana;
constexpr std::uint16_t kEuc = survey::kMarkEuc;

constexpr bool IsPrintable(std::uint8_t b) noexcept { return b >= 0x20 && b <= 0x7E; }

// GetCharType compiled into the converter's loop.
inline std::uint16_t TypeAt(const std::uint8_t* p, bool gaijiAsChar) noexcept {
  return gaijiAsChar ? ct::detail::CharType<true>(p[0], p[1], p[2])
                     : ct::detail::CharType<false>(p[0], p[1], p[2]);
}

// The first index from i on (at most end + 1) that holds no junk byte below
// 0x80, the bytes whose type is nothing whatever follows them.
inline BufIndex SkipJunk(const std::uint8_t* in, BufIndex i, BufIndex end) noexcept {
  for (;;) {
    while (i + 7 <= end) {
      std::uint64_t w;
      std::memcpy(&w, in + i, 8);
      if (w != 0) break;
      i += 8;
    }
    if (i > end || in[i] >= 0x80 || ct::kLowTypes[in[i]] != ct::kNone) return i;
    ++i;
  }
}

// Copies the ASCII run at i; i ends on the first byte not taken.
inline void CopyAscii(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i,
                      BufIndex end, SimdLevel level) noexcept {
  const AsciiRunEnd e = AsciiRun(in, i, end, out + o, level);
  o = e.q - out;
  i = e.stop;
}

// The two readings of SjisOrEuc, each alone, asking only whether the reading
// holds (it does not stop on a byte that only the other code explains) and
// counts no gaiji. When the reading of the code in force holds so, the other
// reading can at best tie it, so the verdict is that code whatever the other
// reading finds, and it need not be made. Standard pairs, which neither stop
// a reading nor count as gaiji, are passed over a vector at a time.
bool EucReadingHolds(const std::uint8_t* in, BufIndex p, BufIndex end, bool gaijiAsChar,
                     SimdLevel level) noexcept {
  for (;;) {
    p += pair_scan::StandardEucPairsAhead(in, p, end, level);
    if (p > end) return true;
    const std::uint16_t t = TypeAt(in + p, gaijiAsChar);
    if ((t & (ct::kEucKana | ct::kEucDouble)) == 0) {
      return (t & ~(ct::kSjisBits | ct::kSjisGaiji)) != 0;
    }
    if ((t & ct::kEucGaiji) != 0) return false;
    p += 2;
  }
}

bool SjisReadingHolds(const std::uint8_t* in, BufIndex p, BufIndex end, bool gaijiAsChar,
                      SimdLevel level) noexcept {
  for (;;) {
    p += pair_scan::StandardSjisPairsAhead(in, p, end, level);
    if (p > end) return true;
    const std::uint16_t t = TypeAt(in + p, gaijiAsChar);
    if ((t & ct::kSjisKana) != 0) {
      p += 1;
    } else if ((t & ct::kSjisDouble) != 0) {
      if ((t & ct::kSjisGaiji) != 0) return false;
      p += 2;
    } else {
      return (t & ~(ct::kEucBits | ct::kEucGaiji)) != 0;
    }
  }
}

inline void PutCrLf(std::uint8_t* out, BufIndex& o) noexcept {
  out[o] = 0x0D;
  out[o + 1] = 0x0A;
  o += 2;
}

using RunCopier = void (*)(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i,
                           BufIndex end, BufIndex& consumed, const GaijiPolicy& policy) noexcept;

// A run copier that refuses its first byte leaves i one before it; the byte is
// then dropped so that the converter always moves on.
template <RunCopier kCopy>
inline void CopyRun(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i,
                    BufIndex end, const GaijiPolicy& policy) noexcept {
  const BufIndex start = i;
  BufIndex consumed = 0;
  kCopy(out, in, o, i, end, consumed, policy);
  if (consumed == 0) {
    i = start;
    if (policy.account != nullptr) {
      // Inside JIS only a gaiji pair is more than junk.
      const bool jisGaiji = in[i + 1] >= 0x21 && in[i + 1] <= 0x7E &&
                            code_ranges::JisLead(in[i]) == code_ranges::Lead::kGaiji;
      const ChangeKind kind = kCopy != JisZenCopy ? DropKindAt(in + i)
                              : jisGaiji          ? ChangeKind::kGaijiDropped
                                                  : ChangeKind::kJunk;
      policy.account->Dropped(kind, in, i);
    }
  }
}

// Junk bytes below 0x80 from i on, dropped and counted; returns the next index.
inline BufIndex DropJunk(const std::uint8_t* in, BufIndex i, BufIndex end,
                         ChangeAccount* account) noexcept {
  const BufIndex next = SkipJunk(in, i, end);
  NoteDrop(account, ChangeKind::kJunk, in, i, next - i);
  return next;
}

// Writes the CP932 form of the Mac code at i, if one starts there.
inline bool TakeMac(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i,
                    const GaijiPolicy& policy) noexcept {
  std::size_t written = 0;
  const std::size_t n = TakeMacCode(in, i, out + o, written, policy);
  if (n == 0) return false;
  o += static_cast<BufIndex>(written);
  i += static_cast<BufIndex>(n);
  return true;
}

// Follows a JIS shift of type t at i: sets the code state (`base` is the one a
// return to ASCII restores) and moves i to the shift's last byte. False when t
// is no shift.
inline bool TakeShift(std::uint16_t t, const std::uint8_t* in, BufIndex& i, std::uint16_t& s,
                      std::uint16_t base) noexcept {
  switch (t) {
    case ct::kJisKanjiIn:
      s = survey::kMarkJisKanji;
      i += 2;
      return true;
    case ct::kJisKanjiOut:
      s = base;
      i += 2;
      return true;
    case ct::kJisKanaIn:
      if (in[i] == 0x1B) i += 2;  // ESC ( I; a lone SO is one byte
      s = survey::kMarkJisKana;
      return true;
    case ct::kJisKanaOut:
      s = base;
      return true;
    default:
      return false;
  }
}

// Bytes after a run of standard pairs at which both readings of SjisOrEuc
// stop without ruling their code out: ASCII, TAB, FF and line ends.
inline bool EndsReadingCleanly(const std::uint8_t* in, BufIndex k, BufIndex end) noexcept {
  if (k > end) return true;
  const std::uint8_t b = in[k];
  return (b >= 0x20 && b <= 0x7E) || b == 0x09 || b == 0x0A || b == 0x0C || b == 0x0D;
}

// The common shape of real text, taken without going back to the dispatcher:
// ASCII runs and line ends, then a run of standard pairs of the code in force
// (EUC or Shift JIS) that the dispatcher would give to that code, or a JIS
// kanji sequence between its two shifts. It stops (i, o and s being what the
// dispatcher would have at that byte) on anything else, which the dispatcher
// then takes as always.
//
// A run of standard pairs of the code in force that ends on ASCII, TAB, FF, a
// line end or the end of the block is that code's: its reading holds, so the
// other reading can at best tie it, and no pair in it is gaiji.
void TakeCommonStretch(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i,
                       BufIndex end, std::uint16_t& s, std::uint16_t base, const RunLoops& loops,
                       const GaijiPolicy& policy, SimdLevel level) noexcept {
  for (;;) {
    CopyAscii(out, in, o, i, end, level);
    if (i > end) return;
    const std::uint8_t b = in[i];
    RunLoop rest = nullptr;  // the code's own loop, from where the standard pairs end
    if (s == kEuc && b >= 0xA1) {
      BufIndex k = i;
      std::uint8_t* q = out + o;
      pair_scan::ConvertStandardPairs<pair_scan::PairCode::kEuc>(in, k, end, q, level);
      if (k == i || !EndsReadingCleanly(in, k, end)) return;
      o = q - out;
      i = k;
      rest = loops.euc;
    } else if (s == kSjis && b >= 0x81) {
      BufIndex k = i;
      std::uint8_t* q = out + o;
      pair_scan::CopyStandardSjisPairs(in, k, end, q, level);
      if (k == i || !EndsReadingCleanly(in, k, end)) return;
      o = q - out;
      i = k;
      rest = loops.sjis;
    } else if (b == 0x1B && s != kJisKanji && s != kJisKana && in[i + 1] == 0x24 &&
               (in[i + 2] == 0x42 || in[i + 2] == 0x40)) {
      s = kJisKanji;
      i += 3;
      if (i > end) return;
      const RunEnd e = loops.jisZen(in, i, end, out + o, policy, level);
      if (e.stop == i) return;  // the dispatcher drops the refused byte
      o = e.q - out;
      i = e.stop;
      if (i > end || in[i] != 0x1B || in[i + 1] != 0x28 ||
          (in[i + 2] != 0x42 && in[i + 2] != 0x4A)) {
        return;
      }
      s = base;
      i += 3;
      continue;
    } else {
      return;
    }
    // The code's loop goes on through blanks, line ends and what follows them;
    // any other byte it refuses at once, and the loop above takes it.
    if (i <= end && (in[i] == 0x20 || in[i] == 0x09 || in[i] == 0x0A || in[i] == 0x0D)) {
      const RunEnd e = rest(in, i, end, out + o, policy, level);
      o = e.q - out;
      i = e.stop;
    }
  }
}

}  // namespace

BlockSettings BlockSettings::Make(std::uint16_t typeFlags, std::uint16_t convMode,
                                  const GaijiTable* table, bool macJapanese,
                                  ChangeAccount* account) noexcept {
  BlockSettings s;
  s.typeFlags = typeFlags;
  s.gaijiAsChar = conv_mode::GaijiAsChar(convMode);
  s.policy = GaijiPolicy::FromConvMode(convMode, table);
  // Apple's codes are a Shift JIS matter: a file the survey found to hold EUC
  // keeps its stray bytes as they always were, whatever its origin.
  s.policy.mac = macJapanese && (typeFlags & survey::kEuc) == 0;
  s.policy.account = account;
  return s;
}

std::uint16_t BlockSettings::BaseState() const noexcept {
  return (typeFlags & survey::kEuc) != 0 ? survey::kMarkEuc : survey::kMarkSjis;
}

namespace {

// What FerroxConvSub keeps for the whole block.
struct SubBlock {
  BufIndex end;
  bool gaijiAsChar;
  std::uint16_t base;  // the code a return to ASCII restores
  SimdLevel level;
  const GaijiPolicy& policy;
  RunLoops loops;
};

// A pair that both codes explain, with neither reading of the code in force
// ruled out: it stays with the code in force, else the file's base code,
// unless SjisOrEuc finds the other reading better.
[[gnu::always_inline]] inline void TakeUndecided(std::uint8_t* out, const std::uint8_t* in,
                                                 BufIndex& o, BufIndex& i, std::uint16_t& s,
                                                 const SubBlock& k) noexcept {
  const bool leanEuc = s == kEuc || (s != kSjis && k.base == kEuc);
  const bool holds = leanEuc ? EucReadingHolds(in, i, k.end, k.gaijiAsChar, k.level)
                             : SjisReadingHolds(in, i, k.end, k.gaijiAsChar, k.level);
  int verdict = holds ? (leanEuc ? 2 : 1) : SjisOrEuc(in, i, k.end, k.gaijiAsChar).verdict;
  if (verdict == 0) verdict = leanEuc ? 2 : 1;
  if (verdict == 1) {
    CopyRun<SjisCopy>(out, in, o, i, k.end, k.policy);
    s = kSjis;
  } else {
    CopyRun<EucCopy>(out, in, o, i, k.end, k.policy);
    s = kEuc;
  }
}

// Outside JIS, a byte that is no ASCII and no Mac code, taken by its type;
// i ends on the last byte taken.
[[gnu::always_inline]] inline void TakeByType(std::uint8_t* out, const std::uint8_t* in,
                                              BufIndex& o, BufIndex& i, std::uint16_t& s,
                                              const SubBlock& k) noexcept {
  ChangeAccount* const account = k.policy.account;
  const std::uint8_t b = in[i];
  const std::uint16_t t = TypeAt(in + i, k.gaijiAsChar);
  if (t == ct::kCrLf) {
    PutCrLf(out, o);
    ++i;
  } else if (t == ct::kCr || t == ct::kLf) {
    PutCrLf(out, o);
  } else if (t == ct::kNeutral) {
    if (b != 0x1A) {
      out[o++] = b;
    } else {
      NoteDrop(account, ChangeKind::kEof, in, i);  // every one goes; the pass may add one
    }
  } else if (TakeShift(t, in, i, s, k.base)) {
    // a JIS shift sequence
  } else if (t == ct::kNone) {
    NoteDrop(account, DropKindAt(in + i), in, i);
  } else if (t == ct::kEucKana || t == ct::kEucDouble || t == (ct::kEucDouble | ct::kEucGaiji)) {
    CopyRun<EucCopy>(out, in, o, i, k.end, k.policy);
    s = kEuc;
  } else if ((t & ct::kSjisBits) == 0) {
    // an EUC gaiji reading that fits nothing else: dropped
    NoteDrop(account, ChangeKind::kGaijiDropped, in, i);
  } else if ((t & ct::kEucBits) == 0) {
    CopyRun<SjisCopy>(out, in, o, i, k.end, k.policy);
    s = kSjis;
  } else {
    TakeUndecided(out, in, o, i, s, k);
  }
}

// A byte in Shift JIS, EUC or ASCII text and what follows it in one go;
// i ends on the next byte to take.
[[gnu::always_inline]] inline void TakeOutsideJis(std::uint8_t* out, const std::uint8_t* in,
                                                  BufIndex& o, BufIndex& i, std::uint16_t& s,
                                                  const SubBlock& k) noexcept {
  const std::uint8_t b = in[i];
  if (IsPrintable(b)) {
    TakeCommonStretch(out, in, o, i, k.end, s, k.base, k.loops, k.policy, k.level);
    return;
  }
  // Apple's codes, where the text is read as Shift JIS.
  if (k.policy.mac && b >= 0x80 && (s == kSjis || (s != kEuc && k.base != kEuc)) &&
      TakeMac(out, in, o, i, k.policy)) {
    return;
  }
  TakeByType(out, in, o, i, s, k);
  ++i;
}

// Half-width katakana shifted into 7 bits: 0x20 .. 0x5F map to 0xA0 .. 0xDF
// (a blank becomes 0xA0); the rest of the printable range is dropped. i ends
// on the first byte that is not printable.
[[gnu::always_inline]] inline void TakeJisKanaRun(std::uint8_t* out, const std::uint8_t* in,
                                                  BufIndex& o, BufIndex& i,
                                                  const SubBlock& k) noexcept {
  do {
    const std::uint8_t b = in[i];
    if (b <= 0x5F) {
      out[o++] = static_cast<std::uint8_t>(b + 0x80);
    } else {
      NoteDrop(k.policy.account, ChangeKind::kJunk, in, i);
    }
    ++i;
  } while (i <= k.end && IsPrintable(in[i]));
}

// A byte inside a JIS kanji sequence, or a byte that is not printable inside
// either JIS sequence; i ends on the next byte to take.
[[gnu::always_inline]] inline void TakeInsideJis(std::uint8_t* out, const std::uint8_t* in,
                                                 BufIndex& o, BufIndex& i, std::uint16_t& s,
                                                 const SubBlock& k) noexcept {
  const std::uint8_t b = in[i];
  if (IsPrintable(b)) {
    CopyRun<JisZenCopy>(out, in, o, i, k.end, k.policy);
  } else if (!TakeShift(TypeAt(in + i, k.gaijiAsChar), in, i, s, k.base)) {
    // Inside a JIS sequence everything but the shifts is dropped, line ends
    // included: JIS text returns to ASCII before its line end.
    NoteDrop(k.policy.account, b == 0x1A ? ChangeKind::kEof : ChangeKind::kJunk, in, i);
  }
  ++i;
}

}  // namespace

BufIndex FerroxConvSub(std::uint8_t* out, const std::uint8_t* in, BufIndex length,
                       const BlockSettings& settings, BufIndex& carry,
                       std::uint16_t& codeState) noexcept {
  const BufIndex last = length - 1;
  const SubBlock k{last - 2,
                   settings.gaijiAsChar,
                   settings.BaseState(),
                   CurrentSimdLevel(),
                   settings.policy,
                   RunLoopsFor(settings.policy)};
  std::uint16_t s = codeState;
  BufIndex o = 0;
  BufIndex i = 0;
  while (i <= k.end) {
    const std::uint8_t b = in[i];
    if (b < 0x80 && ct::kLowTypes[b] == ct::kNone) {
      // Junk is dropped in every state; zero padding goes eight bytes at a time.
      i = DropJunk(in, i, k.end, k.policy.account);
    } else if (s != kJisKanji && s != kJisKana) {
      TakeOutsideJis(out, in, o, i, s, k);
    } else if (s == kJisKana && IsPrintable(b)) {
      TakeJisKanaRun(out, in, o, i, k);
    } else {
      TakeInsideJis(out, in, o, i, s, k);
    }
  }
  codeState = s;
  carry = last - i + 1;
  return o;
}

namespace {

enum class LiteClass : std::uint8_t { kDrop, kAscii, kSingle, kCr, kLf, kLead, kMac };

struct LiteTable {
  LiteClass cls[256];
};

constexpr LiteTable MakeLiteTable(bool mac) noexcept {
  LiteTable t{};
  for (int b = 0; b < 256; ++b) {
    const auto u = static_cast<std::uint8_t>(b);
    LiteClass c = LiteClass::kDrop;
    if (IsPrintable(u)) {
      c = LiteClass::kAscii;
    } else if (u == 0x09 || u == 0x0C || (u >= 0xA0 && u <= 0xDF)) {
      c = LiteClass::kSingle;
    } else if (u == 0x0D) {
      c = LiteClass::kCr;
    } else if (u == 0x0A) {
      c = LiteClass::kLf;
    } else if (code_ranges::IsSjisLead(u)) {
      c = LiteClass::kLead;
    }
    if (mac && (u == 0x80 || u == 0xA0 || u >= 0xFD)) c = LiteClass::kMac;
    t.cls[b] = c;
  }
  return t;
}

constexpr LiteTable kLite = MakeLiteTable(false);
constexpr LiteTable kLiteMac = MakeLiteTable(true);

}  // namespace

BufIndex FerroxConvSubLite(std::uint8_t* out, const std::uint8_t* in, BufIndex length,
                           const BlockSettings& settings, BufIndex& carry) noexcept {
  const BufIndex last = length - 1;
  const BufIndex end = last - 2;
  const GaijiPolicy& policy = settings.policy;
  const SimdLevel level = CurrentSimdLevel();
  const LiteClass* const cls = policy.mac ? kLiteMac.cls : kLite.cls;
  BufIndex o = 0;
  BufIndex i = 0;

  while (i <= end) {
    const std::uint8_t b = in[i];
    switch (cls[b]) {
      case LiteClass::kAscii:
        CopyAscii(out, in, o, i, end, level);
        continue;
      case LiteClass::kSingle:
        out[o++] = b;
        break;
      case LiteClass::kCr:
        if (in[i + 1] == 0x0A) ++i;
        PutCrLf(out, o);
        break;
      case LiteClass::kLf:
        PutCrLf(out, o);
        break;
      case LiteClass::kLead:
        CopyRun<SjisCopy>(out, in, o, i, end, policy);
        break;
      case LiteClass::kMac:
        static_cast<void>(TakeMac(out, in, o, i, policy));
        continue;
      case LiteClass::kDrop:  // controls, ESC, 0x1A, 0x7F, 0x80, 0xFD .. 0xFF
        if (b == 0) {
          i = DropJunk(in, i, end, policy.account);
          continue;
        }
        NoteDrop(policy.account, b == 0x1A ? ChangeKind::kEof : ChangeKind::kJunk, in, i);
        break;
    }
    ++i;
  }

  carry = last - i + 1;
  return o;
}

}  // namespace ferrox
