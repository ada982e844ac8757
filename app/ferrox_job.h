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
#include "convert/result_code.h"

namespace ferrox {

class ConvWindow;
class GaijiTable;
struct ConversionSettings;

struct JobContext {
  ConvWindow& window;
  const ConversionSettings& settings;
  const GaijiTable* gaiji = nullptr;
  std::string sidecar;  // an AppleDouble file lending type, creator, dates and resource fork
};

// Job flags (what the two check boxes say for the file).
inline constexpr std::uint16_t kJobMacBinaryCut = 1;
inline constexpr std::uint16_t kJobText = 2;

// One file to convert: the driver's plan for it.
struct JobRequest {
  std::string input;
  std::string output;
  std::uint16_t flags = 0;  // kJobText, kJobMacBinaryCut
};

// Returns Done (done, or nothing to do), InputNotFound, InputEmpty,
// OutputEmpty, or the conversion pass's Settings, Failed, Cancelled,
// DiskFull; Failed also for any other failure on the way, except
// OutputFailed when the new output could not be put beside or at the output
// (the old output then stands as it was).
[[nodiscard]] JobResult Ferrox(const JobRequest& request, const JobContext& context);

}  // namespace ferrox
