#pragma once
// The job that converts exactly one input file into one output file: survey,
// MacBinary handling, conversion into a work file, disposal of an old output,
// the move into place, attributes and times, and the optional deletion of the
// input.
//
// Safety rules the job keeps on every path it controls:
// - the input is never changed; it is deleted only after a successful run,
//   only with FileMode bit 256, and only when it is not the output file;
// - the new data is complete (times and permission bits included) and lies
//   next to the output before an old output is touched, and a replaced old
//   output is swapped out by one rename, so a kill leaves the old or the new;
// - a failure removes the work files it made.

#include <cstdint>
#include <string>

namespace ferrox {

class ConvWindow;
class FileSurvey;
class GaijiTable;
struct ConversionSettings;

struct JobContext {
  ConvWindow& window;
  const ConversionSettings& settings;
  const GaijiTable* gaiji = nullptr;
  FileSurvey* survey = nullptr;  // shared with the window so a surveyed file is not read twice
  std::string sidecar;           // an AppleDouble file lending type, creator, dates and resource fork
};

// Job flags (from the two check boxes).
inline constexpr std::uint16_t kJobMacBinaryCut = 1;
inline constexpr std::uint16_t kJobText = 2;

// Returns 0 (done, or nothing to do), -1 input not found, -2 input path empty,
// -3 output path empty, or the conversion pass's -4, -5, -6, -7; -5 also for
// any other failure on the way.
[[nodiscard]] int Ferrox(const std::string& outPath, const std::string& inPath, std::uint16_t& flags,
                         const JobContext& context);

// The work folder: TMP, else TMPDIR, else /tmp, always ending in "/".
[[nodiscard]] std::string WorkFolder();
// The work file of this process: WorkFolder() + "FRX" + process id + ".tmp".
[[nodiscard]] std::string WorkFilePath();

}  // namespace ferrox
