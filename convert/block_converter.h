#pragma once
// The two block converters of the conversion pass: the full one, which follows
// the JIS shift state and hands Shift JIS, EUC and JIS runs to the transcoders,
// and the light one for Shift JIS or ASCII input.
//
// A block is `length` input bytes. Positions 0 .. length - 3 are converted; the
// last two bytes are look-ahead only and are normally carried into the next
// block. The driver appends two zero bytes to the last block of a file so that
// every real byte gets examined.

#include <cstdint>

#include "analysis/char_type.h"
#include "convert/transcoders.h"

namespace ferrox {

class ChangeAccount;
class GaijiTable;

// What stays fixed for the whole file: the type flag word of the survey and
// the ConvMode bits that the classifier and the transcoders read.
struct BlockSettings {
  std::uint16_t typeFlags = 0;
  bool gaijiAsChar = false;  // ConvMode bit 8
  GaijiPolicy policy;        // ConvMode bits 8 and 16 with the gaiji table, Mac Japanese

  // `macJapanese`: Shift JIS is read as Mac Japanese. `account` counts changes.
  [[nodiscard]] static BlockSettings Make(std::uint16_t typeFlags, std::uint16_t convMode,
                                          const GaijiTable* table, bool macJapanese = false,
                                          ChangeAccount* account = nullptr) noexcept;

  // The state a JIS return to ASCII restores: EUC when the survey saw EUC.
  [[nodiscard]] std::uint16_t BaseState() const noexcept;
};

// The code state of the text, kept from block to block, is written with the
// first-code bits of the survey flag word (survey::kMark*).

// Converts one block of `length` bytes (at least 3) from `in` into `out` from
// index 0 and returns the number of bytes written. `carry` receives the number
// of bytes at the end of the block that were not converted and must be given
// again at the start of the next block. `codeState` is read and updated so that
// a JIS shift survives a block boundary. `out` must hold 2 * length bytes plus
// what longer gaiji replacements and Mac Japanese fallbacks (kMacLongest bytes
// at most for a pair) add.
[[nodiscard]] BufIndex FerroxConvSub(std::uint8_t* out, const std::uint8_t* in, BufIndex length,
                                     const BlockSettings& settings, BufIndex& carry,
                                     std::uint16_t& codeState) noexcept;

// The light converter: line ends to CR LF, Shift JIS and ASCII copied, every
// other byte dropped. Same contract as FerroxConvSub without the code state.
[[nodiscard]] BufIndex FerroxConvSubLite(std::uint8_t* out, const std::uint8_t* in,
                                         BufIndex length, const BlockSettings& settings,
                                         BufIndex& carry) noexcept;

}  // namespace ferrox
