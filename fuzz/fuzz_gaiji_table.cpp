// The gaiji table loader on arbitrary files: it never fails, keeps its records
// sorted by code, and the search finds every stored code.

#include <cstdint>

#include "convert/gaiji_table.h"
#include "fuzz/fuzz_input.h"

using namespace ferrox;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = fuzz::WriteInputFile(data, size);
  GaijiTable table;
  table.LoadGaijiTable(path);
  const auto& records = table.Records();
  if (records.empty()) fuzz::Fail("the default record is gone");
  for (std::size_t k = 1; k < records.size(); ++k) {
    const auto& r = records[k];
    if (r.first == 0 && r.second == 0 && r.replacement.empty() && k + 1 == records.size()) break;  // spare
    if (k > 1) {
      const auto& p = records[k - 1];
      if (p.first > r.first || (p.first == r.first && p.second > r.second)) fuzz::Fail("records not sorted");
    }
    const std::size_t found = table.GaijiTableSearch(r.first, r.second);
    if (found == 0) fuzz::Fail("a stored code is not found");
    if (records[found].first != r.first || records[found].second != r.second) fuzz::Fail("search found another code");
  }
  std::uint8_t out[4096];
  const std::size_t n = records[0].replacement.size();
  if (n <= sizeof out && table.GaijiSet(0, out, 0) != n) fuzz::Fail("GaijiSet length");
  return 0;
}
