#pragma once
// Builds 128-byte MacBinary headers for tests, field by field, and AppleSingle files.

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>

namespace ferrox::testing {

struct MacBinaryFields {
  std::string name = "a";        // raw Macintosh (CP932) bytes
  std::string type = "TEXT";     // 4 bytes
  std::string creator = "ttxt";  // 4 bytes
  std::uint32_t dataLength = 0;  // written as all four bytes
  std::uint32_t resourceLength = 0;
  std::uint32_t created = 0;     // Macintosh seconds
  std::uint32_t modified = 0;
};

// A header with the version byte 0 and the fields at their offsets.
[[nodiscard]] inline std::array<std::uint8_t, 128> MacBinaryHeader(const MacBinaryFields& f) {
  std::array<std::uint8_t, 128> h{};
  h[1] = static_cast<std::uint8_t>(f.name.size());
  std::copy_n(f.name.begin(), std::min<std::size_t>(f.name.size(), 63), h.begin() + 2);
  std::copy_n(f.type.begin(), std::min<std::size_t>(f.type.size(), 4), h.begin() + 65);
  std::copy_n(f.creator.begin(), std::min<std::size_t>(f.creator.size(), 4), h.begin() + 69);
  const std::pair<std::size_t, std::uint32_t> numbers[] = {
      {83, f.dataLength}, {87, f.resourceLength}, {91, f.created}, {95, f.modified}};
  for (const auto& [at, v] : numbers) {
    for (std::size_t i = 0; i < 4; ++i) h[at + i] = static_cast<std::uint8_t>(v >> (24 - 8 * i));
  }
  return h;
}

// The header as a string of 128 bytes, to be followed by forks.
[[nodiscard]] inline std::string MacBinaryHeaderBytes(const MacBinaryFields& f) {
  const auto h = MacBinaryHeader(f);
  return {reinterpret_cast<const char*>(h.data()), h.size()};
}

// A whole MacBinary file: the header given the forks' lengths, each fork padded to 128 bytes.
[[nodiscard]] inline std::string MacBinaryFile(MacBinaryFields f, const std::string& data, const std::string& resource) {
  f.dataLength = static_cast<std::uint32_t>(data.size());
  f.resourceLength = static_cast<std::uint32_t>(resource.size());
  const auto pad = [](std::string s) { return s.append((128 - s.size() % 128) % 128, '\0'); };
  return MacBinaryHeaderBytes(f) + pad(data) + pad(resource);
}

// An AppleSingle/AppleDouble file: magic, version, the entries (id, offset,
// length) and then `body`. AppleSingle with one entry puts its body at 38.
[[nodiscard]] inline std::string AppleFileBytes(std::initializer_list<std::array<std::uint32_t, 3>> entries,
                                                const std::string& body, std::uint32_t magic = 0x51600,
                                                std::uint32_t version = 0x20000) {
  std::string s;
  auto be32 = [&s](std::uint32_t v) { for (int k = 24; k >= 0; k -= 8) s += static_cast<char>(v >> k); };
  be32(magic);
  be32(version);
  s.append(16, '\0');
  s += static_cast<char>(entries.size() >> 8);
  s += static_cast<char>(entries.size());
  for (const auto& e : entries) for (const auto v : e) be32(v);
  return s + body;
}

}  // namespace ferrox::testing
