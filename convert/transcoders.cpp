#include "convert/transcoders.h"

#include <array>
#include <cstring>

#include "convert/change_account.h"
#include "convert/gaiji_table.h"
#include "convert/mac_japanese.h"
#include "convert/pair_scan.h"
#include "convert/simd_level.h"
#include "text/code_ranges.h"
#include "text/conv_mode.h"
#include "text/jis_pairs.h"

namespace ferrox {
namespace {

using code_ranges::Lead;
using Mode = GaijiPolicy::Mode;

// What a run copier does with the byte at its position.
enum Step : std::uint8_t { kStop, kByte, kLeadByte, kLead88, kSs2, kCr, kLf, kMacByte };

constexpr void Fill(std::array<Step, 256>& t, int lo, int hi, Step s) {
  for (int b = lo; b <= hi; ++b) t[static_cast<std::size_t>(b)] = s;
}

constexpr std::array<Step, 256> MakeSjisSteps(bool strict) {
  std::array<Step, 256> t{};
  t[0x09] = kByte;
  t[0x20] = kByte;
  Fill(t, 0xA0, 0xDF, kByte);
  t[0x0D] = kCr;
  t[0x0A] = kLf;
  if (strict) {
    Fill(t, 0x81, 0x84, kLeadByte);
    Fill(t, 0x89, 0x9F, kLeadByte);
    Fill(t, 0xE0, 0xEA, kLeadByte);
    t[0x88] = kLead88;
  } else {
    Fill(t, 0x81, 0x9F, kLeadByte);
    Fill(t, 0xE0, 0xFC, kLeadByte);
  }
  return t;
}

constexpr std::array<Step, 256> MakeEucSteps(bool strict) {
  std::array<Step, 256> t{};
  t[0x09] = kByte;
  t[0x20] = kByte;
  t[0x8E] = kSs2;
  t[0x0D] = kCr;
  t[0x0A] = kLf;
  if (strict) {
    Fill(t, 0xA1, 0xA8, kLeadByte);
    Fill(t, 0xB0, 0xF4, kLeadByte);
  } else {
    Fill(t, 0xA1, 0xFE, kLeadByte);
  }
  return t;
}

// Mac Japanese: every lead is taken so that the run can map Apple's codes in
// the gaiji rows, and its single bytes are mapped too.
constexpr std::array<Step, 256> MakeSjisMacSteps() {
  std::array<Step, 256> t = MakeSjisSteps(false);
  for (const int b : {0x80, 0xA0, 0xFD, 0xFE, 0xFF}) t[static_cast<std::size_t>(b)] = kMacByte;
  return t;
}

constexpr auto kSjisStrictSteps = MakeSjisSteps(true);
constexpr auto kSjisMacSteps = MakeSjisMacSteps();
constexpr auto kSjisLooseSteps = MakeSjisSteps(false);
constexpr auto kEucStrictSteps = MakeEucSteps(true);
constexpr auto kEucLooseSteps = MakeEucSteps(false);

// The same as tables over 7-bit bytes, for the copiers' inner loops.
struct PairTables {
  std::array<std::uint8_t, 128> first{};
  std::array<std::array<std::uint8_t, 128>, 2> second{};  // by parity of the first byte
};

constexpr PairTables MakePairTables() {
  PairTables t;
  for (int j = 0; j < 128; ++j) {
    t.first[static_cast<std::size_t>(j)] = SjisFirst(j);
    t.second[0][static_cast<std::size_t>(j)] = SjisSecond(0, j);
    t.second[1][static_cast<std::size_t>(j)] = SjisSecond(1, j);
  }
  return t;
}
constexpr PairTables kPair = MakePairTables();

// Writes the Shift JIS pair of a JIS or EUC pair (the high bits are ignored).
inline void JisPair(std::uint8_t j1, std::uint8_t j2, std::uint8_t* s) noexcept {
  s[0] = kPair.first[j1 & 0x7F];
  s[1] = kPair.second[j1 & 1][j2 & 0x7F];
}

// Writes the replacement of the Shift JIS gaiji s1 s2 at q, which stands for
// the input pair at in[k]; returns its length.
std::size_t ReplaceGaiji(const GaijiPolicy& policy, std::uint8_t s1, std::uint8_t s2,
                         std::uint8_t* q, const std::uint8_t* in, BufIndex k) noexcept {
  const GaijiTable* table = policy.table;
  std::size_t n = 2;
  if (table == nullptr) {
    q[0] = 0x81;  // 〓
    q[1] = 0xAC;
  } else {
    n = table->GaijiSet(table->GaijiTableSearch(s1, s2), q, 0);
  }
  if (policy.account != nullptr) {
    policy.account->Replaced(ChangeKind::kGaijiReplaced, in, k, 2, q, n);
  }
  return n;
}

// CR, CR LF and LF all become CR LF. Returns the input bytes taken.
inline BufIndex LineEnd(Step s, const std::uint8_t* p, std::uint8_t*& q) noexcept {
  q[0] = 0x0D;
  q[1] = 0x0A;
  q += 2;
  return (s == kCr && p[1] == 0x0A) ? 2 : 1;
}

// Each run below returns a RunEnd. The output position is a local value
// rather than a reference: stores through a byte pointer may alias a pointer in
// memory, which would make the compiler reload it after every byte.

template <Mode kMode, bool kMac = false>
RunEnd SjisRun(const std::uint8_t* in, BufIndex k, BufIndex end, std::uint8_t* q,
               const GaijiPolicy& policy, SimdLevel level) noexcept {
  const auto& steps = kMac                    ? kSjisMacSteps
                      : kMode == Mode::kStrict ? kSjisStrictSteps
                                               : kSjisLooseSteps;
  while (k <= end) {
    if (in[k] >= 0x81) pair_scan::CopyStandardSjisPairs(in, k, end, q, level);
    if (k > end) break;
    const std::uint8_t b = in[k];
    const Step s = steps[b];
    if (s == kLeadByte || s == kLead88) {
      const std::uint8_t c = in[k + 1];
      if (!code_ranges::IsSjisTrail(c)) return {k, q};
      if constexpr (kMac) {
        if (code_ranges::SjisLead(b, c) == Lead::kGaiji) {
          std::size_t written = 0;
          if (TakeMacCode(in, k, q, written, policy) != 0) {
            q += written;
            k += 2;
            continue;
          }
          if constexpr (kMode == Mode::kStrict) return {k, q};
        }
      }
      if constexpr (kMode == Mode::kStrict) {
        if (s == kLead88 && c < 0x9E) return {k, q};
      }
      if constexpr (kMode == Mode::kReplace) {
        if (code_ranges::SjisLead(b, c) == Lead::kGaiji) {
          q += ReplaceGaiji(policy, b, c, q, in, k);
          k += 2;
          continue;
        }
      }
      q[0] = b;
      q[1] = c;
      q += 2;
      k += 2;
    } else if (s == kByte) {
      *q++ = b;
      ++k;
    } else if (s == kCr || s == kLf) {
      k += LineEnd(s, in + k, q);
    } else if (kMac && s == kMacByte) {
      std::size_t written = 0;
      k += static_cast<BufIndex>(TakeMacCode(in, k, q, written, policy));
      q += written;
    } else {
      return {k, q};
    }
  }
  return {k, q};
}

template <Mode kMode>
RunEnd EucRun(const std::uint8_t* in, BufIndex k, BufIndex end, std::uint8_t* q,
              const GaijiPolicy& policy, SimdLevel level) noexcept {
  const auto& steps = kMode == Mode::kStrict ? kEucStrictSteps : kEucLooseSteps;
  while (k <= end) {
    if (in[k] >= 0xA1) pair_scan::ConvertStandardPairs<pair_scan::PairCode::kEuc>(in, k, end, q, level);
    if (k > end) break;
    const std::uint8_t b = in[k];
    const Step s = steps[b];
    if (s == kLeadByte) {
      const std::uint8_t c = in[k + 1];
      if (!code_ranges::IsEucByte(c)) return {k, q};
      JisPair(b, c, q);
      if constexpr (kMode == Mode::kReplace) {
        if (code_ranges::EucLead(b) == Lead::kGaiji) {
          q += ReplaceGaiji(policy, q[0], q[1], q, in, k);
          k += 2;
          continue;
        }
      }
      q += 2;
      k += 2;
    } else if (s == kByte) {
      *q++ = b;
      ++k;
    } else if (s == kSs2) {
      // 0xA0 is taken too, one below the EUC kana range, as the classifier does.
      const std::uint8_t c = in[k + 1];
      if (c < 0xA0 || c > 0xDF) return {k, q};
      *q++ = c;
      k += 2;
    } else if (s == kCr || s == kLf) {
      k += LineEnd(s, in + k, q);
    } else {
      return {k, q};
    }
  }
  return {k, q};
}

template <Mode kMode>
RunEnd JisZenRun(const std::uint8_t* in, BufIndex k, BufIndex end, std::uint8_t* q,
                 const GaijiPolicy& policy, SimdLevel level) noexcept {
  while (k <= end) {
    pair_scan::ConvertStandardPairs<pair_scan::PairCode::kJis>(in, k, end, q, level);
    if (k > end) break;
    const std::uint8_t b = in[k];
    const std::uint8_t c = in[k + 1];
    if (c < 0x21 || c > 0x7E) return {k, q};
    const Lead lead = code_ranges::JisLead(b);
    if (lead == Lead::kNone) return {k, q};
    if constexpr (kMode == Mode::kStrict) {
      if (lead == Lead::kGaiji) return {k, q};
    }
    JisPair(b, c, q);
    if constexpr (kMode == Mode::kReplace) {
      if (lead == Lead::kGaiji) {
        q += ReplaceGaiji(policy, q[0], q[1], q, in, k);
        k += 2;
        continue;
      }
    }
    q += 2;
    k += 2;
  }
  return {k, q};
}

using RunFn = RunLoop;

// The mode is chosen once per call; the loop itself never tests it.
inline void CopyRun(RunFn strict, RunFn pass, RunFn replace, std::uint8_t* out,
                    const std::uint8_t* in, BufIndex& o, BufIndex& i, BufIndex end,
                    BufIndex& consumed, const GaijiPolicy& policy) noexcept {
  const RunFn run = policy.mode == Mode::kStrict ? strict
                    : policy.mode == Mode::kPass ? pass
                                                 : replace;
  const RunEnd e = run(in, i, end, out + o, policy, CurrentSimdLevel());
  consumed = e.stop - i;
  o = e.q - out;
  i = e.stop - 1;
}

}  // namespace

GaijiPolicy GaijiPolicy::FromConvMode(std::uint16_t convMode, const GaijiTable* table) noexcept {
  GaijiPolicy p;
  p.table = table;
  if (!conv_mode::GaijiAsChar(convMode)) {
    p.mode = Mode::kStrict;
  } else {
    p.mode = (convMode & conv_mode::kGaijiTable) != 0 ? Mode::kReplace : Mode::kPass;
  }
  return p;
}

RunLoops RunLoopsFor(const GaijiPolicy& policy) noexcept {
  if (policy.mac) {
    switch (policy.mode) {
      case Mode::kStrict:
        return {SjisRun<Mode::kStrict, true>, EucRun<Mode::kStrict>, JisZenRun<Mode::kStrict>};
      case Mode::kPass:
        return {SjisRun<Mode::kPass, true>, EucRun<Mode::kPass>, JisZenRun<Mode::kPass>};
      case Mode::kReplace:
        return {SjisRun<Mode::kReplace, true>, EucRun<Mode::kReplace>,
                JisZenRun<Mode::kReplace>};
    }
  }
  switch (policy.mode) {
    case Mode::kStrict:
      return {SjisRun<Mode::kStrict>, EucRun<Mode::kStrict>, JisZenRun<Mode::kStrict>};
    case Mode::kPass:
      return {SjisRun<Mode::kPass>, EucRun<Mode::kPass>, JisZenRun<Mode::kPass>};
    case Mode::kReplace:
      break;
  }
  return {SjisRun<Mode::kReplace>, EucRun<Mode::kReplace>, JisZenRun<Mode::kReplace>};
}

void SjisCopy(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i, BufIndex end,
              BufIndex& consumed, const GaijiPolicy& policy) noexcept {
  if (policy.mac) {
    CopyRun(SjisRun<Mode::kStrict, true>, SjisRun<Mode::kPass, true>,
            SjisRun<Mode::kReplace, true>, out, in, o, i, end, consumed, policy);
    return;
  }
  CopyRun(SjisRun<Mode::kStrict>, SjisRun<Mode::kPass>, SjisRun<Mode::kReplace>, out, in, o, i,
          end, consumed, policy);
}

void EucCopy(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i, BufIndex end,
             BufIndex& consumed, const GaijiPolicy& policy) noexcept {
  CopyRun(EucRun<Mode::kStrict>, EucRun<Mode::kPass>, EucRun<Mode::kReplace>, out, in, o, i, end,
          consumed, policy);
}

void JisZenCopy(std::uint8_t* out, const std::uint8_t* in, BufIndex& o, BufIndex& i, BufIndex end,
                BufIndex& consumed, const GaijiPolicy& policy) noexcept {
  CopyRun(JisZenRun<Mode::kStrict>, JisZenRun<Mode::kPass>, JisZenRun<Mode::kReplace>, out, in, o,
          i, end, consumed, policy);
}

}  // namespace ferrox
