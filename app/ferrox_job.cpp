#include "app/ferrox_job.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <vector>

#include "analysis/file_survey.h"
#include "analysis/mac_wrapper.h"
#include "analysis/macbinary.h"
#include "analysis/survey_flags.h"
#include "app/conv_window.h"
#include "app/conversion_settings.h"
#include "app/path_helpers.h"
#include "convert/ferrox_conv.h"
#include "app/work_files.h"
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

FileTimes MacFileTimes(const DateTime& created, const DateTime& modified) {
  FileTimes times;
  times.Creation = created;
  times.LastAccess = modified;
  times.LastWrite = modified;
  times.CreationKnown = true;
  return times;
}

int Ferrox(const JobRequest& request, const JobContext& context) {
  const std::string& inPath = request.input;
  const std::string& outPath = request.output;
  const std::uint16_t flags = request.flags;
  if (inPath.empty()) return result::kInputEmpty;
  if (outPath.empty()) return result::kOutputEmpty;
  struct stat inStat {};
  if (::stat(inPath.c_str(), &inStat) != 0) {
    struct stat link {};
    return ::lstat(inPath.c_str(), &link) == 0 ? result::kFailed : result::kInputNotFound;
  }
  // Decided before anything moves: once the old output is swapped out, the
  // two names can no longer show that they were one file.
  const bool sameFile = IsOtherFile(inPath, outPath) == 0;
  if (sameFile && flags == 0) return result::kDone;

  ConvWindow& window = context.window;
  const ConversionSettings& settings = context.settings;

  // A BinHex or AppleSingle input is unwrapped into a private work file first,
  // every CRC and length checked before anything else is written; the survey
  // and the conversion then read that data fork like any file.
  WorkFiles cleanup;
  const bool keepFork = (settings.FileMode & file_mode::kResourceForks) != 0;
  std::string source = inPath;
  std::string keptFork;  // the resource fork as AppleDouble, to become "._" + output name
  WrappedMacFile wrapped;
  std::string wrapError;
  if (ProbeMacWrapper(inPath, wrapped, wrapError) != MacWrapper::None) {
    if (wrapError.empty()) {
      source = NewWorkFile(cleanup);
      if (keepFork && wrapped.ResourceLength > 0) keptFork = NewWorkFile(cleanup);
      if (source.empty() || (keepFork && wrapped.ResourceLength > 0 && keptFork.empty())) return result::kFailed;
      (void)UnwrapMacFile(inPath, wrapped, source, keptFork, wrapError);
    }
    if (!wrapError.empty()) {
      window.Message("[" + inPath + "] " + wrapError);
      return result::kFailed;
    }
  }

  // Surveyed afresh: a remembered survey could belong to what lay at this
  // name before an earlier pair of the run replaced it.
  FileSurvey survey;
  const SurveySettings surveySettings{settings.ChkSize, settings.BinRate, settings.ConvMode};
  MacBinaryInfo info;
  std::uint16_t typeWord = 0;
  const int kind = survey.SurveyFile(source, surveySettings, window, info, typeWord);
  if (kind != survey_result::kOrdinary && kind != survey_result::kMacBinary) return result::kFailed;

  std::int64_t dataStart = 0;
  std::int64_t dataLength = source == inPath ? inStat.st_size : wrapped.DataLength;
  std::optional<FileTimes> macTimes;
  bool rewriteHeader = false;
  const bool macDates = (settings.FileMode & file_mode::kMacDates) != 0;
  if (source != inPath && wrapped.HasDates && macDates) macTimes = MacFileTimes(wrapped.Created, wrapped.Modified);
  if (kind == survey_result::kMacBinary) {
    dataStart = kMacBinaryHeaderSize;
    dataLength = info.DataLength;
    if (macDates) macTimes = MacFileTimes(info.Created, info.Modified);
    rewriteHeader = (flags & kJobMacBinaryCut) == 0;
    // A resource fork the cut output drops is kept beside it with FileMode 1024.
    const std::int64_t forkAt = kMacBinaryHeaderSize + (std::int64_t{info.DataLength} + 127) / 128 * 128;
    const std::int64_t forkLength = std::min<std::int64_t>(info.ResourceLength, inStat.st_size - forkAt);
    if (keepFork && !rewriteHeader && forkLength > 0 && source == inPath) {
      keptFork = NewWorkFile(cleanup);
      if (keptFork.empty() || !WriteAppleDoubleFrom(source, forkAt, forkLength,
                                                    MakeFinderInfo(info.FileType, info.Creator), keptFork)) {
        return result::kFailed;
      }
    }
  }
  // An AppleDouble sidecar lends its dates (FileMode 4) and its resource fork (FileMode 1024).
  if (AppleFileInfo side; source == inPath && kind == survey_result::kOrdinary && !context.sidecar.empty() &&
                          ReadAppleFile(context.sidecar, side) == AppleFileStatus::Ok) {
    if (side.HasDates && macDates) macTimes = MacFileTimes(side.Created, side.Modified);
    if (keepFork && side.ResourceFork && side.ResourceFork->Length > 0) {
      keptFork = NewWorkFile(cleanup);
      if (keptFork.empty() || !WriteAppleDoubleFrom(context.sidecar, side.ResourceFork->Offset,
                                                    side.ResourceFork->Length, side.FinderInfo, keptFork)) {
        return result::kFailed;
      }
    }
  }
  if ((flags & kJobText) != 0 && typeWord == 0) typeWord = survey::kForcedText;

  const ProgressPanelOn panel(window);
  if (!window.ConvBusy()) return result::kCancelled;

  const std::string workFolder = WorkFolder();
  const std::string outFolder = FolderOf(outPath);
  SweepDeadWorkFilesOnce(workFolder);
  SweepDeadWorkFilesOnce(outFolder);
  const std::string stem = NextWorkStem();
  const std::string workFile = workFolder + stem + ".tmp";
  const ConvOptions options{settings.ConvMode, settings.LineSize, context.gaiji};
  const int rc = FerroxConv(workFile, source, dataStart, dataLength, flags, typeWord, rewriteHeader,
                            options, window);
  if (rc != 0) return rc;
  cleanup.Add(workFile);
  window.ShowProgress(dataLength, dataLength);

  // From here on the work file is handled through its descriptor only.
  Fd work(::open(workFile.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
  if (work.get() < 0 || !OwnPrivateFile(work.get())) return result::kFailed;
  if (rewriteHeader) {
    struct stat st {};
    if (::fstat(work.get(), &st) != 0 || st.st_size < kMacBinaryHeaderSize) return result::kFailed;
    if (MBInfPut(work.get(), st.st_size - kMacBinaryHeaderSize) != 0) return result::kFailed;
  }

  // The new data must lie in the output's folder before the old output is
  // touched: a rename never crosses file systems (nor bind mounts of one). A
  // second name does where it can, a private copy where it cannot.
  const std::string staged = outFolder + "." + stem + ".tmp";
  cleanup.Add(staged);
  Fd copy;
  if (::link(workFile.c_str(), staged.c_str()) != 0) {
    copy.Reset(CopyToNewFile(work.get(), staged));
    if (copy.get() < 0) return result::kOutputFailed;
  }
  ::unlink(workFile.c_str());
  cleanup.Release(workFile);
  const int placed = copy.get() >= 0 ? copy.get() : work.get();

  // Flushed and dated before the rename; the input's permission bits come
  // after it, through the descriptor, so what a crash leaves is private and
  // nobody can swap the name for a link to something else in between.
  if (::fsync(placed) != 0) return result::kFailed;
  if (macTimes) {
    (void)SetFileTimes(placed, *macTimes);
  } else {
    const timespec times[2] = {inStat.st_atim, inStat.st_mtim};
    (void)::futimens(placed, times);
  }
  Disposal disposal;
  if ((settings.FileMode & file_mode::kBackup) != 0) {
    disposal = {OldOutput::BackedUp, GetNameWithoutExtension(outPath) + ".bak"};
  } else if ((settings.FileMode & file_mode::kTrash) != 0) {
    disposal.kind = OldOutput::Trashed;
  }
  if (!PlaceOutput(staged, outPath, disposal, inStat, NextWorkStem)) return result::kOutputFailed;
  cleanup.Release(staged);
  if (!keptFork.empty()) {
    // Beside the output, under the name today's tools look for.
    const std::string sidecar = outFolder + "._" + outPath.substr(outPath.find_last_of('/') + 1);
    const std::string stagedFork = outFolder + "." + NextWorkStem() + ".tmp";
    cleanup.Add(stagedFork);
    Fd in(::open(keptFork.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (in.get() < 0) return result::kFailed;
    Fd out(::link(keptFork.c_str(), stagedFork.c_str()) == 0
               ? ::open(stagedFork.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC)
               : CopyToNewFile(in.get(), stagedFork));
    if (out.get() < 0 || ::fchmod(out.get(), inStat.st_mode & 0666) != 0 ||
        ::rename(stagedFork.c_str(), sidecar.c_str()) != 0) {
      return result::kFailed;
    }
    cleanup.Release(stagedFork);
  }
  // The rename has put this very file in place (the descriptor says which).
  struct stat now {};
  struct stat held {};
  if (::lstat(outPath.c_str(), &now) != 0 || ::fstat(placed, &held) != 0 || !SameInode(now, held) ||
      ::fchmod(placed, inStat.st_mode & 07777 & ~static_cast<mode_t>(S_ISUID | S_ISGID)) != 0) {
    return result::kOutputFailed;
  }

  const std::int64_t forkLength = source != inPath                   ? wrapped.ResourceLength
                                  : kind == survey_result::kMacBinary ? info.ResourceLength
                                                                      : 0;
  if (forkLength > 0 && keptFork.empty() && !rewriteHeader) {
    window.Note("ﾘｿｰｽﾌｫｰｸ(" + std::to_string(forkLength) + " Byte)は出力されませんでした");
  }

  // Only an input that nobody changed since it was read may go: data added
  // during the run would be lost with it.
  if ((settings.FileMode & file_mode::kDeleteInput) != 0 && !sameFile && IsOtherFile(inPath, outPath) != 0 &&
      Unchanged(inPath, inStat)) {
    ::unlink(inPath.c_str());  // errors ignored: the conversion itself succeeded
  }
  return result::kDone;
}

}  // namespace ferrox
