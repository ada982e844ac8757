#pragma once
// Writes BinHex 4.0 text for tests: run-length coding, 64-character lines,
// and CRCs that a test may spoil one at a time.

#include <cstdint>
#include <string>
#include <string_view>

#include "analysis/binhex.h"

namespace ferrox::testing {

struct BinHexFile {
  std::string name = "a";
  std::string type = "TEXT";
  std::string creator = "ttxt";
  std::string data;
  std::string resource;
  std::uint16_t crcXor[3] = {0, 0, 0};  // header, data, resource: nonzero spoils that CRC
};

[[nodiscard]] inline std::string EncodeBinHex(const BinHexFile& f) {
  std::string plain;
  auto section = [&plain](std::string_view bytes, std::uint16_t spoil) {
    plain += bytes;
    const auto crc = static_cast<std::uint16_t>(
        BinHexCrc(0, {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}) ^ spoil);
    plain += static_cast<char>(crc >> 8);
    plain += static_cast<char>(crc & 0xFF);
  };
  auto be32 = [](std::size_t v) {
    std::string s;
    for (int shift = 24; shift >= 0; shift -= 8) s += static_cast<char>((v >> shift) & 0xFF);
    return s;
  };
  std::string header(1, static_cast<char>(f.name.size()));
  header += f.name;
  header += '\0';
  header += (f.type + "    ").substr(0, 4);
  header += (f.creator + "    ").substr(0, 4);
  header += std::string(2, '\0');
  header += be32(f.data.size()) + be32(f.resource.size());
  section(header, f.crcXor[0]);
  section(f.data, f.crcXor[1]);
  section(f.resource, f.crcXor[2]);

  std::string rle;  // runs of 3 or more as byte, 0x90, count; a literal 0x90 as 0x90 0x00
  for (std::size_t i = 0; i < plain.size();) {
    std::size_t n = 1;
    while (i + n < plain.size() && plain[i + n] == plain[i] && n < 255) ++n;
    const char b = plain[i];
    rle += b;
    if (b == '\x90') rle += '\0';
    if (n >= 3 && b != '\x90') {
      rle += '\x90';
      rle += static_cast<char>(n);
      i += n;
    } else {
      i += 1;
    }
  }
  constexpr std::string_view kAlphabet = "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
  std::string text = "(This file must be converted with BinHex 4.0)\n:";
  std::size_t column = 1;
  std::uint32_t bits = 0;
  int count = 0;
  auto put = [&](unsigned v) {
    text += kAlphabet[v & 63];
    if (++column == 64) { text += '\n'; column = 0; }
  };
  for (const char c : rle) {
    bits = (bits << 8) | static_cast<std::uint8_t>(c);
    count += 8;
    while (count >= 6) { count -= 6; put(bits >> count); }
  }
  if (count > 0) put(bits << (6 - count));
  return text + ":\n";
}

}  // namespace ferrox::testing
