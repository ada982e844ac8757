// The BinHex decoder on arbitrary text, and on real BinHex made from the
// input's bytes, which must come back unchanged.

#include <cstdint>
#include <sstream>
#include <string>

#include "analysis/binhex.h"
#include "fuzz/fuzz_input.h"
#include "tests/helpers/binhex_encoder.h"

using namespace ferrox;

namespace {

struct Result {
  BinHexStatus status;
  BinHexInfo info;
  std::string data, resource;
};

Result Decode(const std::string& text) {
  std::istringstream in(text);
  BinHexDecoder decoder(in);
  Result r{};
  r.status = decoder.ReadHeader(r.info);
  if (r.status != BinHexStatus::Ok) return r;
  auto into = [](std::string& s) {
    return [&s](std::span<const std::uint8_t> b) {
      if (s.size() > (64u << 20)) return false;
      s.append(reinterpret_cast<const char*>(b.data()), b.size());
      return true;
    };
  };
  r.status = decoder.ReadForks(into(r.data), into(r.resource));
  return r;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const Result any = Decode(input);
  if (BinHexMessage(any.status).empty() != (any.status == BinHexStatus::Ok)) fuzz::Fail("message missing");
  if (any.status == BinHexStatus::Ok &&
      (static_cast<std::int64_t>(any.data.size()) != any.info.DataLength ||
       static_cast<std::int64_t>(any.resource.size()) != any.info.ResourceLength)) {
    fuzz::Fail("fork lengths differ from the header");
  }

  if (size < 2) return 0;
  const std::size_t nameLength = 1 + data[0] % 63;
  const std::size_t split = data[1];
  const std::string rest = input.substr(2);
  testing::BinHexFile file;
  file.name = (rest.substr(0, nameLength) + std::string(nameLength, 'n')).substr(0, nameLength);
  file.data = rest.substr(0, std::min(split * 8, rest.size()));
  file.resource = rest.substr(file.data.size());
  const Result back = Decode(testing::EncodeBinHex(file));
  if (back.status != BinHexStatus::Ok) fuzz::Fail("valid BinHex refused");
  if (back.data != file.data || back.resource != file.resource) fuzz::Fail("forks changed in a round trip");
  return 0;
}
