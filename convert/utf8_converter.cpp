// The UTF-8 block converter: decode, compose to NFC, map to CP932.

#include "convert/utf8_converter.h"

#include "convert/change_account.h"

// ferrox
#include "analysis/utf8_sequence.h"
#include "convert/ascii_run.h"
#include "convert/gaiji_table.h"
#include "convert/simd_level.h"
#include "convert/transcoders.h"
#include "text/cp932.h"
#include "text/nfc.h"

// std
#include <algorithm>

namespace ferrox {

namespace {
constexpr char32_t kByteOrderMark = 0xFEFF;

constexpr bool Is3ByteLead(std::uint8_t b) noexcept { return b >= 0xE1 && b <= 0xEF && b != 0xED; }
constexpr bool IsTail(std::uint8_t b) noexcept { return (b & 0xC0) == 0x80; }
inline char32_t Decode3(const std::uint8_t* p) noexcept {
  return static_cast<char32_t>((p[0] & 0x0F) << 12 | (p[1] & 0x3F) << 6 | (p[2] & 0x3F));
}
constexpr const char* kGeta = "\x81\xac";  // 〓
// The UTF-8 bytes of cp, for the change list.
std::string Utf8Of(char32_t cp) {
  std::string s;
  if (cp < 0x80) {
    s += static_cast<char>(cp);
  } else if (cp < 0x800) {
    s += static_cast<char>(0xC0 | cp >> 6);
    s += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    s += static_cast<char>(0xE0 | cp >> 12);
    s += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
    s += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    s += static_cast<char>(0xF0 | cp >> 18);
    s += static_cast<char>(0x80 | (cp >> 12 & 0x3F));
    s += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
    s += static_cast<char>(0x80 | (cp & 0x3F));
  }
  return s;
}
}  // namespace

Utf8Converter::Utf8Converter(const GaijiTable* table, ChangeAccount* account)
    : cp932_(cp932::FromUnicodeTable()),
      attention_(nfc::AttentionBits()),
      replacement_(table != nullptr ? table->Records().front().replacement : kGeta),
      account_(account) {}

std::int64_t Utf8Converter::FileOffset(BufIndex at) const noexcept {
  return account_ != nullptr ? account_->BlockStart() + at : 0;
}

std::size_t Utf8Converter::OutputBound(std::size_t length) const noexcept {
  // A byte gives at most one character (or one replacement); so does each
  // code point still waiting from the block before.
  const std::size_t perChar = std::max<std::size_t>(2, replacement_.size());
  return (length + segment_.size() + 2) * perChar + 8;
}


void Utf8Converter::PutReplacement(std::uint8_t* out, BufIndex& o, std::int64_t at,
                                   std::string_view in) const noexcept {
  std::copy(replacement_.begin(), replacement_.end(), out + o);
  o += static_cast<BufIndex>(replacement_.size());
  if (account_ != nullptr) account_->Record(at, ChangeKind::kUtf8Replaced, in, replacement_);
}

[[gnu::always_inline]] inline void Utf8Converter::Put(char32_t cp, std::uint8_t* out, BufIndex& o,
                                                     BufIndex at) const noexcept {
  const std::uint16_t code = cp < 0x10000 ? cp932_[cp] : 0;
  if (code == 0) {
    PutReplacement(out, o, FileOffset(at), account_ != nullptr ? Utf8Of(cp) : std::string());
  } else if (code < 0x100) {
    out[o++] = static_cast<std::uint8_t>(code);
  } else {
    out[o] = static_cast<std::uint8_t>(code >> 8);
    out[o + 1] = static_cast<std::uint8_t>(code);
    o += 2;
  }
}

void Utf8Converter::Flush(std::uint8_t* out, BufIndex& o) noexcept {
  std::size_t n = segmentLength_;
  if (n == 0) return;
  if (!segmentPlain_) {
    const std::size_t composed = nfc::Compose(segment_.data(), n, segment_.size());
    // A composed segment is accounted for at its start.
    if (composed != n) std::fill_n(segmentAt_.begin(), composed, segmentAt_[0]);
    n = composed;
  }
  for (std::size_t k = 0; k < n; ++k) Put(segment_[k], out, o, segmentAt_[k]);
  segmentLength_ = 0;
}

void Utf8Converter::Take(char32_t cp, std::uint8_t* out, BufIndex& o, BufIndex at) noexcept {
  if (atStart_) {
    atStart_ = false;
    if (cp == kByteOrderMark) return;
  }
  if (!nfc::NeedsAttention(cp)) {
    // Nothing that follows can join what waits: it is final.
    Flush(out, o);
    segmentPlain_ = true;
  } else {
    if (segmentLength_ >= kSegmentMax) Flush(out, o);
    segmentPlain_ = false;
  }
  segmentAt_[segmentLength_] = at;
  segment_[segmentLength_++] = cp;
}

// Take for a BMP character after the first, with the common case inline:
// a character NFC leaves alone after one that waits alone.
inline void Utf8Converter::TakeBmp(char32_t cp, std::uint8_t* out, BufIndex& o,
                                   BufIndex at) noexcept {
  if ((attention_[cp / 64] >> (cp % 64) & 1) != 0 || segmentLength_ > 1 || !segmentPlain_ ||
      atStart_) {
    Take(cp, out, o, at);
    return;
  }
  if (segmentLength_ == 1) Put(segment_[0], out, o, segmentAt_[0]);
  segmentAt_[0] = at;
  segment_[0] = cp;
  segmentLength_ = 1;
}

// Finishes the character that the previous block cut and returns where the
// block's own text starts.
BufIndex Utf8Converter::TakePartial(std::uint8_t* out, BufIndex& o, const std::uint8_t* in,
                                    BufIndex readable) noexcept {
  std::uint8_t bytes[4];
  std::size_t n = std::copy_n(partial_.begin(), partialLength_, bytes) - bytes;
  for (BufIndex k = 0; n < 4 && k < readable; ++k) bytes[n++] = in[k];
  const utf8::Sequence s = utf8::ReadSequence(bytes, n);
  const auto used = std::max<BufIndex>(0, s.length - static_cast<BufIndex>(partialLength_));
  const std::int64_t at = FileOffset(0) - static_cast<std::int64_t>(partialLength_);
  if (s.read == utf8::Read::kChar) {
    Take(s.cp, out, o, -static_cast<BufIndex>(partialLength_));
  } else {
    atStart_ = false;
    Flush(out, o);
    PutReplacement(out, o, at,
                   {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(
                                                              std::max<BufIndex>(1, s.length))});
  }
  partialLength_ = 0;
  return s.read == utf8::Read::kShort ? readable : used;
}

// An ASCII byte at i, with the printable run it starts; returns the next
// position.
[[gnu::always_inline]] inline BufIndex Utf8Converter::TakeAscii(std::uint8_t* out, BufIndex& o,
                                                                const std::uint8_t* in, BufIndex i,
                                                                BufIndex end) noexcept {
  const std::uint8_t b = in[i];
  atStart_ = false;
  Flush(out, o);
  if ((b >= 0x20 && b <= 0x7E) || b == 0x0D || b == 0x0A) {
    const AsciiRunEnd run = AsciiRun(in, i, end, out + o, CurrentSimdLevel());
    o = static_cast<BufIndex>(run.q - out);
    i = run.stop - 1;
    // A letter before a non-ASCII byte waits: a combining mark may join
    // it (A and a combining ring are Å).
    if (in[i] >= 0x21 && in[i] <= 0x7E && in[i + 1] >= 0x80) {
      segmentAt_[0] = i;
      segment_[0] = in[i];
      segmentLength_ = 1;
      segmentPlain_ = true;
      --o;
    }
  } else if (b == 0x09 || b == 0x0C) {
    out[o++] = b;
  } else {
    // Every other control byte, 0x1A included, is dropped.
    NoteDrop(account_, b == 0x1A ? ChangeKind::kEof : ChangeKind::kJunk, in, i);
  }
  return i + 1;
}

// Kana and kanji: three bytes, none of the leads whose second byte is
// narrower. A run of characters that NFC leaves alone goes in one loop,
// each written when the next shows that nothing joins it. Returns the next
// position.
[[gnu::always_inline]] inline BufIndex Utf8Converter::TakeThreeByteRun(std::uint8_t* out,
                                                                       BufIndex& o,
                                                                       const std::uint8_t* in,
                                                                       BufIndex i,
                                                                       BufIndex end) noexcept {
  TakeBmp(Decode3(in + i), out, o, i);
  i += 3;
  if (segmentLength_ == 1 && segmentPlain_) {
    char32_t waiting = segment_[0];
    BufIndex waitingAt = segmentAt_[0];
    while (i <= end && Is3ByteLead(in[i]) && IsTail(in[i + 1]) && IsTail(in[i + 2])) {
      const char32_t cp = Decode3(in + i);
      if ((attention_[cp / 64] >> (cp % 64) & 1) != 0) break;
      Put(waiting, out, o, waitingAt);
      waiting = cp;
      waitingAt = i;
      i += 3;
    }
    segment_[0] = waiting;
    segmentAt_[0] = waitingAt;
  }
  return i;
}

// Any other sequence at i: a character, a bad sequence (replaced) or the
// start of one that the block's end cuts (kept for the next block). Returns
// the next position.
[[gnu::always_inline]] inline BufIndex Utf8Converter::TakeSequence(std::uint8_t* out, BufIndex& o,
                                                                   const std::uint8_t* in,
                                                                   BufIndex i,
                                                                   BufIndex lastIndex) noexcept {
  const utf8::Sequence s = utf8::ReadSequence(in + i, static_cast<std::size_t>(lastIndex - i + 1));
  if (s.read == utf8::Read::kChar) {
    Take(s.cp, out, o, i);
  } else if (s.read == utf8::Read::kBad) {
    atStart_ = false;
    Flush(out, o);
    PutReplacement(out, o, FileOffset(i),
                   {reinterpret_cast<const char*>(in + i), static_cast<std::size_t>(s.length)});
  } else {
    // Cut by the block's end: the next block brings the rest.
    partialLength_ = s.length;
    std::copy_n(in + i, s.length, partial_.begin());
  }
  return i + s.length;
}

// At the file's end: a cut character is replaced and whatever waits written.
void Utf8Converter::FinishFile(std::uint8_t* out, BufIndex& o, BufIndex i) noexcept {
  if (partialLength_ > 0) {
    Flush(out, o);
    PutReplacement(out, o, FileOffset(i) - static_cast<std::int64_t>(partialLength_),
                   {reinterpret_cast<const char*>(partial_.data()), partialLength_});
    partialLength_ = 0;
  }
  Flush(out, o);
}

BufIndex Utf8Converter::Convert(std::uint8_t* out, const std::uint8_t* in, BufIndex length,
                                bool last, BufIndex& carry) noexcept {
  const BufIndex lastIndex = length - 1;
  const BufIndex end = lastIndex - 2;
  // On the file's last block the two bytes after `end` are padding, not text.
  const BufIndex readable = last ? end + 1 : length;
  BufIndex o = 0;
  BufIndex i = partialLength_ > 0 ? TakePartial(out, o, in, readable) : 0;
  while (i <= end) {
    const std::uint8_t b = in[i];
    if (b < 0x80) {
      i = TakeAscii(out, o, in, i, end);
    } else if (Is3ByteLead(b) && IsTail(in[i + 1]) && IsTail(in[i + 2])) {
      i = TakeThreeByteRun(out, o, in, i, end);
    } else {
      i = TakeSequence(out, o, in, i, lastIndex);
    }
  }
  if (last) FinishFile(out, o, i);
  carry = std::max<BufIndex>(0, lastIndex - i + 1);
  // What waits is counted from the next block's start.
  for (std::size_t k = 0; k < segmentLength_; ++k) segmentAt_[k] -= length - carry;
  return o;
}

}  // namespace ferrox
