// Decodes one BinHex file into NAME.data and NAME.rsrc in the current folder,
// as `hexbin -3` does, so that bench/binhex_speed.sh can time the two alike.
//   binhex_decode FILE.hqx

#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

#include "analysis/binhex.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: binhex_decode FILE.hqx\n";
    return 2;
  }
  std::ifstream in(argv[1], std::ios::binary);
  ferrox::BinHexDecoder decoder(in);
  ferrox::BinHexInfo info;
  auto status = decoder.ReadHeader(info);
  if (status == ferrox::BinHexStatus::Ok) {
    std::ofstream data(info.FileName + ".data", std::ios::binary);
    std::ofstream resource(info.FileName + ".rsrc", std::ios::binary);
    auto to = [](std::ofstream& out) {
      return [&out](std::span<const std::uint8_t> b) {
        return static_cast<bool>(out.write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size())));
      };
    };
    status = decoder.ReadForks(to(data), to(resource));
  }
  if (status != ferrox::BinHexStatus::Ok) {
    std::cerr << ferrox::BinHexMessage(status) << "\n";
    return 1;
  }
  return 0;
}
