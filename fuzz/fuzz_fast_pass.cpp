// The block converters against the plain reference converters on arbitrary
// bytes: for every ConvMode, with and without the Mac Japanese mapping, any
// block size and each wide-path level the processor runs, the output must be
// the same bytes and the account of changes the same rows.

#include <cstdint>
#include <string>
#include <vector>

#include "convert/gaiji_table.h"
#include "convert/simd_level.h"
#include "fuzz/fuzz_input.h"
#include "helpers/reference_pass.h"

using namespace ferrox;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  const bool full = (data[0] & 1) != 0;
  // Bits 8 and 16 (gaiji as text, gaiji table) and bit 4 (full converter).
  const auto convMode = static_cast<std::uint16_t>((data[0] & 0x18) | (full ? 4 : 0));
  // The code a tie falls back on, and the code state the file starts in.
  const std::uint16_t typeFlags = (data[0] & 0x20) != 0 ? 0x0884 : 0x0102;
  const auto state = static_cast<std::uint16_t>((data[0] & 0x40) != 0 ? typeFlags & 0x0F00 : 0);
  const std::size_t blockSize = 3 + (data[1] & 0x7F);
  const bool mac = (data[1] & 0x80) != 0;
  data += 2;
  size -= 2;

  static const GaijiTable table;  // the default "〓" replacement only
  const GaijiTable* tableOrNone = (data[-2] & 0x80) != 0 ? &table : nullptr;
  const BlockSettings settings = BlockSettings::Make(typeFlags, convMode, tableOrNone, mac);
  using reference::Impl;
  for (const std::size_t block : {blockSize, std::size_t{8192}}) {
    std::string expectedChanges;
    const std::vector<std::uint8_t> expected = reference::RunBlocks(
        Impl::kReference, full, data, size, block, settings, state, &expectedChanges);
    for (const SimdLevel level : {SimdLevel::kScalar, SimdLevel::kSse2, SimdLevel::kAvx2}) {
      if (!SetSimdLevel(level)) continue;
      const BlockSettings fast = BlockSettings::Make(typeFlags, convMode, tableOrNone, mac);
      std::string changes;
      if (reference::RunBlocks(Impl::kFast, full, data, size, block, fast, state, &changes) !=
          expected) {
        fuzz::Fail("the fast converter differs from the reference");
      }
      if (changes != expectedChanges) fuzz::Fail("the account differs from the reference");
    }
    SetSimdLevel(BestSimdLevel());
  }
  return 0;
}
