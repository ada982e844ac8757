// Mac Japanese through the block converters, and the account of changes:
// every code of Apple's mapping on both converters and across block
// boundaries, a gaiji table entry winning over it, EUC left alone, and the
// exact rows of known drops and replacements.

#include <gtest/gtest.h>

#include <string>

#include "convert/block_converter.h"
#include "convert/gaiji_table.h"
#include "helpers/reference_pass.h"
#include "helpers/scratch_dir.h"
#include "text/mac_japanese.h"

namespace ferrox {
namespace {

using reference::Hex;
using reference::Impl;

struct Converted {
  std::string bytes;
  std::string changes;
};

Converted Convert(const std::string& text, bool full, std::uint16_t convMode, bool mac,
                  std::size_t block, const GaijiTable* table = nullptr,
                  std::uint16_t typeFlags = 0x0102) {
  const BlockSettings settings = BlockSettings::Make(typeFlags, convMode, table, mac);
  Converted c;
  const auto out = reference::RunBlocks(Impl::kFast, full,
                                        reinterpret_cast<const std::uint8_t*>(text.data()),
                                        text.size(), block, settings, typeFlags & 0x0F00,
                                        &c.changes);
  c.bytes.assign(out.begin(), out.end());
  return c;
}

std::string Bytes(const MacCode& c) {
  return c.code < 0x100 ? std::string(1, static_cast<char>(c.code))
                        : std::string{static_cast<char>(c.code >> 8), static_cast<char>(c.code)};
}

// Light and full converter, strict, permissive and replacing gaiji modes.
const struct {
  bool full;
  std::uint16_t convMode;
} kConverters[] = {{false, 0}, {false, 24}, {true, 4}, {true, 12}, {true, 28}};

TEST(MacJapanese, EveryCodeBecomesItsCp932CodeOrFallbackAcrossBlockBoundaries) {
  ASSERT_EQ(MacCodes().size(), 318u);
  for (const MacCode& c : MacCodes()) {
    const std::string out = c.kind == 2 ? std::string("\x81\xAC") : std::string(c.cp932);
    const std::string kind = c.kind == 0 ? " mac" : " mac-fallback";
    for (const auto& k : kConverters) {
      for (const std::size_t block : {3, 4, 5, 8192}) {
        const Converted r = Convert("ab" + Bytes(c) + "cd", k.full, k.convMode, true, block);
        ASSERT_EQ(Hex(r.bytes), Hex("ab" + out + "cd"))
            << std::hex << c.code << " ConvMode " << std::dec << k.convMode << " block " << block;
        ASSERT_EQ(r.changes, "2" + kind + Hex(Bytes(c)) + " >" + Hex(out) + "\n") << std::hex << c.code;
      }
    }
  }
}

TEST(MacJapanese, KnownCodesAndTheGaijiTableWinsForTheCodesItLists) {
  // Facts of the two code pages, written out by hand.
  const struct {
    const char* in;
    const char* out;
  } rows[] = {
      {"\x85\x40", "\x87\x40"},      // ① at its CP932 place
      {"\x85\x9F", "\x87\x54"},      // Ⅰ
      {"\x85\x5E", "(1)"},           // ⑴ has no CP932 code
      {"\xEB\x41", "\x81\x41"},      // vertical 、 becomes the horizontal one
      {"\x85\x7C", "\x81\xAC"},      // a code with neither: the default replacement
      {"\x80", "\x5C"}, {"\xA0", " "}, {"\xFD", "c"}, {"\xFE", "TM"}, {"\xFF", "\x81\x63"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Hex(Convert(row.in, true, 12, true, 8192).bytes), Hex(row.out)) << Hex(row.in);
  }
  GaijiTable table;
  table.LoadGaijiTable(testing::ScratchDir().Write("GaiTbl.txt", "Default=?\r\n8540,<one>\r\n"));
  // Only with ConvMode 16 the table is read; its default stands in for a code with neither.
  EXPECT_EQ(Convert("\x85\x40\x85\x7C", true, 28, true, 5, &table).changes,
            "0 gaiji-replaced 85 40 > 3C 6F 6E 65 3E\n2 mac-fallback 85 7C > 3F\n");
  EXPECT_EQ(Convert("\x85\x40", false, 8, true, 8192, &table).bytes, "\x87\x40");
}

TEST(MacJapanese, EucAndJisTextAndTheMappingOffStayAsBefore) {
  const struct {
    const char* text;
    std::uint16_t typeFlags;
  } rows[] = {
      // EUC kanji whose bytes are also Mac vertical forms, alone and after JIS
      {"\xB0\xA1\xEC\xA1\xB0\xA2\xEC\xA3\r\n", 0x0808},
      // stray bytes of Mac codes seen from ASCII in EUC text are junk, not Mac codes
      {"ab\x85\x40\xFD\xB0\xA1\x80\xFF\r\n", 0x0808},
      {"\x1B$B\x30\x21\x1B(B\xEC\xA1\xEC\xA3\xB0\xA1", 0x0A0C},
      {"\x82\xA0\x85\x40\x80\xFD\xFE\xFF", 0x0102},  // Shift JIS with Mac codes
  };
  for (const auto& row : rows) {
    for (const std::uint16_t convMode : {std::uint16_t{4}, std::uint16_t{12}, std::uint16_t{28}}) {
      const Converted off = Convert(row.text, true, convMode, false, 8192, nullptr, row.typeFlags);
      const Converted on = Convert(row.text, true, convMode, true, 8192, nullptr, row.typeFlags);
      EXPECT_EQ(on.bytes == off.bytes, row.typeFlags != 0x0102) << Hex(row.text) << " ConvMode " << convMode;
    }
  }
}

TEST(ChangeAccount, ExactRowsForKnownDropsAndReplacementsAtAnyBlockSize) {
  GaijiTable table;
  table.LoadGaijiTable(testing::ScratchDir().Write("GaiTbl2.txt", "8740,(1)\r\n"));
  const struct {
    bool full;
    std::uint16_t convMode;
    bool mac;
    const char* in;
    const char* out;
    const char* changes;
  } rows[] = {
      {false, 0, false, "a\x01\x1A\x87\x40\x02\x1F\x7F" "b", "a@b",
       "1 junk 01 >\n2 eof 1A >\n3 gaiji-dropped 87 >\n5 junk 02 >\n6 junk 1F >\n7 junk 7F >\n"},
      {true, 28, false, "\x87\x40\x1B$B\x30\x21\n\x1B(Bx", "(1)\x88\x9Fx",
       "0 gaiji-replaced 87 40 > 28 31 29\n7 junk 0A >\n"},
      // A JIS gaiji pair in strict mode loses its first byte; its second starts the next pair.
      {true, 4, false, "\x1B$B\x75\x21\x30\x21\x21\x1B(B", "\x81\x4F\x81\x40", "3 gaiji-dropped 75 >\n"},
      {true, 12, false, "\x0E\x31\x32\x7E\x0F\x80", "\xB1\xB2", "3 junk 7E >\n5 junk 80 >\n"},
      {true, 12, true, "x\x85\x40\x80\x1Ay\r\n", "x\x87\x40\x5Cy\r\n",
       "1 mac 85 40 > 87 40\n3 mac 80 > 5C\n4 eof 1A >\n"},
      {false, 8, false, "plain \x82\xA0 text\r\n", "plain \x82\xA0 text\r\n", ""},
  };
  for (const auto& row : rows) {
    for (const std::size_t block : {3, 4, 5, 7, 8192}) {
      const Converted r = Convert(row.in, row.full, row.convMode, row.mac, block, &table);
      EXPECT_EQ(Hex(r.bytes), Hex(row.out)) << Hex(row.in) << " block " << block;
      EXPECT_EQ(r.changes, row.changes) << Hex(row.in) << " block " << block;
    }
  }
}

}  // namespace
}  // namespace ferrox
