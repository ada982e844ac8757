#pragma once
// Small helpers shared by the fuzz targets.

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace ferrox::fuzz {

// Writes the input to one file per process, for the procedures that read a
// path. The file is replaced on every run.
inline std::string WriteInputFile(const std::uint8_t* data, std::size_t size) {
  const char* dir = std::getenv("TMPDIR");
  std::string path = std::string(dir && *dir ? dir : "/tmp") + "/ferrox-fuzz-" +
                     std::to_string(::getpid()) + ".bin";
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) std::abort();
  if (size != 0 && std::fwrite(data, 1, size, f) != size) std::abort();
  std::fclose(f);
  return path;
}

// A finding: libFuzzer reports the crash with the input that caused it.
[[noreturn]] inline void Fail(const char* what) {
  std::fprintf(stderr, "fuzz finding: %s\n", what);
  std::abort();
}

}  // namespace ferrox::fuzz
