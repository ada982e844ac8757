#pragma once
// The block converters written the plain way: one byte at a time, every
// position classified by GetCharType, no wide paths. The fast converters in
// convert/ must give the same bytes, carry and code state for every input,
// block size and ConvMode; the tests and a fuzz target hold them to it.

#include "convert/block_converter.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ferrox::reference {

[[nodiscard]] BufIndex FerroxConvSub(std::uint8_t* out, const std::uint8_t* in, BufIndex length,
                                     const BlockSettings& settings, BufIndex& carry,
                                     std::uint16_t& codeState) noexcept;

[[nodiscard]] BufIndex FerroxConvSubLite(std::uint8_t* out, const std::uint8_t* in,
                                         BufIndex length, const BlockSettings& settings,
                                         BufIndex& carry) noexcept;

// Which converter RunBlocks drives.
enum class Impl { kFast, kReference };

// Converts `data` the way the conversion pass does: blocks of `blockSize`
// bytes (at least 3), the carried look-ahead given again, two zero bytes
// after the last block. `full` picks FerroxConvSub over the light converter.
// The output buffer of each block is exactly its documented size, so that a
// sanitizer sees any overrun. `changes`, if given, gets the account: one line
// "offset kind input > output" per change, bytes in hex.
[[nodiscard]] std::vector<std::uint8_t> RunBlocks(Impl impl, bool full, const std::uint8_t* data,
                                                  std::size_t size, std::size_t blockSize,
                                                  const BlockSettings& settings,
                                                  std::uint16_t codeState,
                                                  std::string* changes = nullptr);

// Bytes as the account shows them: " 85 40".
[[nodiscard]] std::string Hex(std::string_view bytes);

}  // namespace ferrox::reference
