// The block converters and KetaSoroe on arbitrary bytes, run the way the
// conversion pass runs them: blocks with two look-ahead bytes carried over,
// two zero bytes after the last block. Every output must fit the output block,
// and a run split into small blocks must give the same bytes as one
// whole-buffer run for 7-bit input (ASCII and JIS) and for any input under
// the light converter. (Where a Shift JIS/EUC tie is settled by looking
// ahead, the end of a block may change the verdict; that is not a finding.)

#include <cstdint>
#include <vector>

#include "convert/block_converter.h"
#include "convert/gaiji_table.h"
#include "convert/keta_soroe.h"
#include "fuzz/fuzz_input.h"
#include "text/mac_japanese.h"

using namespace ferrox;

namespace {

struct Run {
  bool full = false;
  std::uint16_t convMode = 0;
  std::int32_t lineSize = 0;
  bool mac = false;  // Mac Japanese
};

// The largest output a block of n input bytes may give: every byte a lone
// line end (CR LF); a 2-byte gaiji becomes the 2-byte default, no longer; a
// Mac code at most kMacLongest bytes.
BufIndex OutputCapacity(BufIndex n, bool mac) {
  return mac ? n / 2 * static_cast<BufIndex>(kMacLongest) + 2 : 2 * n;
}

std::vector<std::uint8_t> Convert(const std::uint8_t* data, std::size_t size, std::size_t blockSize,
                                  const Run& run, const GaijiTable& table) {
  const BlockSettings settings = BlockSettings::Make(0x0100 | 0x0002, run.convMode, &table, run.mac);
  std::vector<std::uint8_t> result;
  std::uint16_t codeState = 0x0100;
  std::int32_t column = 0;
  std::size_t pos = 0;
  std::size_t remaining = size;
  while (remaining > 0) {
    std::size_t length = remaining < blockSize ? remaining : blockSize;
    const bool last = length == remaining;
    std::vector<std::uint8_t> in(data + pos, data + pos + length);
    if (last) in.insert(in.end(), {0, 0});
    const auto n = static_cast<BufIndex>(in.size());
    if (n < 3) {  // a non-last block this short cannot make progress
      if (!last) fuzz::Fail("block shorter than its look-ahead");
    }
    // Exactly the documented capacity, so AddressSanitizer sees any overrun.
    std::vector<std::uint8_t> out(static_cast<std::size_t>(OutputCapacity(n, run.mac)));
    BufIndex carry = 0;
    BufIndex count = 0;
    if (n >= 3) {
      count = run.full ? FerroxConvSub(out.data(), in.data(), n, settings, carry, codeState)
                       : FerroxConvSubLite(out.data(), in.data(), n, settings, carry);
    }
    if (count < 0 || count > static_cast<BufIndex>(out.size())) fuzz::Fail("output past the block");
    if (last) carry = 0;
    if (carry < 0 || carry > n) fuzz::Fail("carry out of range");
    if (run.lineSize > 0) {
      std::vector<std::uint8_t> folded_in(out.begin(), out.begin() + count);
      folded_in.insert(folded_in.end(), {0, 0});
      const auto fn = static_cast<BufIndex>(folded_in.size());
      std::vector<std::uint8_t> folded(static_cast<std::size_t>(3 * fn));
      count = KetaSoroe(folded.data(), folded_in.data(), fn, column, run.lineSize);
      if (count < 0 || count > 3 * fn) fuzz::Fail("folding past the block");
      out.swap(folded);
    }
    result.insert(result.end(), out.begin(), out.begin() + count);
    const std::size_t consumed = length - static_cast<std::size_t>(carry);
    if (consumed == 0 && !last) fuzz::Fail("block converter made no progress");
    remaining -= last ? remaining : consumed;
    pos += consumed;
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  Run run;
  run.full = (data[0] & 1) != 0;
  run.convMode = static_cast<std::uint16_t>((data[0] & 0x18) | (run.full ? 4 : 0));
  run.lineSize = data[1] % 24;  // 0 = no folding
  run.mac = (data[1] & 0x80) != 0;
  const std::size_t blockSize = 3 + data[0] % 29;
  data += 2;
  size -= 2;

  static const GaijiTable table;  // the default "〓" replacement only
  const std::vector<std::uint8_t> whole = Convert(data, size, 8192, run, table);
  const std::vector<std::uint8_t> split = Convert(data, size, blockSize, run, table);

  bool sevenBit = true;
  for (std::size_t k = 0; k < size; ++k) sevenBit = sevenBit && data[k] < 0x80;
  if ((!run.full || sevenBit) && whole != split) fuzz::Fail("split run differs from the whole one");
  return 0;
}
