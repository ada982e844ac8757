#pragma once
// Builds 128-byte MacBinary headers for tests, field by field.

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

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
[[nodiscard]] std::array<std::uint8_t, 128> MacBinaryHeader(const MacBinaryFields& f);

// The header as a string of 128 bytes, to be followed by forks.
[[nodiscard]] std::string MacBinaryHeaderBytes(const MacBinaryFields& f);

}  // namespace ferrox::testing
