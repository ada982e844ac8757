// The block converters against the plain reference converters: the same bytes
// for every ConvMode, block size and wide-path level, on tricky stretches and
// on mixed Japanese text in every code.

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "convert/gaiji_table.h"
#include "convert/simd_level.h"
#include "helpers/reference_pass.h"
#include "helpers/scratch_dir.h"

namespace ferrox {
namespace {

using reference::Impl;

// Stretches where a wide path, a shortcut or a block boundary could go wrong.
const char* const kPieces[] = {
    "plain ASCII text that runs past thirty-two bytes, then\n\r\n\r\rends",
    "\xC6\xFC\xCB\xDC\xB8\xEC \xA4\xCE\xA5\xC6\xA5\xAD\xA5\xB9\xA5\xC8\n",  // EUC
    "\x93\xFA\x96\x7B\x8C\xEA \x82\xCC\x83\x65\x83\x4C\x83\x58\x83\x67\r",  // Shift JIS
    "\x1B$B\x46\x7C\x4B\x5C\x38\x6C\x1B(B jis \x1B$@\x30\x21\x1B(J\n",
    "\x0E\x31\x32\x0F \x1B(I\x31\x5F\x60\x1B(B",       // JIS kana by SO/SI and ESC ( I
    "\xB1\xB2\xB3\xB4 \xE0\xA1\xE0\xFE\xEA\xA4",         // Shift JIS kana or EUC: a tie
    "\xF5\xA1\xA9\xA1\xEB\x40\x85\x40\x88\x9D\x88\x9E",  // gaiji of both codes, the 0x88 split
    "\x8E\xB1\x8E\xDF\x8E\xA0\x8E\x40\x8E",              // SS2 kana and what follows 0x8E
    "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x01\x1A\x7F\x80\xFD\xFE\xFF\t\x0C",
    "\x1B$B\x46\x7C\n\x1B(B\x1B$\x1B(",                  // line end inside JIS, cut escapes
    "\xA4\xA2\xA4\xA4\xA4\xA6\xA4\xA8\xA4\xAA\xA4\xAB\xA4\xAD\xA4\xAF\xA4\xB1\xA4\xB3"
    "\xA4\xB5\xA4\xB7\xA4\xB9\xA4\xBB\xA4\xBD\xA4\xBF\xA4\xC1\xA4\xC4\xA4\xC6\xA4\xC8",
    // Standard pairs that end on what the common stretch hands back: end of
    // file, an escape, kana, gaiji, a blank inside JIS, a shift not back to ASCII.
    "\xB0\xA1\xB0\xA2\x1A\xB0\xA1\x1B\xB0\xA1\x8E\xB1x\xB0\xA1\xF5\xA1 ",
    "\x88\x9F\x89\x40\xF0\x40\x81\x40\x85\x40\x89\x40\xB1\x0D",
    "a\x1B$B \x21\x21\x1B$B\x30\x21\x1B(I\x31\x1B(B\x1B$@\x30\x21\x1B$B",
    "\x82\xA0\x82\xA2\x82\xA4\x82\xA6\x82\xA8\x82\xA9\x82\xAB\x82\xAD\x82\xAF\x82\xB1"
    "\x82\xB3\x82\xB5\x82\xB7\x82\xB9\x82\xBB\x82\xBD\x82\xBF\x82\xC2\x82\xC4\x82\xC6",
    // Mac Japanese: codes CP932 has, fallbacks, none, one a table lists, the single bytes.
    "\x85\x40\x85\x41\x85\x9F\x82\xA0\xEB\x41\x85\x7C\x80\xA0\xFD\xFE\xFF\x87\xA3\x88\x6D\xED\x96",
};

// Text made of the pieces in a seeded order, with some single bytes between them.
std::string Mix(unsigned seed, std::size_t pieces) {
  std::mt19937 rng(seed);
  std::string s;
  for (std::size_t k = 0; k < pieces; ++k) {
    s += kPieces[rng() % std::size(kPieces)];
    if (rng() % 4 == 0) s += static_cast<char>(rng() % 256);
  }
  return s;
}

struct Mode {
  bool full;
  std::uint16_t convMode;
  std::uint16_t typeFlags;
  bool mac = false;
};

// Both converters, the strict, permissive and replacing gaiji modes, and the
// Shift JIS and EUC base codes a tie falls back on.
const Mode kModes[] = {
    {true, 4, 0x0102}, {true, 12, 0x0102}, {true, 28, 0x0102}, {true, 12, 0x0884},
    {true, 28, 0x0884}, {false, 0, 0x0102}, {false, 8, 0x0102}, {false, 24, 0x0102},
    {true, 4, 0x0102, true}, {true, 12, 0x0102, true}, {true, 28, 0x0102, true},
    {true, 28, 0x0884, true}, {false, 0, 0x0102, true}, {false, 24, 0x0102, true},
};

const GaijiTable& LongTable() {
  static const GaijiTable table = [] {
    GaijiTable t;
    t.LoadGaijiTable(testing::ScratchDir().Write("GaiTbl.txt", "8740,(1)\r\n8541,[2]\r\nF040,<gaiji>\r\n"));
    return t;
  }();
  return table;
}

TEST(FastPass, SameBytesAndChangesAsTheReferenceForEveryModeBlockSizeAndLevel) {
  std::vector<std::string> inputs;
  for (const char* piece : kPieces) inputs.emplace_back(piece);
  for (unsigned seed = 1; seed <= 12; ++seed) inputs.push_back(Mix(seed, 40));
  for (const SimdLevel level : {SimdLevel::kScalar, SimdLevel::kSse2, SimdLevel::kAvx2}) {
    if (!SetSimdLevel(level)) continue;  // the processor lacks it
    for (const Mode& m : kModes) {
      const BlockSettings settings =
          BlockSettings::Make(m.typeFlags, m.convMode, &LongTable(), m.mac);
      for (const std::string& text : inputs) {
        const auto* data = reinterpret_cast<const std::uint8_t*>(text.data());
        for (const std::size_t block : {3, 4, 5, 7, 16, 33, 64, 8192}) {
          const auto state = static_cast<std::uint16_t>(m.typeFlags & 0x0F00);
          std::string fastChanges;
          std::string referenceChanges;
          ASSERT_EQ(reference::RunBlocks(Impl::kFast, m.full, data, text.size(), block,
                                         settings, state, &fastChanges),
                    reference::RunBlocks(Impl::kReference, m.full, data, text.size(), block,
                                         settings, state, &referenceChanges))
              << "level " << static_cast<int>(level) << " ConvMode " << m.convMode << " flags "
              << m.typeFlags << " mac " << m.mac << " block " << block << " input "
              << ::testing::PrintToString(text);
          ASSERT_EQ(fastChanges, referenceChanges)
              << "ConvMode " << m.convMode << " mac " << m.mac << " block " << block;
        }
      }
    }
  }
  SetSimdLevel(BestSimdLevel());
}

}  // namespace
}  // namespace ferrox
