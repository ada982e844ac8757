// The chunk surveyors and SjisOrEuc on arbitrary bytes. The first byte picks
// the mode and a chunk size; a survey in chunks of that size must give the
// same flag word as one in chunks of 8192 for the light surveyor, and for the
// full one on 7-bit input (where no Shift JIS/EUC tie is settled by look-ahead).

#include <cstdint>
#include <filesystem>
#include <vector>

#include "analysis/char_type.h"
#include "analysis/file_survey.h"
#include "fuzz/fuzz_input.h"

using namespace ferrox;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::uint8_t control = data[0];
  const bool gaijiAsChar = (control & 1) != 0;
  const bool full = (control & 2) != 0;
  const std::size_t chunk = 3 + (control >> 2);  // 3 .. 66
  data += 1;
  size -= 1;

  // SjisOrEuc from every position whose type has both a Shift JIS and an EUC bit.
  std::vector<std::uint8_t> buf(data, data + size);
  buf.push_back(0);
  buf.push_back(0);
  const BufIndex last = static_cast<BufIndex>(size) - 1;
  for (BufIndex i = 0; i <= last; ++i) {
    const std::uint8_t* b = buf.data() + i;
    const std::uint16_t t = GetCharType(b[0], b[1], b[2], gaijiAsChar);
    if ((t & char_type::kSjisBits) == 0 || (t & char_type::kEucBits) == 0) continue;
    const SjisOrEucResult r = SjisOrEuc(buf.data(), i, last, gaijiAsChar);
    if (r.verdict < 0 || r.verdict > 2) fuzz::Fail("SjisOrEuc verdict out of range");
    if (r.sjisLength < 0 || r.eucLength < 0) fuzz::Fail("SjisOrEuc run length negative");
    if (r.sjisLength > last - i + 2 || r.eucLength > last - i + 2)
      fuzz::Fail("SjisOrEuc ran past the range");
  }

  const std::string path = fuzz::WriteInputFile(data, size);
  SurveySettings settings;
  settings.BinRate = static_cast<std::int16_t>(control % 7);
  settings.ConvMode = static_cast<std::uint16_t>((full ? 4 : 0) | (gaijiAsChar ? 8 : 0));
  SilentProgress sink;
  std::uint16_t whole = 0;
  std::uint16_t split = 0;
  const auto length = static_cast<std::int64_t>(size);
  if (!FileTypeChkSub(path, 0, length, settings, sink, whole)) fuzz::Fail("survey could not read");
  if (!FileTypeChkSub(path, 0, length, settings, sink, split, chunk)) fuzz::Fail("survey could not read");

  bool sevenBit = true;
  for (std::size_t k = 0; k < size; ++k) sevenBit = sevenBit && data[k] < 0x80;
  // A kanji-in escape near a chunk's end leaves its pairs to the next chunk,
  // where they read as ASCII: the JIS gaiji bit may then be missed. That is the
  // chunking of the algorithm, not a fault; every other bit must agree.
  const std::uint16_t mask = full ? static_cast<std::uint16_t>(~0x2000u) : 0xFFFF;
  if ((!full || sevenBit) && (whole & mask) != (split & mask))
    fuzz::Fail("chunked survey differs from the whole one");
  if (whole != 0 && (whole & 0x0F00) == 0) fuzz::Fail("text without a first-code mark");
  return 0;
}
