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
#include <memory>
#include <string>

#include "app/work_files.h"
#include "convert/result_code.h"

namespace ferrox {

class ConvWindow;
class FileSurvey;
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
  // The survey that chose the job flags: it answers again without reading
  // only while the input is provably the file it read. Null: a fresh one.
  FileSurvey* survey = nullptr;
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

// A job's new output, complete and private beside the output, that has yet to
// be flushed to disk and put in place. A batch keeps several of these so that
// their flushes overlap; one dropped unfinished removes its work files.
class PendingOutput {
 public:
  PendingOutput();
  ~PendingOutput();
  PendingOutput(PendingOutput&&) noexcept;
  PendingOutput& operator=(PendingOutput&&) noexcept;

  [[nodiscard]] explicit operator bool() const noexcept { return state_ != nullptr; }
  // Nothing left to say or to do beyond the output itself (no resource fork to
  // keep or mention, no input to delete): the move may wait.
  [[nodiscard]] bool Quiet() const noexcept;
  [[nodiscard]] const std::string& InputPath() const noexcept;
  [[nodiscard]] const std::string& OutputPath() const noexcept;

  // Starts the flush to disk on a thread of the flush pool (where one can be had).
  void StartFlush();
  // Waits for the flush (or flushes), then dates the output and puts it in
  // place (the place stage of the job); the results of Ferrox.
  [[nodiscard]] JobResult Finish();

  struct State;

 private:
  friend JobResult FerroxStaged(const JobRequest&, const JobContext&, PendingOutput&);
  std::unique_ptr<State> state_;
};

// Ferrox up to the flush of the new output (the plan and convert stages, and
// the new data beside the output): on Done with `pending` set, the rest is
// pending.Finish(); on Done with it empty there was nothing to write.
[[nodiscard]] JobResult FerroxStaged(const JobRequest& request, const JobContext& context, PendingOutput& pending);

// Returns Done (done, or nothing to do), InputNotFound, InputEmpty,
// OutputEmpty, or the conversion pass's Settings, Failed, Cancelled,
// DiskFull; Failed also for any other failure on the way, except
// OutputFailed when the new output could not be put beside or at the output
// (the old output then stands as it was).
[[nodiscard]] JobResult Ferrox(const JobRequest& request, const JobContext& context);

}  // namespace ferrox
