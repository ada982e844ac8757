#pragma once
// The conversion pass: copies a byte range of one file into another in blocks
// of 8192 bytes and, for text, rewrites each block into Shift JIS with CR LF.

#include <cstdint>
#include <string>

#include "convert/result_code.h"
#include "text/progress_sink.h"

namespace ferrox {

class ChangeAccount;
class GaijiTable;

struct ConvOptions {
  std::uint16_t convMode = 12;          // ConvMode
  std::int16_t lineSize = 0;            // LineSize; 0 or less = no folding
  const GaijiTable* gaiji = nullptr;    // table for ConvMode bit 16
  bool macOrigin = false;               // the file came from a Mac (wrapper or sidecar)
  ChangeAccount* account = nullptr;     // counts what the pass drops and replaces
};

// Whether Shift JIS text is read as Mac Japanese: for a file of Mac origin or
// with ConvMode bit 64, never with bit 128.
[[nodiscard]] bool MacJapaneseFor(const ConvOptions& options) noexcept;

inline constexpr std::uint16_t kOpMacBinaryCut = 1;  // job flag: strip the wrapper
inline constexpr std::uint16_t kOpText = 2;          // job flag: convert as text

inline constexpr std::int32_t kConvBlockSize = 8192;  // bytes read per block

// Copies dataLength bytes from offset dataStart of inPath into outPath, block by
// block; with kOpText in opFlags each block is converted to Shift JIS with CR LF
// (typeFlags is the survey flag word of the file). keepHeader first copies the
// dataStart bytes before the data unchanged. Before each block it shows the
// progress, lets events run and stops when ConvBusy is false. Data past the end
// of a shorter input reads as zero bytes. The account, if any, gets every
// change at its offset from dataStart.
//
// Returns Done, Failed, Cancelled or DiskFull. The output must not
// exist: the pass creates it and refuses (-5) to write into an existing file.
// On any non-zero result the file it created is gone.
[[nodiscard]] JobResult FerroxConv(const std::string& outPath, const std::string& inPath,
                             std::int64_t dataStart, std::int64_t dataLength,
                             std::uint16_t opFlags, std::uint16_t typeFlags, bool keepHeader,
                             const ConvOptions& options, ProgressSink& progress);

// The two ends of a pass that need not be named files. The input is the file
// at `path` followed, with `follow` set, by the rest of a stream read once
// (standard input after the bytes the survey took); its length is then
// unknown and the pass runs to the stream's end. With `fd` set the output is
// written straight into that descriptor (standard output), which the pass
// neither creates, removes nor closes; it is sent on whenever the input
// would wait, so a pipe flows while its input arrives. A write to `fd` that
// fails leaves its errno in `fdError` and the pass returns -8. With `keep`, the
// file created at `path` stays open when the pass succeeds: its descriptor
// (reading and writing) comes back in `kept`, for the caller to close.
struct PassInput {
  std::string path;
  int follow = -1;
};
struct PassOutput {
  std::string path;
  int fd = -1;
  int fdError = 0;
  bool keep = false;
  int kept = -1;
};

// FerroxConv between those ends; a followed input takes no dataLength.
[[nodiscard]] JobResult FerroxConv(PassOutput& out, const PassInput& in, std::int64_t dataStart,
                             std::int64_t dataLength, std::uint16_t opFlags, std::uint16_t typeFlags,
                             bool keepHeader, const ConvOptions& options, ProgressSink& progress);

namespace detail {
// FerroxConv with another block size (at least 3), so that tests can move block
// boundaries through their input.
[[nodiscard]] JobResult FerroxConvBlocks(const std::string& outPath, const std::string& inPath,
                                   std::int64_t dataStart, std::int64_t dataLength,
                                   std::uint16_t opFlags, std::uint16_t typeFlags,
                                   bool keepHeader, const ConvOptions& options,
                                   ProgressSink& progress, std::int32_t blockSize);
[[nodiscard]] JobResult FerroxConvBlocks(PassOutput& out, const PassInput& in, std::int64_t dataStart,
                                   std::int64_t dataLength, std::uint16_t opFlags,
                                   std::uint16_t typeFlags, bool keepHeader, const ConvOptions& options,
                                   ProgressSink& progress, std::int32_t blockSize);
}  // namespace detail

}  // namespace ferrox
