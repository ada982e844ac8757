// The plain block converters the fast ones are checked against.

#include "helpers/reference_pass.h"

#include "analysis/survey_flags.h"
#include "convert/change_account.h"
#include "convert/gaiji_table.h"
#include "text/mac_japanese.h"
#include "text/code_ranges.h"
#include "text/jis_pairs.h"

#include <algorithm>

namespace ferrox::reference {
namespace {

namespace ct = char_type;
constexpr std::uint16_t kSjis = survey::kMarkSjis;
constexpr std::uint16_t kJisKanji = survey::kMarkJisKanji;
constexpr std::uint16_t kJisKana = survey::kMarkJisKana;
constexpr std::uint16_t kEuc = survey::kMarkEuc;
using code_ranges::Lead;
using Mode = GaijiPolicy::Mode;

bool IsPrintable(std::uint8_t b) { return b >= 0x20 && b <= 0x7E; }
bool In(std::uint8_t b, int lo, int hi) { return b >= lo && b <= hi; }

// CR, CR LF and LF each become CR LF; returns the input bytes taken.
BufIndex LineEnd(const std::uint8_t* p, std::uint8_t* out, BufIndex& o) {
  out[o++] = 0x0D;
  out[o++] = 0x0A;
  return p[0] == 0x0D && p[1] == 0x0A ? 2 : 1;
}

void PutPair(std::uint8_t j1, std::uint8_t j2, std::uint8_t* out, BufIndex& o) {
  o += JisToSjis(out[o], out[o + 1], j1 & 0x7F, j2 & 0x7F);
}

void Drop(const GaijiPolicy& policy, ChangeKind kind, const std::uint8_t* in, BufIndex i) {
  if (policy.account != nullptr) policy.account->Dropped(kind, in, i);
}

// The pair just written at out[o - 2], from the input pair at in[k], is a
// gaiji: it becomes its replacement.
void ReplaceLast(const GaijiPolicy& policy, std::uint8_t* out, BufIndex& o, const std::uint8_t* in, BufIndex k) {
  o -= 2;
  const BufIndex at = o;
  if (policy.table == nullptr) {
    out[o++] = 0x81;
    out[o++] = 0xAC;
  } else {
    const std::uint8_t s1 = out[o];
    const std::uint8_t s2 = out[o + 1];
    o += static_cast<BufIndex>(policy.table->GaijiSet(policy.table->GaijiTableSearch(s1, s2), out, o));
  }
  if (policy.account != nullptr) {
    policy.account->Replaced(ChangeKind::kGaijiReplaced, in, k, 2, out + at, static_cast<std::size_t>(o - at));
  }
}

// A Mac code at in[k]: a gaiji table entry (ConvMode 16) wins, then CP932's
// same character, then the fallback, then the table's default. Returns the
// input bytes taken, 0 for none.
BufIndex MacCode(const GaijiPolicy& policy, const std::uint8_t* in, BufIndex k, std::uint8_t* out, BufIndex& o) {
  const ferrox::MacCode* mac = MacCodeAt(in + k);
  if (!policy.mac || mac == nullptr) return 0;
  const BufIndex n = mac->code < 0x100 ? 1 : 2;
  const BufIndex at = o;
  const GaijiTable* table = policy.table;
  const std::size_t listed =
      n == 2 && table != nullptr && policy.mode == Mode::kReplace ? table->GaijiTableSearch(in[k], in[k + 1]) : 0;
  ChangeKind kind = mac->kind == 0 ? ChangeKind::kMacSame : ChangeKind::kMacFallback;
  if (listed != 0) {
    kind = ChangeKind::kGaijiReplaced;
    o += static_cast<BufIndex>(table->GaijiSet(listed, out, o));
  } else if (mac->kind != 2) {
    for (const char c : mac->cp932) out[o++] = static_cast<std::uint8_t>(c);
  } else if (table != nullptr) {
    o += static_cast<BufIndex>(table->GaijiSet(0, out, o));
  } else {
    out[o++] = 0x81;
    out[o++] = 0xAC;
  }
  if (policy.account != nullptr) {
    policy.account->Replaced(kind, in, k, n, out + at, static_cast<std::size_t>(o - at));
  }
  return n;
}

// Each run returns the index of the first byte it did not take.
BufIndex AsciiRun(const std::uint8_t* in, BufIndex k, BufIndex end, std::uint8_t* out, BufIndex& o) {
  while (k <= end) {
    const std::uint8_t b = in[k];
    if (IsPrintable(b) || b == 0x09 || b == 0x0C) {
      out[o++] = b;
      ++k;
    } else if (b == 0x0D || b == 0x0A) {
      k += LineEnd(in + k, out, o);
    } else {
      break;
    }
  }
  return k;
}

BufIndex SjisRun(const std::uint8_t* in, BufIndex k, BufIndex end, std::uint8_t* out, BufIndex& o,
                 const GaijiPolicy& policy) {
  while (k <= end) {
    const std::uint8_t b = in[k];
    const std::uint8_t c = in[k + 1];
    const bool lead = policy.mode == Mode::kStrict && !policy.mac
                          ? In(b, 0x81, 0x84) || In(b, 0x88, 0x9F) || In(b, 0xE0, 0xEA)
                          : code_ranges::IsSjisLead(b);
    if (lead) {
      if (!code_ranges::IsSjisTrail(c)) break;
      const bool gaiji = code_ranges::SjisLead(b, c) == Lead::kGaiji;
      if (gaiji && MacCode(policy, in, k, out, o) != 0) {
        k += 2;
        continue;
      }
      if (policy.mode == Mode::kStrict && gaiji) break;
      out[o++] = b;
      out[o++] = c;
      if (policy.mode == Mode::kReplace && gaiji) ReplaceLast(policy, out, o, in, k);
      k += 2;
    } else if (const BufIndex n = MacCode(policy, in, k, out, o); n != 0) {
      k += n;
    } else if (b == 0x09 || b == 0x20 || In(b, 0xA0, 0xDF)) {
      out[o++] = b;
      ++k;
    } else if (b == 0x0D || b == 0x0A) {
      k += LineEnd(in + k, out, o);
    } else {
      break;
    }
  }
  return k;
}

BufIndex EucRun(const std::uint8_t* in, BufIndex k, BufIndex end, std::uint8_t* out, BufIndex& o,
                const GaijiPolicy& policy) {
  while (k <= end) {
    const std::uint8_t b = in[k];
    const std::uint8_t c = in[k + 1];
    const bool lead = policy.mode == Mode::kStrict ? In(b, 0xA1, 0xA8) || In(b, 0xB0, 0xF4) : In(b, 0xA1, 0xFE);
    if (lead) {
      if (!code_ranges::IsEucByte(c)) break;
      PutPair(b, c, out, o);
      if (policy.mode == Mode::kReplace && code_ranges::EucLead(b) == Lead::kGaiji) {
        ReplaceLast(policy, out, o, in, k);
      }
      k += 2;
    } else if (b == 0x09 || b == 0x20) {
      out[o++] = b;
      ++k;
    } else if (b == 0x8E) {
      if (!In(c, 0xA0, 0xDF)) break;
      out[o++] = c;
      k += 2;
    } else if (b == 0x0D || b == 0x0A) {
      k += LineEnd(in + k, out, o);
    } else {
      break;
    }
  }
  return k;
}

BufIndex JisZenRun(const std::uint8_t* in, BufIndex k, BufIndex end, std::uint8_t* out, BufIndex& o,
                   const GaijiPolicy& policy) {
  while (k <= end) {
    const std::uint8_t b = in[k];
    const std::uint8_t c = in[k + 1];
    const Lead lead = code_ranges::JisLead(b);
    if (!In(c, 0x21, 0x7E) || lead == Lead::kNone) break;
    if (policy.mode == Mode::kStrict && lead == Lead::kGaiji) break;
    PutPair(b, c, out, o);
    if (policy.mode == Mode::kReplace && lead == Lead::kGaiji) ReplaceLast(policy, out, o, in, k);
    k += 2;
  }
  return k;
}

using Run = BufIndex (*)(const std::uint8_t*, BufIndex, BufIndex, std::uint8_t*, BufIndex&, const GaijiPolicy&);

// Runs a copier from i. A copier that takes nothing leaves i where it was, so
// that the caller's step drops the byte; otherwise i ends on the last byte taken.
void CopyRun(Run run, const std::uint8_t* in, BufIndex& i, BufIndex end, std::uint8_t* out, BufIndex& o,
             const GaijiPolicy& policy) {
  const BufIndex stop = run(in, i, end, out, o, policy);
  if (stop != i) {
    i = stop - 1;
  } else if (run == JisZenRun) {
    const bool gaiji = In(in[i + 1], 0x21, 0x7E) && code_ranges::JisLead(in[i]) == Lead::kGaiji;
    Drop(policy, gaiji ? ChangeKind::kGaijiDropped : ChangeKind::kJunk, in, i);
  } else {
    Drop(policy, DropKindAt(in + i), in, i);
  }
}

bool TakeShift(std::uint16_t t, const std::uint8_t* in, BufIndex& i, std::uint16_t& s, std::uint16_t base) {
  if (t == ct::kJisKanjiIn || t == ct::kJisKanjiOut) {
    s = t == ct::kJisKanjiIn ? kJisKanji : base;
    i += 2;
  } else if (t == ct::kJisKanaIn) {
    if (in[i] == 0x1B) i += 2;
    s = kJisKana;
  } else if (t == ct::kJisKanaOut) {
    s = base;
  } else {
    return false;
  }
  return true;
}

}  // namespace

BufIndex FerroxConvSub(std::uint8_t* out, const std::uint8_t* in, BufIndex length, const BlockSettings& settings,
                       BufIndex& carry, std::uint16_t& codeState) noexcept {
  const BufIndex end = length - 3;
  const bool gaijiAsChar = settings.gaijiAsChar;
  const GaijiPolicy& policy = settings.policy;
  const std::uint16_t base = settings.BaseState();
  std::uint16_t s = codeState;
  BufIndex o = 0;
  BufIndex i = 0;
  while (i <= end) {
    const std::uint8_t b = in[i];
    const std::uint16_t t = GetCharType(b, in[i + 1], in[i + 2], gaijiAsChar);
    const bool readsSjis = s == kSjis || (s != kEuc && base != kEuc);
    BufIndex mac = 0;
    if (s == kJisKana && IsPrintable(b)) {
      if (b <= 0x5F) {
        out[o++] = static_cast<std::uint8_t>(b + 0x80);
      } else {
        Drop(policy, ChangeKind::kJunk, in, i);
      }
    } else if (s == kJisKanji && IsPrintable(b)) {
      CopyRun(JisZenRun, in, i, end, out, o, policy);
    } else if (s == kJisKana || s == kJisKanji) {
      if (!TakeShift(t, in, i, s, base)) {
        Drop(policy, b == 0x1A ? ChangeKind::kEof : ChangeKind::kJunk, in, i);
      }
    } else if (IsPrintable(b)) {
      i = AsciiRun(in, i, end, out, o);
      continue;
    } else if (b >= 0x80 && readsSjis && (mac = MacCode(policy, in, i, out, o)) != 0) {
      i += mac;
      continue;
    } else if (t == ct::kCrLf || t == ct::kCr || t == ct::kLf) {
      i += LineEnd(in + i, out, o) - 1;
    } else if (t == ct::kNeutral) {
      if (b != 0x1A) {
        out[o++] = b;
      } else {
        Drop(policy, ChangeKind::kEof, in, i);
      }
    } else if (TakeShift(t, in, i, s, base)) {
    } else if (t == ct::kNone) {
      Drop(policy, DropKindAt(in + i), in, i);
    } else if (t == ct::kEucKana || t == ct::kEucDouble || t == (ct::kEucDouble | ct::kEucGaiji)) {
      CopyRun(EucRun, in, i, end, out, o, policy);
      s = kEuc;
    } else if ((t & ct::kSjisBits) == 0) {
      Drop(policy, ChangeKind::kGaijiDropped, in, i);
    } else if ((t & ct::kEucBits) == 0) {
      CopyRun(SjisRun, in, i, end, out, o, policy);
      s = kSjis;
    } else {
      int verdict = SjisOrEuc(in, i, end, gaijiAsChar).verdict;
      if (verdict == 0) verdict = s == kEuc || (s != kSjis && base == kEuc) ? 2 : 1;
      CopyRun(verdict == 1 ? SjisRun : EucRun, in, i, end, out, o, policy);
      s = verdict == 1 ? kSjis : kEuc;
    }
    ++i;
  }
  codeState = s;
  carry = length - i;
  return o;
}

BufIndex FerroxConvSubLite(std::uint8_t* out, const std::uint8_t* in, BufIndex length, const BlockSettings& settings,
                           BufIndex& carry) noexcept {
  const BufIndex end = length - 3;
  BufIndex o = 0;
  BufIndex i = 0;
  while (i <= end) {
    const std::uint8_t b = in[i];
    if (IsPrintable(b)) {
      i = AsciiRun(in, i, end, out, o);
      continue;
    }
    if (const BufIndex mac = MacCode(settings.policy, in, i, out, o); mac != 0) {
      i += mac;
      continue;
    }
    if (b == 0x09 || b == 0x0C || In(b, 0xA0, 0xDF)) {
      out[o++] = b;
    } else if (b == 0x0D || b == 0x0A) {
      i += LineEnd(in + i, out, o) - 1;
    } else if (code_ranges::IsSjisLead(b)) {
      CopyRun(SjisRun, in, i, end, out, o, settings.policy);
    } else {
      Drop(settings.policy, b == 0x1A ? ChangeKind::kEof : ChangeKind::kJunk, in, i);
    }
    ++i;
  }
  carry = length - i;
  return o;
}

std::string Hex(std::string_view bytes) {
  static const char* const kDigits = "0123456789ABCDEF";
  std::string s;
  for (const char c : bytes) {
    const auto b = static_cast<unsigned char>(c);
    s += {' ', kDigits[b >> 4], kDigits[b & 15]};
  }
  return s;
}

namespace {
class ChangeText final : public ChangeSink {
 public:
  explicit ChangeText(std::string& text) : text_(text) {}
  void BeginFile(const std::string&) override {}
  void Change(std::int64_t offset, ChangeKind kind, std::string_view in, std::string_view out) override {
    text_ += std::to_string(offset) + " " + std::string(ChangeKindName(kind)) + Hex(in) + " >" + Hex(out) + "\n";
  }

 private:
  std::string& text_;
};
}  // namespace

std::vector<std::uint8_t> RunBlocks(Impl impl, bool full, const std::uint8_t* data, std::size_t size,
                                    std::size_t blockSize, const BlockSettings& given, std::uint16_t codeState,
                                    std::string* changes) {
  std::string ignored;
  ChangeText sink(changes != nullptr ? *changes : ignored);
  ChangeAccount account(changes != nullptr ? &sink : nullptr);
  BlockSettings settings = given;
  if (changes != nullptr) settings.policy.account = &account;
  std::size_t perPair = 2;
  if ((settings.policy.mode == GaijiPolicy::Mode::kReplace || settings.policy.mac) &&
      settings.policy.table != nullptr) {
    perPair = std::max<std::size_t>(2, settings.policy.table->LongestReplacement());
  }
  if (settings.policy.mac) perPair = std::max(perPair, kMacLongest);
  std::vector<std::uint8_t> result;
  std::vector<std::uint8_t> in;
  std::vector<std::uint8_t> out;
  std::size_t pos = 0;
  while (pos < size) {
    const std::size_t length = std::min(blockSize, size - pos);
    const bool last = pos + length == size;
    in.assign(data + pos, data + pos + length);
    if (last) in.insert(in.end(), {0, 0});
    const auto n = static_cast<BufIndex>(in.size());
    out.assign(2 * in.size() + (in.size() / 2 + 1) * (perPair - 2), 0);
    BufIndex carry = 0;
    BufIndex written = 0;
    account.SetBlockStart(static_cast<std::int64_t>(pos));
    if (impl == Impl::kFast) {
      written = full ? ferrox::FerroxConvSub(out.data(), in.data(), n, settings, carry, codeState)
                     : ferrox::FerroxConvSubLite(out.data(), in.data(), n, settings, carry);
    } else {
      written = full ? reference::FerroxConvSub(out.data(), in.data(), n, settings, carry, codeState)
                     : reference::FerroxConvSubLite(out.data(), in.data(), n, settings, carry);
    }
    result.insert(result.end(), out.begin(), out.begin() + written);
    if (last) break;
    pos += length - static_cast<std::size_t>(carry);
  }
  return result;
}

}  // namespace ferrox::reference
