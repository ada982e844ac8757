#include "analysis/mac_codes.h"

#include <algorithm>
#include <fstream>
#include <vector>

#include "analysis/survey_flags.h"
#include "text/mac_japanese.h"

namespace ferrox {

bool FileHoldsMacCodes(const std::string& path, std::int64_t start, std::int64_t limit) {
  std::ifstream in(path, std::ios::binary);
  if (!in || !in.seekg(start)) return false;
  constexpr std::size_t kChunk = 64 * 1024;
  std::vector<std::uint8_t> buf(kChunk + 1);
  std::size_t kept = 0;  // a lead byte cut by the chunk's end, read again
  std::int64_t left = limit > 0 ? limit : INT64_MAX;
  while (left > 0) {
    const auto want = static_cast<std::streamsize>(std::min<std::int64_t>(left, kChunk));
    in.read(reinterpret_cast<char*>(buf.data() + kept), want);
    const auto got = static_cast<std::size_t>(in.gcount());
    if (got == 0) break;
    left -= static_cast<std::int64_t>(got);
    std::size_t n = kept + got;
    kept = 0;
    if (left > 0 && in && n >= 1 && buf[n - 1] >= 0x81) {
      kept = 1;
      --n;
    }
    if (HoldsMacCodes(buf.data(), n)) return true;
    if (kept != 0) buf[0] = buf[n];
  }
  return kept != 0 && HoldsMacCodes(buf.data(), kept);
}

bool ReadsAsShiftJis(std::uint16_t flags) noexcept {
  return (flags & survey::kUtf8) == 0 && (flags & (survey::kJis | survey::kEuc)) == 0;
}

}  // namespace ferrox
