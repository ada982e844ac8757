#pragma once
// Bits of ConvMode, named by value. The engine receives the word itself, so
// analysis/ and convert/ never need the whole settings record.

#include <cstdint>

namespace ferrox::conv_mode {

inline constexpr std::uint16_t kAppendEof = 1;        // append one 0x1A to converted text
inline constexpr std::uint16_t kFncChar = 2;          // bad file-name characters become FNCChar
inline constexpr std::uint16_t kFull = 4;             // recognise JIS and EUC (full survey and converter)
inline constexpr std::uint16_t kGaijiAsChar = 8;      // gaiji and machine-dependent characters are characters
inline constexpr std::uint16_t kGaijiTable = 16;      // replace gaiji through the gaiji table
inline constexpr std::uint16_t kNoUtf8 = 32;          // the survey does not recognise UTF-8
inline constexpr std::uint16_t kMacJapaneseAny = 64;  // Mac Japanese mapping for any text
inline constexpr std::uint16_t kNoMacJapanese = 128;  // no Mac Japanese mapping at all
inline constexpr std::uint16_t kOldTieRule = 256;     // Shift JIS/EUC ties by the first-code mark and run lengths only

[[nodiscard]] constexpr bool GaijiAsChar(std::uint16_t convMode) noexcept {
  return (convMode & kGaijiAsChar) != 0;
}

}  // namespace ferrox::conv_mode
