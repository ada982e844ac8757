#include "app/ferrox_job.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <future>
#include <memory>
#include <optional>
#include <vector>

#include "analysis/file_survey.h"
#include "analysis/mac_wrapper.h"
#include "analysis/macbinary.h"
#include "analysis/survey_flags.h"
#include "app/conv_window.h"
#include "app/conversion_settings.h"
#include "app/engine_settings.h"
#include "app/flush_pool.h"
#include "app/path_helpers.h"
#include "convert/change_account.h"
#include "app/work_files.h"
#include "convert/ferrox_conv.h"
#include "convert/result_code.h"
#include "platform/file_placing.h"
#include "platform/file_times.h"

namespace ferrox {

namespace {

// Shows the progress panel for the life of the object.
class ProgressPanelOn {
 public:
  explicit ProgressPanelOn(ConvWindow& window) : window_(window) {
    window_.ProgressPanel(true);
    window_.PumpEvents();
  }
  ~ProgressPanelOn() { window_.ProgressPanel(false); }
  ProgressPanelOn(const ProgressPanelOn&) = delete;
  ProgressPanelOn& operator=(const ProgressPanelOn&) = delete;

 private:
  ConvWindow& window_;
};

// Removes the work files it holds unless released.
class WorkFiles {
 public:
  WorkFiles() = default;
  WorkFiles(const WorkFiles&) = delete;
  WorkFiles& operator=(const WorkFiles&) = delete;
  ~WorkFiles() {
    for (const auto& path : paths_) ::unlink(path.c_str());
  }
  void Add(const std::string& path) { paths_.push_back(path); }
  void Release(const std::string& path) { std::erase(paths_, path); }
  void Take(WorkFiles& other) {
    paths_.insert(paths_.end(), other.paths_.begin(), other.paths_.end());
    other.paths_.clear();
  }

 private:
  std::vector<std::string> paths_;
};

// Folder of `path` with a trailing "/", "./" for a bare name.
std::string FolderOf(const std::string& path) {
  const std::string parent = GetParentFolder(path);
  if (parent.empty()) return "./";
  return parent.back() == '/' ? parent : parent + "/";
}

}  // namespace

// A new private work file in the work folder, removed by `cleanup`; "" on failure.
std::string NewWorkFile(WorkFiles& cleanup) {
  const std::string path = WorkFolder() + NextWorkStem() + ".tmp";
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd < 0) return {};
  ::close(fd);
  cleanup.Add(path);
  return path;
}

// A creator code that names a program: four zero bytes or blanks name none.
bool NamesCreator(const std::string& creator) {
  return creator.find_first_not_of(std::string_view(" \0", 2)) != std::string::npos;
}

FileTimes MacFileTimes(const DateTime& created, const DateTime& modified) {
  FileTimes times;
  times.Creation = created;
  times.LastAccess = modified;
  times.LastWrite = modified;
  times.CreationKnown = true;
  return times;
}

namespace {

// What the plan stage learns about the input, for the stages after it.
struct JobPlan {
  struct stat inStat {};
  bool sameFile = false;     // decided before anything moves
  std::string source;        // what the conversion reads: the input, or its unwrapped data fork
  std::string keptFork;      // the resource fork as AppleDouble, to become "._" + output name
  std::int64_t dataStart = 0;
  std::int64_t dataLength = 0;
  std::uint16_t typeWord = 0;  // the survey flag word the conversion follows
  bool rewriteHeader = false;  // a MacBinary header kept, to be rewritten for the new length
  std::optional<FileTimes> macTimes;
  std::int64_t droppedFork = 0;  // the input's resource fork, when the output cannot hold it
  bool macOrigin = false;        // a wrapper or a sidecar names a creator
  bool fromStream = false;       // the input goes on in the stream of StreamEnds
  bool toStream = false;         // the output is the descriptor of StreamEnds
};

// What follows a finished output: the note of a resource fork left out, and
// the deletion of the input that FileMode asks for.
void AfterOutput(const std::string& inPath, const std::string& outPath, const struct stat& inStat, bool sameFile,
                 std::uint16_t fileMode, ConvWindow& window, std::int64_t forkLeftOut) {
  if (forkLeftOut > 0) window.Note("ﾘｿｰｽﾌｫｰｸ(" + std::to_string(forkLeftOut) + " Byte)は出力されませんでした");
  // Only an input that nobody changed since it was read may go: data added
  // during the run would be lost with it.
  if ((fileMode & file_mode::kDeleteInput) != 0 && !sameFile && IsOtherFile(inPath, outPath) != 0 &&
      Unchanged(inPath, inStat)) {
    ::unlink(inPath.c_str());  // errors ignored: the conversion itself succeeded
  }
}

// A BinHex or AppleSingle input is unwrapped into a private work file first,
// every CRC and length checked before anything else is written; the survey
// and the conversion then read that data fork like any file.
JobResult UnwrapInput(const std::string& inPath, const JobContext& context, const FileSurvey& survey,
                      WorkFiles& cleanup, JobPlan& plan, WrappedMacFile& wrapped) {
  const bool keepFork = (context.settings.FileMode & file_mode::kResourceForks) != 0 && !plan.toStream;
  std::string wrapError;
  if (survey.ProbeWrapper(inPath, wrapped, wrapError) == MacWrapper::None) return JobResult::Done;
  if (wrapError.empty()) {
    plan.source = NewWorkFile(cleanup);
    const bool withFork = keepFork && wrapped.ResourceLength > 0;
    if (withFork) plan.keptFork = NewWorkFile(cleanup);
    if (plan.source.empty() || (withFork && plan.keptFork.empty())) return JobResult::Failed;
    (void)UnwrapMacFile(inPath, wrapped, plan.source, plan.keptFork, wrapError);
  }
  if (wrapError.empty()) return JobResult::Done;
  context.window.Message("[" + inPath + "] " + wrapError);
  return JobResult::Failed;
}

// The resource fork that the output drops, kept as an AppleDouble work file
// with FileMode 1024: a MacBinary file's own, or the one its sidecar lends.
bool KeepFork(const std::string& from, std::int64_t at, std::int64_t length,
              const std::array<std::uint8_t, 32>& finderInfo, WorkFiles& cleanup, JobPlan& plan) {
  plan.keptFork = NewWorkFile(cleanup);
  return !plan.keptFork.empty() && WriteAppleDoubleFrom(from, at, length, finderInfo, plan.keptFork);
}

// The plan: the input unwrapped and surveyed (the driver's survey of the same
// file is reused only while device, inode, length and times show it is the
// file that survey read, not what an earlier pair of the run put at its name),
// where its data lies, which dates and forks go with it.
JobResult PlanJob(const JobRequest& request, const JobContext& context, WorkFiles& cleanup, JobPlan& plan) {
  const ConversionSettings& settings = context.settings;
  const std::string& inPath = request.input;
  FileSurvey fresh;
  FileSurvey& survey = context.survey != nullptr ? *context.survey : fresh;
  WrappedMacFile wrapped;
  plan.source = inPath;
  if (const JobResult rc = UnwrapInput(inPath, context, survey, cleanup, plan, wrapped); rc != JobResult::Done) {
    return rc;
  }
  const bool unwrapped = plan.source != inPath;
  MacBinaryInfo info;
  const SurveyKind kind = survey.SurveyFile(plan.source, SurveyOf(settings), context.window, info, plan.typeWord);
  if (!Surveyed(kind)) return JobResult::Failed;

  const bool keepFork = (settings.FileMode & file_mode::kResourceForks) != 0 && !plan.toStream;
  const bool macDates = (settings.FileMode & file_mode::kMacDates) != 0;
  plan.dataLength = unwrapped ? wrapped.DataLength : plan.inStat.st_size;
  plan.droppedFork = unwrapped ? wrapped.ResourceLength : 0;
  if (unwrapped && wrapped.HasDates && macDates) plan.macTimes = MacFileTimes(wrapped.Created, wrapped.Modified);
  plan.macOrigin = unwrapped && NamesCreator(wrapped.Creator);
  if (kind == SurveyKind::MacBinary) {
    plan.dataStart = kMacBinaryHeaderSize;
    plan.dataLength = info.DataLength;
    if (!unwrapped) plan.droppedFork = info.ResourceLength;
    plan.macOrigin = NamesCreator(info.Creator);
    if (macDates) plan.macTimes = MacFileTimes(info.Created, info.Modified);
    plan.rewriteHeader = (request.flags & kJobMacBinaryCut) == 0;
    const std::int64_t forkAt = kMacBinaryHeaderSize + (std::int64_t{info.DataLength} + 127) / 128 * 128;
    const std::int64_t forkLength = std::min<std::int64_t>(info.ResourceLength, plan.inStat.st_size - forkAt);
    if (keepFork && !plan.rewriteHeader && forkLength > 0 && !unwrapped &&
        !KeepFork(plan.source, forkAt, forkLength, MakeFinderInfo(info.FileType, info.Creator), cleanup, plan)) {
      return JobResult::Failed;
    }
  }
  // An AppleDouble sidecar lends its dates (FileMode 4) and its resource fork (FileMode 1024).
  if (AppleFileInfo side; !unwrapped && kind == SurveyKind::Ordinary && !context.sidecar.empty() &&
                          ReadAppleFile(context.sidecar, side) == AppleFileStatus::Ok) {
    if (side.HasDates && macDates) plan.macTimes = MacFileTimes(side.Created, side.Modified);
    plan.macOrigin = NamesCreator(side.Creator);
    if (keepFork && side.ResourceFork && side.ResourceFork->Length > 0 &&
        !KeepFork(context.sidecar, side.ResourceFork->Offset, side.ResourceFork->Length, side.FinderInfo, cleanup,
                  plan)) {
      return JobResult::Failed;
    }
  }
  if ((request.flags & kJobText) != 0 && plan.typeWord == 0) plan.typeWord = survey::kForcedText;
  return JobResult::Done;
}

// The conversion into a private work file, opened as `work`; `stem` names it.
JobResult ConvertJob(const JobRequest& request, const JobContext& context, const JobPlan& plan, WorkFiles& cleanup,
               Fd& work, std::string& stem, bool& streamed) {
  const ConversionSettings& settings = context.settings;
  const std::string workFolder = WorkFolder();
  SweepDeadWorkFilesOnce(workFolder);
  SweepDeadWorkFilesOnce(FolderOf(request.output));
  stem = NextWorkStem();
  const std::string workFile = workFolder + stem + ".tmp";
  ChangeSink* const rows = context.window.ChangeRows();
  if (rows != nullptr) rows->BeginFile(request.input);
  ChangeAccount account(rows);
  const ConvOptions options{settings.ConvMode, settings.LineSize, context.gaiji, plan.macOrigin, &account};
  const PassInput passInput{plan.source, plan.fromStream ? context.streams->inFollow : -1};
  if (plan.toStream && !plan.rewriteHeader) {
    // Straight into the descriptor: nothing is placed, dated or backed up there.
    PassOutput out{{}, context.streams->outFd};
    const JobResult rc = FerroxConv(out, passInput, plan.dataStart, plan.dataLength, request.flags, plan.typeWord,
                                    false, options, context.window);
    context.streams->outError = out.fdError;
    if (rc != JobResult::Done) return rc;
    if (account.Counts().Any()) context.window.Changes(request.input, account.Counts());
    AfterOutput(request.input, request.output, plan.inStat, plan.sameFile, settings.FileMode, context.window,
                plan.droppedFork);
    streamed = true;
    return JobResult::Done;
  }
  // From here on the work file is handled through the descriptor that created it.
  PassOutput workOut{workFile};
  workOut.keep = true;
  const JobResult rc = FerroxConv(workOut, passInput, plan.dataStart, plan.dataLength, request.flags, plan.typeWord,
                                  plan.rewriteHeader, options, context.window);
  if (rc != JobResult::Done) return rc;
  work.Reset(workOut.kept);
  cleanup.Add(workFile);
  if (account.Counts().Any()) context.window.Changes(request.input, account.Counts());
  context.window.ShowProgress(plan.dataLength, plan.dataLength);
  if (plan.rewriteHeader) {
    struct stat st {};
    if (::fstat(work.get(), &st) != 0 || st.st_size < kMacBinaryHeaderSize) return JobResult::Failed;
    if (MBInfPut(work.get(), st.st_size - kMacBinaryHeaderSize) != 0) return JobResult::Failed;
  }
  return JobResult::Done;
}

// The kept resource fork beside the output, under the name today's tools look for.
bool PlaceFork(const std::string& keptFork, const std::string& outPath, mode_t mode, WorkFiles& cleanup) {
  const std::string outFolder = FolderOf(outPath);
  const std::string sidecar = outFolder + "._" + outPath.substr(outPath.find_last_of('/') + 1);
  const std::string stagedFork = outFolder + "." + NextWorkStem() + ".tmp";
  cleanup.Add(stagedFork);
  Fd in(::open(keptFork.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (in.get() < 0) return false;
  Fd out(::link(keptFork.c_str(), stagedFork.c_str()) == 0
             ? ::open(stagedFork.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC)
             : CopyToNewFile(in.get(), stagedFork));
  if (out.get() < 0 || ::fchmod(out.get(), mode & 0666) != 0 || ::rename(stagedFork.c_str(), sidecar.c_str()) != 0) {
    return false;
  }
  cleanup.Release(stagedFork);
  return true;
}

Disposal DisposalOf(const std::string& outPath, std::uint16_t fileMode) {
  if ((fileMode & file_mode::kBackup) != 0) return {OldOutput::BackedUp, GetNameWithoutExtension(outPath) + ".bak"};
  if ((fileMode & file_mode::kTrash) != 0) return {OldOutput::Trashed, {}};
  return {};
}

}  // namespace

// What a job holds between its staged output and the output's move into place.
struct PendingOutput::State {
  explicit State(ConvWindow& w) : window(w) {}
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  // A flush still under way is waited for before the descriptors close.
  ~State() {
    if (flushed.Valid()) (void)flushed.Get();
  }
  ConvWindow& window;
  WorkFiles cleanup;
  Fd work;
  Fd copy;
  int placed = -1;
  std::string inPath;
  std::string outPath;
  std::string staged;
  std::string keptFork;
  struct stat inStat {};
  std::optional<FileTimes> macTimes;
  std::uint16_t fileMode = 0;
  bool sameFile = false;
  std::int64_t forkNote = 0;  // resource fork bytes the output leaves out, said when placed
  FlushTicket flushed;
};

PendingOutput::PendingOutput() = default;
PendingOutput::~PendingOutput() = default;
PendingOutput::PendingOutput(PendingOutput&&) noexcept = default;
PendingOutput& PendingOutput::operator=(PendingOutput&&) noexcept = default;

bool PendingOutput::Quiet() const noexcept {
  return state_ != nullptr && state_->keptFork.empty() && state_->forkNote == 0 &&
         (state_->fileMode & file_mode::kDeleteInput) == 0;
}

const std::string& PendingOutput::InputPath() const noexcept { return state_->inPath; }
const std::string& PendingOutput::OutputPath() const noexcept { return state_->outPath; }

void PendingOutput::StartFlush() {
  if (state_ == nullptr || state_->flushed.Valid()) return;
  // Without a thread to spare, Finish flushes on its own.
  state_->flushed = ferrox::StartFlush(state_->placed);
}

// The place stage.
JobResult PendingOutput::Finish() {
  if (state_ == nullptr) return JobResult::Done;
  const std::unique_ptr<State> owned = std::move(state_);
  State& job = *owned;
  const int placed = job.placed;
  // Flushed and dated before the rename; the input's permission bits come
  // after it, through the descriptor, so what a crash leaves is private and
  // nobody can swap the name for a link to something else in between.
  const int flushError = job.flushed.Valid() ? job.flushed.Get() : (::fsync(placed) == 0 ? 0 : errno);
  if (flushError != 0) return JobResult::Failed;
  if (job.macTimes) {
    (void)SetFileTimes(placed, *job.macTimes);
  } else {
    const timespec times[2] = {job.inStat.st_atim, job.inStat.st_mtim};
    (void)::futimens(placed, times);
  }
  if (!PlaceOutput(job.staged, job.outPath, DisposalOf(job.outPath, job.fileMode), job.inStat, NextWorkStem)) {
    return JobResult::OutputFailed;
  }
  job.cleanup.Release(job.staged);
  if (!job.keptFork.empty() && !PlaceFork(job.keptFork, job.outPath, job.inStat.st_mode, job.cleanup)) {
    return JobResult::Failed;
  }
  // The rename has put this very file in place (the descriptor says which).
  struct stat now {};
  struct stat held {};
  if (::lstat(job.outPath.c_str(), &now) != 0 || ::fstat(placed, &held) != 0 || !SameInode(now, held) ||
      ::fchmod(placed, job.inStat.st_mode & 07777 & ~static_cast<mode_t>(S_ISUID | S_ISGID)) != 0) {
    return JobResult::OutputFailed;
  }
  AfterOutput(job.inPath, job.outPath, job.inStat, job.sameFile, job.fileMode, job.window, job.forkNote);
  return JobResult::Done;
}

namespace {

// The new data, in the work file `work` named by `stem`, put beside the
// output; `state` gets what the place stage needs.
JobResult StageJob(const JobRequest& request, const JobContext& context, const JobPlan& plan, WorkFiles& cleanup, Fd& work,
                   const std::string& stem, PendingOutput::State& state) {
  // The new data must lie in the output's folder before the old output is
  // touched: a rename never crosses file systems (nor bind mounts of one). A
  // second name does where it can, a private copy where it cannot.
  const std::string workFile = WorkFolder() + stem + ".tmp";
  const std::string staged = FolderOf(request.output) + "." + stem + ".tmp";
  cleanup.Add(staged);
  Fd copy;
  if (::link(workFile.c_str(), staged.c_str()) != 0) {
    copy.Reset(CopyToNewFile(work.get(), staged));
    if (copy.get() < 0) return JobResult::OutputFailed;
  }
  ::unlink(workFile.c_str());
  cleanup.Release(workFile);
  state.placed = copy.get() >= 0 ? copy.get() : work.get();
  state.work.Reset(work.Release());
  state.copy.Reset(copy.Release());
  state.inPath = request.input;
  state.outPath = request.output;
  state.staged = staged;
  state.keptFork = plan.keptFork;
  state.inStat = plan.inStat;
  state.macTimes = plan.macTimes;
  state.fileMode = context.settings.FileMode;
  state.sameFile = plan.sameFile;
  if (plan.droppedFork > 0 && plan.keptFork.empty() && !plan.rewriteHeader) state.forkNote = plan.droppedFork;
  state.cleanup.Take(cleanup);
  return JobResult::Done;
}

}  // namespace

JobResult FerroxStaged(const JobRequest& request, const JobContext& context, PendingOutput& pending) {
  pending = PendingOutput();
  const std::string& inPath = request.input;
  const std::string& outPath = request.output;
  if (inPath.empty()) return JobResult::InputEmpty;
  if (outPath.empty()) return JobResult::OutputEmpty;
  JobPlan plan;
  if (::stat(inPath.c_str(), &plan.inStat) != 0) {
    struct stat link {};
    return ::lstat(inPath.c_str(), &link) == 0 ? JobResult::Failed : JobResult::InputNotFound;
  }
  // Once the old output is swapped out, the two names can no longer show that they were one file.
  plan.sameFile = IsOtherFile(inPath, outPath) == 0;
  if (plan.sameFile && request.flags == 0) return JobResult::Done;
  const StreamEnds* streams = context.streams;
  plan.fromStream = streams != nullptr && streams->inFollow >= 0 && inPath == streams->inPath;
  plan.toStream = streams != nullptr && streams->outFd >= 0 && outPath == streams->outPath;

  WorkFiles cleanup;
  if (const JobResult rc = PlanJob(request, context, cleanup, plan); rc != JobResult::Done) return rc;
  const ProgressPanelOn panel(context.window);
  if (!context.window.ConvBusy()) return JobResult::Cancelled;
  Fd work;
  std::string stem;
  bool streamed = false;
  if (const JobResult rc = ConvertJob(request, context, plan, cleanup, work, stem, streamed); rc != JobResult::Done) {
    return rc;
  }
  if (streamed) return JobResult::Done;
  auto state = std::make_unique<PendingOutput::State>(context.window);
  if (const JobResult rc = StageJob(request, context, plan, cleanup, work, stem, *state); rc != JobResult::Done) {
    return rc;
  }
  pending.state_ = std::move(state);
  return JobResult::Done;
}

JobResult Ferrox(const JobRequest& request, const JobContext& context) {
  PendingOutput pending;
  const JobResult rc = FerroxStaged(request, context, pending);
  return rc != JobResult::Done ? rc : pending.Finish();
}

}  // namespace ferrox
