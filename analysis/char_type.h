#pragma once
// Byte-level classifiers: one position (GetCharType) and runs of one kind
// (the *Check scanners), plus SjisOrEuc for stretches valid in both codes.
//
// Every procedure reads up to two bytes past the position it examines; the
// caller never asks for a position later than the buffer's last index minus 2.
// `gaijiAsChar` is ConvMode bit 8: false = strict (gaiji rows are not text),
// true = permissive (accepted and flagged as gaiji).

#include <array>
#include <cstddef>
#include <cstdint>

#include "text/code_ranges.h"

namespace ferrox {

namespace char_type {
inline constexpr std::uint16_t kNone = 0;
inline constexpr std::uint16_t kAscii = 0x0001;
inline constexpr std::uint16_t kJisKanjiIn = 0x0002;   // ESC $ B, ESC $ @
inline constexpr std::uint16_t kJisKanjiOut = 0x0004;  // ESC ( B, ESC ( J
inline constexpr std::uint16_t kNeutral = 0x0008;      // TAB, FF, 0x1A
inline constexpr std::uint16_t kSjisKana = 0x0010;
inline constexpr std::uint16_t kSjisDouble = 0x0020;
inline constexpr std::uint16_t kEucKana = 0x0040;
inline constexpr std::uint16_t kEucDouble = 0x0080;
inline constexpr std::uint16_t kJisKanaIn = 0x0100;    // ESC ( I, or SO before kana
inline constexpr std::uint16_t kCr = 0x0200;           // CR not followed by LF
inline constexpr std::uint16_t kLf = 0x0400;
inline constexpr std::uint16_t kCrLf = 0x0800;
inline constexpr std::uint16_t kJisKanaOut = 0x1000;   // SI
inline constexpr std::uint16_t kSjisGaiji = 0x2000;    // added to kSjisDouble
inline constexpr std::uint16_t kEucGaiji = 0x4000;     // added to kEucDouble
inline constexpr std::uint16_t kSjisBits = kSjisKana | kSjisDouble;
inline constexpr std::uint16_t kEucBits = kEucKana | kEucDouble;

// The type of each byte below 0x80 on its own. kLookAhead marks the bytes
// whose type depends on the bytes after them: CR, SO and ESC.
inline constexpr std::uint16_t kLookAhead = 0xFFFF;

namespace detail {
constexpr std::array<std::uint16_t, 128> MakeLowTypes() {
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
}  // namespace detail

inline constexpr auto kLowTypes = detail::MakeLowTypes();
}  // namespace char_type

// Index into a block buffer. Signed: a scanner that rejects its first byte
// leaves the position one before where it started.
using BufIndex = std::ptrdiff_t;

namespace char_type::detail {

// The classifier itself, inline so that the scanners and the block converters
// compile it into their loops; GetCharType is the same as a call.
constexpr bool InRange(std::uint8_t b, int lo, int hi) noexcept { return b >= lo && b <= hi; }

inline std::uint16_t EscapeType(std::uint8_t b1, std::uint8_t b2) noexcept {
  using namespace char_type;
  if (b1 == 0x24 && (b2 == 0x42 || b2 == 0x40)) return kJisKanjiIn;
  if (b1 == 0x28) {
    if (b2 == 0x42 || b2 == 0x4A) return kJisKanjiOut;
    if (b2 == 0x49) return kJisKanaIn;
  }
  return kNone;
}

// The multi-byte bits of a position whose first byte is 0x80 or above.
template <bool kGaijiAsChar>
[[gnu::always_inline]] inline std::uint16_t HighType(std::uint8_t b0, std::uint8_t b1) noexcept {
  using namespace char_type;
  using code_ranges::Lead;
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
[[gnu::always_inline]] inline std::uint16_t CharType(std::uint8_t b0, std::uint8_t b1,
                                                   std::uint8_t b2) noexcept {
  using namespace char_type;
  if (b0 >= 0x80) return HighType<kGaijiAsChar>(b0, b1);
  const std::uint16_t t = kLowTypes[b0];
  if (t != kLookAhead) return t;
  if (b0 == 0x0D) return b1 == 0x0A ? kCrLf : kCr;
  if (b0 == 0x1B) return EscapeType(b1, b2);
  // SO: kana-in only when a kana byte follows, and after it another kana, SI or ESC.
  if (InRange(b1, 0x20, 0x5F) && (b2 == 0x1B || b2 == 0x0F || InRange(b2, 0x20, 0x5F))) {
    return kJisKanaIn;
  }
  return kNone;
}

}  // namespace char_type::detail

[[nodiscard]] std::uint16_t GetCharType(std::uint8_t b0, std::uint8_t b1, std::uint8_t b2,
                                        bool gaijiAsChar) noexcept;

// Run scanners. On return `pos` is the index of the last byte consumed, `flags`
// has gained line-end, code and gaiji bits, `count` the bytes consumed.
void AsciiCheck(const std::uint8_t* buf, BufIndex& pos, BufIndex last,
                std::uint16_t& flags) noexcept;
void SjisCheck(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
               BufIndex& count, bool gaijiAsChar) noexcept;
void EucCheck(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
              BufIndex& count, bool gaijiAsChar) noexcept;
void JisZenCheck(const std::uint8_t* buf, BufIndex& pos, BufIndex last, std::uint16_t& flags,
                 BufIndex& count, bool gaijiAsChar) noexcept;

struct SjisOrEucResult {
  BufIndex sjisLength = 0;  // how far the Shift JIS reading got from the start
  BufIndex eucLength = 0;   // how far the EUC reading got from the start
  int sjisGaiji = 0;
  int eucGaiji = 0;
  int verdict = 0;          // 0 undecided, 1 Shift JIS, 2 EUC
};

// Settles a stretch starting at `start` whose type has both a Shift JIS and an EUC bit.
[[nodiscard]] SjisOrEucResult SjisOrEuc(const std::uint8_t* buf, BufIndex start, BufIndex last,
                                        bool gaijiAsChar) noexcept;

}  // namespace ferrox
