// MBInfGet and the header parser on arbitrary headers, and the report block
// built from what they accept (name decoding, dates, lengths).

#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include "analysis/macbinary.h"
#include "fuzz/fuzz_input.h"
#include "suffix/suffix_entry.h"

using namespace ferrox;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::array<std::uint8_t, 128> header{};
  std::memcpy(header.data(), data, size < 128 ? size : 128);
  const auto length = static_cast<std::int64_t>(size);

  const std::optional<MacBinaryInfo> parsed = ParseMacBinaryHeader(header, length);
  if (parsed) {
    if (size < 128) fuzz::Fail("a file shorter than a header was taken as MacBinary");
    if (parsed->DataLength < 0 || parsed->DataLength > length - 128) fuzz::Fail("data fork past the file");
    std::string report;
    const SuffixEntry entry{"txt", "TEXT", "ttxt", "テキスト"};
    AppendMacBinaryInfo(report, *parsed, (data[0] & 1) != 0 ? &entry : nullptr);
    if (report.empty()) fuzz::Fail("empty information block");
  }

  const std::string path = fuzz::WriteInputFile(data, size);
  MacBinaryInfo info;
  const int code = MBInfGet(path, info);
  if (code != 0 && code != 1) fuzz::Fail("MBInfGet answer out of range");
  if ((code == 0) != parsed.has_value()) fuzz::Fail("MBInfGet and the parser disagree");
  if (code == 0 && !(info == *parsed)) fuzz::Fail("MBInfGet and the parser read different fields");
  return 0;
}
