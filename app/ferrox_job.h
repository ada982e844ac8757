#pragma once
// The job that converts exactly one input file into one output file: survey,
// MacBinary handling, conversion into a work file, disposal of an old output,
// the move into place, attributes and times, and the optional deletion of the
// input.
//
// Safety rules the job keeps on every path it controls:
// - the input is never changed, moved or deleted, except that it is deleted
//   after a successful run with FileMode bit 256 when it is not the output
//   file and nobody changed it since it was read;
// - the new data is complete (times and permission bits included, set through
//   its descriptor while it is private) and lies next to the output before an
//   old output is touched; the old output is swapped out by one rename, so a
//   kill leaves the old or the new, and the output name is never empty;
// - nothing the job did not make is destroyed: an old backup and an old
//   output that cannot be backed up go to the trash;
// - a failure removes the work files it made, and a crash leaves only files
//   the next run removes (see work_files.h).

#include <cstdint>
#include <string>

#include "app/work_files.h"

namespace ferrox {

class ConvWindow;
class GaijiTable;
struct ConversionSettings;

// Standard input and output as the job's ends. `inPath` is a file holding
// the first bytes of a stream (what the survey reads) that `inFollow` goes on
// with; `outPath` is the name that stands for `outFd`. The job converts from
// the stream and into the descriptor without a work file, except where the
// output must be changed after it is written (a MacBinary header keeps the
// converted length): that output is put at `outPath` as any output is. A
// resource fork is never kept beside `outFd`, and nothing is placed, dated or
// backed up there.
struct StreamEnds {
  std::string inPath;
  int inFollow = -1;
  std::string outPath;
  int outFd = -1;
  mutable int outError = 0;  // the errno of a write to outFd that failed (the job gives -8)
};

struct JobContext {
  ConvWindow& window;
  const ConversionSettings& settings;
  const GaijiTable* gaiji = nullptr;
  std::string sidecar;  // an AppleDouble file lending type, creator, dates and resource fork
  const StreamEnds* streams = nullptr;
};

// Job flags (from the two check boxes).
inline constexpr std::uint16_t kJobMacBinaryCut = 1;
inline constexpr std::uint16_t kJobText = 2;

// Returns 0 (done, or nothing to do), -1 input not found, -2 input path empty,
// -3 output path empty, or the conversion pass's -4, -5, -6, -7; -5 also for
// any other failure on the way, except -8 when the new output could not be
// put beside or at the output (the old output then stands as it was).
[[nodiscard]] int Ferrox(const std::string& outPath, const std::string& inPath, std::uint16_t& flags,
                         const JobContext& context);

}  // namespace ferrox
