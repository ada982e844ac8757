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
#include "convert/output_file.h"
#include "convert/result_code.h"
#include "platform/file_times.h"
#include "platform/trash.h"

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

bool SameDevice(const std::string& a, const std::string& b) {
  struct stat sa {};
  struct stat sb {};
  return ::stat(a.c_str(), &sa) == 0 && ::stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev;
}

// Copies `from` into the new file `to` and flushes it to disk.
bool CopyToNewFile(const std::string& from, const std::string& to) {
  const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) return false;
  const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (out < 0) {
    ::close(in);
    return false;
  }
  std::vector<char> buffer(1 << 16);
  bool ok = true;
  for (;;) {
    const ssize_t n = ::read(in, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      ok = n == 0;
      break;
    }
    if (!WriteAll(out, buffer.data(), static_cast<std::size_t>(n))) {
      ok = false;
      break;
    }
  }
  ok = ::fsync(out) == 0 && ok;
  ok = ::close(out) == 0 && ok;
  ::close(in);
  return ok;
}

// Flushes a finished file to the disk, so that the rename that puts it in
// place can never leave an empty output behind after a system crash.
bool SyncToDisk(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool ok = ::fsync(fd) == 0;
  return ::close(fd) == 0 && ok;
}

std::int64_t FileSize(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 ? static_cast<std::int64_t>(st.st_size) : -1;
}

bool EntryExists(const std::string& path) {
  struct stat st {};
  return ::lstat(path.c_str(), &st) == 0;
}

std::string AsciiUpper(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

// Puts the finished new data (`staged`, in the output's folder) at `outPath`,
// first disposing of an old output as FileMode says. The old output stays at
// its name until one rename replaces it, except when it goes to the trash.
bool PlaceOutput(const std::string& staged, const std::string& outPath, std::uint16_t fileMode) {
  struct stat old {};
  if (::lstat(outPath.c_str(), &old) != 0) return ::rename(staged.c_str(), outPath.c_str()) == 0;
  if (S_ISDIR(old.st_mode)) return false;  // a file never takes the place of a folder

  if ((fileMode & file_mode::kBackup) != 0) {
    const std::string backup = GetNameWithoutExtension(outPath) + ".bak";
    // An output that is itself named .bak cannot keep a backup of itself.
    if (AsciiUpper(backup) == AsciiUpper(outPath)) return false;
    if (EntryExists(backup)) {
      ::chmod(backup.c_str(), 0600);
      if (::unlink(backup.c_str()) != 0) return false;
    }
    // A second name for the old output, then one rename: the output name
    // never stands empty.
    if (::link(outPath.c_str(), backup.c_str()) == 0) {
      return ::rename(staged.c_str(), outPath.c_str()) == 0;
    }
    if (::rename(outPath.c_str(), backup.c_str()) != 0) return false;
    if (::rename(staged.c_str(), outPath.c_str()) == 0) return true;
    ::rename(backup.c_str(), outPath.c_str());
    return false;
  }
  if ((fileMode & file_mode::kTrash) != 0) {
    const TrashResult trashed = TrashDelete(outPath);
    if (!trashed.ok) return false;
    if (::rename(staged.c_str(), outPath.c_str()) == 0) return true;
    (void)TrashRestore(trashed, outPath);  // the old output back at its name
    return false;
  }
  return ::rename(staged.c_str(), outPath.c_str()) == 0;
}

}  // namespace

std::string WorkFolder() {
  std::string folder;
  for (const char* name : {"TMP", "TMPDIR"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') {
      folder = value;
      break;
    }
  }
  if (folder.empty()) folder = "/tmp";
  if (folder.back() != '/') folder += '/';
  return folder;
}

std::string WorkFilePath() {
  return WorkFolder() + "FRX" + std::to_string(::getpid()) + ".tmp";
}

int Ferrox(const std::string& outPath, const std::string& inPath, std::uint16_t& flags,
           const JobContext& context) {
  if (inPath.empty()) return result::kInputEmpty;
  if (outPath.empty()) return result::kOutputEmpty;
  if (!EntryExists(inPath)) return result::kInputNotFound;
  // Decided before anything moves: once the old output is swapped out, the
  // two names can no longer show that they were one file.
  const bool sameFile = IsOtherFile(inPath, outPath) == 0;
  if (sameFile && flags == 0) return result::kDone;

  ConvWindow& window = context.window;
  const ConversionSettings& settings = context.settings;

  struct stat inStat {};
  if (::stat(inPath.c_str(), &inStat) != 0) return result::kFailed;

  // A BinHex or AppleSingle input is unwrapped into a private work file first,
  // every CRC and length checked before anything else is written; the survey
  // and the conversion then read that data fork like any file.
  WorkFiles cleanup;
  const bool keepFork = (settings.FileMode & file_mode::kKeepResourceFork) != 0;
  std::string source = inPath;
  std::string keptFork;  // the resource fork as AppleDouble, to become "._" + output name
  WrappedMacFile wrapped;
  std::string wrapError;
  if (ProbeMacWrapper(inPath, wrapped, wrapError) != MacWrapper::None) {
    if (wrapError.empty()) {
      source = WorkFilePath() + ".data";
      if (keepFork && wrapped.ResourceLength > 0) keptFork = WorkFilePath() + ".rsrc";
      for (const std::string& path : {source, keptFork}) {
        if (path.empty()) continue;
        ::unlink(path.c_str());
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0) return result::kFailed;
        ::close(fd);
        cleanup.Add(path);
      }
      (void)UnwrapMacFile(inPath, wrapped, source, keptFork, wrapError);
    }
    if (!wrapError.empty()) {
      window.Message("[" + inPath + "] " + wrapError);
      return result::kFailed;
    }
  }

  FileSurvey localSurvey;
  FileSurvey& survey = context.survey != nullptr && source == inPath ? *context.survey : localSurvey;
  const SurveySettings surveySettings{settings.ChkSize, settings.BinRate, settings.ConvMode};
  MacBinaryInfo info;
  std::uint16_t typeWord = 0;
  const int kind = survey.FileTypeChk(source, surveySettings, window, info, typeWord);
  if (kind != survey_result::kOrdinary && kind != survey_result::kMacBinary) return result::kFailed;

  std::int64_t dataStart = 0;
  std::int64_t dataLength = source == inPath ? inStat.st_size : wrapped.DataLength;
  std::optional<FileTimes> macTimes;
  bool rewriteHeader = false;
  if (source != inPath && wrapped.HasDates && (settings.FileMode & file_mode::kMacDates) != 0) {
    FileTimes times;
    times.Creation = wrapped.Created;
    times.LastAccess = wrapped.Modified;
    times.LastWrite = wrapped.Modified;
    times.CreationKnown = true;
    macTimes = times;
  }
  if (kind == survey_result::kMacBinary) {
    dataStart = kMacBinaryHeaderSize;
    dataLength = info.DataLength;
    if ((settings.FileMode & file_mode::kMacDates) != 0) {
      FileTimes times;
      times.Creation = info.Created;
      times.LastAccess = info.Modified;
      times.LastWrite = info.Modified;
      times.CreationKnown = true;
      macTimes = times;
    }
    rewriteHeader = (flags & kJobMacBinaryCut) == 0;
    const std::int64_t forkAt = kMacBinaryHeaderSize + (std::int64_t{info.DataLength} + 127) / 128 * 128;
    const std::int64_t forkLength = std::min<std::int64_t>(info.ResourceLength, FileSize(source) - forkAt);
    if (keepFork && !rewriteHeader && forkLength > 0) {
      keptFork = WorkFilePath() + ".rsrc";
      ::unlink(keptFork.c_str());
      const int fd = ::open(keptFork.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
      if (fd < 0) return result::kFailed;
      ::close(fd);
      cleanup.Add(keptFork);
      if (!WriteAppleDoubleFrom(source, forkAt, forkLength, MakeFinderInfo(info.FileType, info.Creator),
                                keptFork)) {
        return result::kFailed;
      }
    }
  }
  // An AppleDouble sidecar lends its dates (FileMode 4) and its resource fork (FileMode 1024).
  if (AppleFileInfo side; source == inPath && kind == survey_result::kOrdinary && !context.sidecar.empty() &&
                          ReadAppleFile(context.sidecar, side) == AppleFileStatus::Ok) {
    if (side.HasDates && (settings.FileMode & file_mode::kMacDates) != 0) {
      FileTimes times;
      times.Creation = side.Created;
      times.LastAccess = side.Modified;
      times.LastWrite = side.Modified;
      times.CreationKnown = true;
      macTimes = times;
    }
    if (keepFork && side.ResourceFork && side.ResourceFork->Length > 0) {
      keptFork = WorkFilePath() + ".rsrc";
      ::unlink(keptFork.c_str());
      const int fd = ::open(keptFork.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
      if (fd < 0) return result::kFailed;
      ::close(fd);
      cleanup.Add(keptFork);
      if (!WriteAppleDoubleFrom(context.sidecar, side.ResourceFork->Offset, side.ResourceFork->Length,
                                side.FinderInfo, keptFork)) {
        return result::kFailed;
      }
    }
  }
  if ((flags & kJobText) != 0 && typeWord == 0) typeWord = survey::kForcedText;

  const ProgressPanelOn panel(window);
  if (!window.ConvBusy()) return result::kCancelled;

  const std::string workFile = WorkFilePath();
  if (EntryExists(workFile)) {
    ::chmod(workFile.c_str(), 0600);
    ::unlink(workFile.c_str());
  }
  const ConvOptions options{settings.ConvMode, settings.LineSize, context.gaiji};
  const int rc = FerroxConv(workFile, source, dataStart, dataLength, flags, typeWord, rewriteHeader,
                            options, window);
  if (rc != 0) return rc;
  cleanup.Add(workFile);
  window.ShowProgress(dataLength, dataLength);

  if (rewriteHeader) {
    const std::int64_t size = FileSize(workFile);
    if (size < kMacBinaryHeaderSize) return result::kFailed;
    if (MBInfPut(workFile, size - kMacBinaryHeaderSize) != 0) return result::kFailed;
  }

  // The new data must lie in the output's folder before the old output is
  // touched: a rename never crosses file systems.
  const std::string parent = GetParentFolder(outPath);
  const std::string outFolder = parent.empty() ? std::string(".") : parent;
  std::string staged = workFile;
  if (!SameDevice(WorkFolder(), outFolder)) {
    staged = (outFolder.back() == '/' ? outFolder : outFolder + "/") + ".FRX" +
             std::to_string(::getpid()) + ".tmp";
    if (EntryExists(staged)) ::unlink(staged.c_str());
    cleanup.Add(staged);
    if (!CopyToNewFile(workFile, staged)) return result::kFailed;
    ::unlink(workFile.c_str());
    cleanup.Release(workFile);
  } else if (!SyncToDisk(staged)) {  // the copy above is synced already
    return result::kFailed;
  }

  // Times and permissions go on before the rename, so the output appears
  // complete in one step.
  if (macTimes) {
    (void)SetFileTimes(staged, *macTimes);
  } else {
    const struct timespec times[2] = {inStat.st_atim, inStat.st_mtim};
    (void)::utimensat(AT_FDCWD, staged.c_str(), times, 0);
  }
  if (::chmod(staged.c_str(), inStat.st_mode & 07777 & ~static_cast<mode_t>(S_ISUID | S_ISGID)) != 0) {
    return result::kFailed;
  }

  if (!PlaceOutput(staged, outPath, settings.FileMode)) return result::kFailed;
  cleanup.Release(staged);
  if (!keptFork.empty()) {
    // Beside the output, under the name today's tools look for.
    const std::string sidecar = (outFolder.back() == '/' ? outFolder : outFolder + "/") + "._" +
                                outPath.substr(outPath.find_last_of('/') + 1);
    if (::rename(keptFork.c_str(), sidecar.c_str()) != 0) {
      ::unlink(sidecar.c_str());
      if (!CopyToNewFile(keptFork, sidecar)) return result::kFailed;
    }
    (void)::chmod(sidecar.c_str(), inStat.st_mode & 0666);
  }

  if ((settings.FileMode & file_mode::kDeleteInput) != 0 && !sameFile && IsOtherFile(inPath, outPath) != 0) {
    ::unlink(inPath.c_str());  // errors ignored: the conversion itself succeeded
  }
  return result::kDone;
}

}  // namespace ferrox
