// Builds 128-byte MacBinary headers for tests.

#include "helpers/macbinary_builder.h"

#include <algorithm>

namespace ferrox::testing {
namespace {

void Put32(std::array<std::uint8_t, 128>& h, std::size_t at, std::uint32_t v) {
  for (std::size_t i = 0; i < 4; ++i) {
    h[at + i] = static_cast<std::uint8_t>(v >> (24 - 8 * i));
  }
}

}  // namespace

std::array<std::uint8_t, 128> MacBinaryHeader(const MacBinaryFields& f) {
  std::array<std::uint8_t, 128> h{};
  h[1] = static_cast<std::uint8_t>(f.name.size());
  std::copy_n(f.name.begin(), std::min<std::size_t>(f.name.size(), 63), h.begin() + 2);
  std::copy_n(f.type.begin(), std::min<std::size_t>(f.type.size(), 4), h.begin() + 65);
  std::copy_n(f.creator.begin(), std::min<std::size_t>(f.creator.size(), 4), h.begin() + 69);
  Put32(h, 83, f.dataLength);
  Put32(h, 87, f.resourceLength);
  Put32(h, 91, f.created);
  Put32(h, 95, f.modified);
  return h;
}

std::string MacBinaryHeaderBytes(const MacBinaryFields& f) {
  const auto h = MacBinaryHeader(f);
  return {reinterpret_cast<const char*>(h.data()), h.size()};
}

}  // namespace ferrox::testing
