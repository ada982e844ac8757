#pragma once
// The conversion pass: copies a byte range of one file into another in blocks
// of 8192 bytes and, for text, rewrites each block into Shift JIS with CR LF.

#include <cstdint>
#include <string>

#include "convert/progress_sink.h"

namespace ferrox {

class GaijiTable;

struct ConvOptions {
  std::uint16_t convMode = 12;          // ConvMode
  std::int16_t lineSize = 0;            // LineSize; 0 or less = no folding
  const GaijiTable* gaiji = nullptr;    // table for ConvMode bit 16
};

inline constexpr std::uint16_t kOpMacBinaryCut = 1;  // job flag: strip the wrapper
inline constexpr std::uint16_t kOpText = 2;          // job flag: convert as text

// Returns 0, -5 (failed), -6 (cancelled) or -7 (disk full). The output must not
// exist; on any non-zero result it does not exist afterwards either.
[[nodiscard]] int FerroxConv(const std::string& outPath, const std::string& inPath,
                             std::int64_t dataStart, std::int64_t dataLength,
                             std::uint16_t opFlags, std::uint16_t typeFlags, bool keepHeader,
                             const ConvOptions& options, ProgressSink& progress);

}  // namespace ferrox
