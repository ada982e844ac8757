// The block converters and the line folding on single blocks, as byte tables.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "analysis/char_type.h"
#include "convert/block_converter.h"
#include "convert/keta_soroe.h"

namespace ferrox {
namespace {

using Bytes = std::string;

struct Row {
  const char* name;
  Bytes in;
  Bytes expected;
  std::uint16_t convMode;
  std::uint16_t typeFlags;
};

constexpr std::uint16_t kSjisFile = 0x0112;  // Shift JIS, CR LF, Shift JIS mark
constexpr std::uint16_t kJisFile = 0x0314;   // JIS with Shift JIS mark: base state Shift JIS
constexpr std::uint16_t kEucFile = 0x0848;   // EUC, LF, EUC mark

// Converts `in` as the last block of a file (two zero bytes appended).
Bytes ConvertLast(const Bytes& in, std::uint16_t convMode, std::uint16_t typeFlags, bool full,
                  std::uint16_t* state = nullptr) {
  std::vector<std::uint8_t> block(in.begin(), in.end());
  block.push_back(0);
  block.push_back(0);
  std::vector<std::uint8_t> out(3 * block.size() + 1);
  const BlockSettings settings = BlockSettings::Make(typeFlags, convMode, nullptr);
  BufIndex carry = -1;
  std::uint16_t local = typeFlags & 0x0F00;
  std::uint16_t& codeState = state != nullptr ? *state : local;
  const auto length = static_cast<BufIndex>(block.size());
  const BufIndex n = full ? FerroxConvSub(out.data(), block.data(), length, settings, carry, codeState)
                          : FerroxConvSubLite(out.data(), block.data(), length, settings, carry);
  EXPECT_GE(carry, 0);
  EXPECT_LE(carry, 2);
  return Bytes(out.begin(), out.begin() + n);
}

TEST(FerroxConvSub, ConvertsByteTable) {
  const Row rows[] = {
      {"lone CRs", "A\r\rB", "A\r\n\r\nB", 12, kSjisFile},
      {"LF then CR", "A\n\rB", "A\r\n\r\nB", 12, kSjisFile},
      {"CR LF kept once", "A\r\nB", "A\r\nB", 12, kSjisFile},
      {"end-of-file bytes dropped", "x\x1Ay\x1A", "xy", 12, kSjisFile},
      {"tab and form feed kept", "\t\x0C", "\t\x0C", 12, kSjisFile},
      {"junk dropped", Bytes("a\x00\x01\x7F\x80\x1C", 6) + "b", "ab", 12, kSjisFile},
      {"JIS kanji", "\x1B$B\x30\x21\x1B(B", "\x88\x9F", 12, kJisFile},
      {"JIS kanji, ESC $ @", "\x1B$@\x30\x21\x21\x21\x1B(J.", "\x88\x9F\x81\x40.", 12, kJisFile},
      {"line end inside JIS dropped", "\x1B$B\x30\x21\r\n\x1B(B\r\n", "\x88\x9F\r\n", 12, kJisFile},
      {"tab inside JIS dropped", "\x1B$B\t\x30\x21\x1B(Bz", "\x88\x9Fz", 12, kJisFile},
      {"zeros inside JIS dropped", Bytes("\x1B$B\x30\x21", 5) + Bytes(20, '\0') + "\x24\x22\x1B(B",
       "\x88\x9F\x82\xA0", 12, kJisFile},
      {"zeros and controls", Bytes(9, '\0') + "\x01" + Bytes(9, '\0') + "a", "a", 12, kSjisFile},
      {"SO kana SI", "\x0E\x31\x0F", "\xB1", 12, kJisFile},
      {"SO blank becomes 0xA0", "\x0E\x20\x41\x0F", "\xA0\xC1", 12, kJisFile},
      {"ESC ( I kana, upper half dropped", "\x1B(I\x31\x60\x5F\x1B(Bx", "\xB1\xDFx", 12, kJisFile},
      {"SO without kana is junk", "\x0E\x60z", "\x60z", 12, kJisFile},
      {"unknown escape is junk", "\x1B$Zq", "$Zq", 12, kJisFile},
      {"EUC kanji", "\xB0\xA1", "\x88\x9F", 12, kEucFile},
      {"EUC SS2 kana", "\x8E\xB1\x8E\xA0", "\xB1\xA0", 12, kEucFile},
      {"EUC line ends", "\xA4\xA2\n\xA4\xA2\r", "\x82\xA0\r\n\x82\xA0\r\n", 12, kEucFile},
      {"Shift JIS copied", "\x82\xA0\x88\x9F\r\x82\xA2", "\x82\xA0\x88\x9F\r\n\x82\xA2", 12,
       kSjisFile},
      {"undecided run follows Shift JIS state", "\xA4\xA2", "\xA4\xA2", 12, kSjisFile},
      {"undecided run follows EUC state", "\xA4\xA2", "\x82\xA0", 12, kEucFile},
      {"undecided run without state: base EUC", "\xA4\xA2", "\x82\xA0", 12, 0x0008},
      {"undecided run without state: base Shift JIS", "\xA4\xA2", "\xA4\xA2", 12, 0x0002},
      {"gaiji passed when they are characters", "\x87\x40", "\x87\x40", 12, kSjisFile},
      {"strict: gaiji lead dropped, trail stays", "\x87\x40", "@", 4, kSjisFile},
      {"lead byte meets end of file", "a\x82", "a", 12, kSjisFile},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(ConvertLast(row.in, row.convMode, row.typeFlags, true), row.expected);
  }
}

TEST(FerroxConvSubLite, ConvertsByteTable) {
  const Row rows[] = {
      {"lone CRs", "A\r\rB", "A\r\n\r\nB", 8, kSjisFile},
      {"LF then CR", "A\n\rB", "A\r\n\r\nB", 8, kSjisFile},
      {"CR LF kept once", "A\r\nB", "A\r\nB", 8, kSjisFile},
      {"end-of-file bytes dropped", "x\x1Ay", "xy", 8, kSjisFile},
      {"escape not recognised", "\x1B$B\x30\x21", "$B0!", 8, kSjisFile},
      {"SO and SI dropped", "\x0E\x31\x0F", "1", 8, kSjisFile},
      {"half-width kana and tab", "\xB1\t\xDF\xA0", "\xB1\t\xDF\xA0", 8, kSjisFile},
      {"Shift JIS with line ends", "\x82\xA0\n\x82\xA2\r", "\x82\xA0\r\n\x82\xA2\r\n", 8,
       kSjisFile},
      {"strict: gaiji loses its lead byte", "\x87\x40", "@", 0, kSjisFile},
      {"gaiji as characters", "\x87\x40", "\x87\x40", 8, kSjisFile},
      {"bytes that never start anything", "\x80\xFD\xFE\xFF\x7F" "a", "a", 8, kSjisFile},
      {"lead without trail dropped", "\x82 a", " a", 8, kSjisFile},
      {"zeros and controls", Bytes(9, '\0') + "\x01\x1B" + Bytes(9, '\0') + "a", "a", 8, kSjisFile},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(ConvertLast(row.in, row.convMode, row.typeFlags, false), row.expected);
  }
}

// Where a block that is not the last one stops and what it carries.
TEST(FerroxConvSub, CarriesTheBytesItCouldNotLookPast) {
  struct Case {
    const char* name;
    Bytes block;
    Bytes expected;
    BufIndex carry;
  };
  const Case cases[] = {
      {"plain text keeps two bytes back", "abcdefgh", "abcdef", 2},
      {"escape at the last position converted", "abcde\x1B$B", "abcde", 0},
      {"pair at the last position converted", "abcde\x82\xA0z", "abcde\x82\xA0", 1},
      {"CR in the look-ahead is carried", "abcdef\r\n", "abcdef", 2},
      {"CR LF at the last position", "abcde\r\nz", "abcde\r\n", 1},
  };
  const BlockSettings settings = BlockSettings::Make(kJisFile, 12, nullptr);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<std::uint8_t> in(c.block.begin(), c.block.end());
    std::vector<std::uint8_t> out(3 * in.size() + 1);
    for (bool full : {true, false}) {
      BufIndex carry = -1;
      std::uint16_t state = 0x0100;
      const auto length = static_cast<BufIndex>(in.size());
      const BufIndex n = full ? FerroxConvSub(out.data(), in.data(), length, settings, carry, state)
                              : FerroxConvSubLite(out.data(), in.data(), length, settings, carry);
      if (full || c.block.find('\x1B') == Bytes::npos) {
        EXPECT_EQ(Bytes(out.begin(), out.begin() + n), c.expected);
        EXPECT_EQ(carry, c.carry);
      }
    }
  }
}

TEST(FerroxConvSub, KeepsTheJisStateFromBlockToBlock) {
  std::uint16_t state = kJisFile & 0x0F00;
  EXPECT_EQ(ConvertLast("\x1B$B", 12, kJisFile, true, &state), "");
  EXPECT_EQ(state, code_state::kJisKanji);
  EXPECT_EQ(ConvertLast("\x30\x21", 12, kJisFile, true, &state), "\x88\x9F");
  EXPECT_EQ(ConvertLast("\x1B(B", 12, kJisFile, true, &state), "");
  EXPECT_EQ(state, code_state::kSjis);
  EXPECT_EQ(ConvertLast("\x0E", 12, kJisFile, true, &state), "");  // SO before too few bytes: junk
  EXPECT_EQ(ConvertLast("\x1B(I", 12, kJisFile, true, &state), "");
  EXPECT_EQ(state, code_state::kJisKana);
  EXPECT_EQ(ConvertLast("12\r\n", 12, kJisFile, true, &state), "\xB1\xB2");
  EXPECT_EQ(ConvertLast("\x0F\r\n", 12, kEucFile, true, &state), "\r\n");
  EXPECT_EQ(state, code_state::kEuc);  // SI returns to the base state of an EUC file
}

// The converter's own byte types must be the classifier's.
TEST(QuickCharType, AgreesWithGetCharType) {
  const std::uint8_t thirds[] = {0x00, 0x0A, 0x0F, 0x1B, 0x20, 0x40, 0x42, 0x49, 0x5F, 0x80, 0xA1};
  for (bool gaiji : {false, true}) {
    for (int b0 = 0; b0 < 256; ++b0) {
      for (int b1 = 0; b1 < 256; ++b1) {
        for (std::uint8_t b2 : thirds) {
          const std::uint8_t p[3] = {static_cast<std::uint8_t>(b0), static_cast<std::uint8_t>(b1), b2};
          ASSERT_EQ(QuickCharType(p, gaiji), GetCharType(p[0], p[1], p[2], gaiji))
              << b0 << " " << b1 << " " << int{b2};
        }
      }
    }
  }
}

Bytes Fold(const Bytes& in, std::int32_t& column, std::int32_t lineSize) {
  std::vector<std::uint8_t> block(in.begin(), in.end());
  block.push_back(0);
  block.push_back(0);
  std::vector<std::uint8_t> out(3 * block.size() + 1);
  const BufIndex n = KetaSoroe(out.data(), block.data(), static_cast<BufIndex>(block.size()), column, lineSize);
  return Bytes(out.begin(), out.begin() + n);
}

TEST(KetaSoroe, FoldsAtTheLineSize) {
  struct Case {
    const char* name;
    Bytes in;
    Bytes expected;
    std::int32_t lineSize;
    std::int32_t columnAfter;
  };
  const Case cases[] = {
      {"twelve letters", "abcdefghijkl", "abcdefghij\r\nkl", 10, 2},
      {"exactly the line size", "abcdefghij", "abcdefghij", 10, 10},
      {"kanji moves whole", "abcdefghi\x88\x9F", "abcdefghi\r\n\x88\x9F", 10, 2},
      {"kanji fits at the end", "abcdefgh\x88\x9F", "abcdefgh\x88\x9F", 10, 10},
      {"line end resets the column", "abcdefgh\r\nabcdefgh", "abcdefgh\r\nabcdefgh", 10, 8},
      {"tab and kana count one", "\t\xB1\xB2x", "\t\xB1\r\n\xB2x", 2, 2},
      {"lead without trail counts one", "\x82 bc", "\x82 \r\nbc", 2, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::int32_t column = 0;
    EXPECT_EQ(Fold(c.in, column, c.lineSize), c.expected);
    EXPECT_EQ(column, c.columnAfter);
  }
}

TEST(KetaSoroe, CarriesTheColumnIntoTheNextBlock) {
  std::int32_t column = 0;
  EXPECT_EQ(Fold("abcdefgh", column, 10), "abcdefgh");
  EXPECT_EQ(Fold("ij\x88\x9F", column, 10), "ij\r\n\x88\x9F");
  EXPECT_EQ(column, 2);
}

}  // namespace
}  // namespace ferrox
