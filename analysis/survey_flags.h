#pragma once
// The survey flag word: what the survey of a file found. 0 means binary.

#include <cstdint>

namespace ferrox::survey {

inline constexpr std::uint16_t kBinTolerated = 0x0001;  // binary bytes seen, fewer than the allowance
inline constexpr std::uint16_t kSjis = 0x0002;
inline constexpr std::uint16_t kJis = 0x0004;
inline constexpr std::uint16_t kEuc = 0x0008;
inline constexpr std::uint16_t kCrLf = 0x0010;
inline constexpr std::uint16_t kCr = 0x0020;
inline constexpr std::uint16_t kLf = 0x0040;
inline constexpr std::uint16_t kLineEndMask = 0x0070;
inline constexpr std::uint16_t kEndsWithEof = 0x0080;  // last surveyed byte is 0x1A
// First-code mark; also the converter's code state.
inline constexpr std::uint16_t kMarkMask = 0x0F00;
inline constexpr std::uint16_t kMarkSjis = 0x0100;
inline constexpr std::uint16_t kMarkJisKanji = 0x0200;
inline constexpr std::uint16_t kMarkJisKana = 0x0400;
inline constexpr std::uint16_t kMarkEuc = 0x0800;
inline constexpr std::uint16_t kSjisGaiji = 0x1000;
inline constexpr std::uint16_t kJisGaiji = 0x2000;
inline constexpr std::uint16_t kEucGaiji = 0x4000;
inline constexpr std::uint16_t kGaijiMask = 0x7000;

// UTF-8 text. The line-end, end-of-file and tolerated-binary bits mean what
// they mean for any text; the code bits 0x0002, 0x0004 and 0x0008 are clear,
// the first-code mark is 0x0100, and the gaiji bits are read differently:
inline constexpr std::uint16_t kUtf8 = 0x8000;
inline constexpr std::uint16_t kUtf8Bom = 0x1000;         // the text starts with a byte order mark
inline constexpr std::uint16_t kUtf8Decomposed = 0x2000;  // decomposed characters (NFD) seen

// What the job assumes for a file on which the survey found nothing but text
// conversion was asked for: Shift JIS mark, CR LF, Shift JIS, tolerated binary.
inline constexpr std::uint16_t kForcedText = 0x0113;

}  // namespace ferrox::survey
