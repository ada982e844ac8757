#include "app/conv_driver.h"

#include <sys/stat.h>

#include <unistd.h>

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "app/conv_window.h"
#include "app/conversion_settings.h"
#include "app/engine_settings.h"
#include "app/entry_list.h"
#include "app/folder_listing.h"
#include "app/path_helpers.h"
#include "app/work_files.h"
#include "convert/result_code.h"
#include "platform/file_placing.h"
#include "platform/mount_point.h"

namespace ferrox {

namespace {

std::string Join(const std::string& folder, const std::string& name) {
  if (!folder.empty() && folder.back() == '/') return folder + name;
  return folder + "/" + name;
}

std::string InputNotFound(const std::string& input) { return "入力ﾌｧｲﾙ [" + input + "] が見つかりません"; }

// The messages of one pair are about its input, for as long as the object lives.
class MessagesAboutFile {
 public:
  MessagesAboutFile(ConvWindow& window, const std::string& path) : window_(window) { window_.MessagesAbout(path); }
  ~MessagesAboutFile() { window_.MessagesAbout({}); }
  MessagesAboutFile(const MessagesAboutFile&) = delete;
  MessagesAboutFile& operator=(const MessagesAboutFile&) = delete;

 private:
  ConvWindow& window_;
};

// The window of a planning walk: no messages, no progress, never cancelled.
class PlanningWindow final : public ConvWindow {
 public:
  void SetConvBusy(bool) override {}
  void Message(const std::string&) override {}
  void AllEnabled(bool) override {}
  void ProgressPanel(bool) override {}
  void PumpEvents() override {}
  [[nodiscard]] bool ConvBusy() const override { return true; }
  void ShowProgress(std::int64_t, std::int64_t) override {}
};

}  // namespace

std::string WorkAreaFullMessage() {
  return "作業領域(" + MountPointOf(WorkFolder()) + "ﾄﾞﾗｲﾌﾞ)の空き容量不足の為、変換できませんでした";
}

namespace {

// Shows the message for what the job returned; the result says which side of
// the pair it concerns.
RunResult ReportJobResult(ConvWindow& window, JobResult rc, const std::string& inPath) {
  switch (rc) {
    case JobResult::Done: return RunResult::Done;
    case JobResult::Cancelled: return RunResult::Cancelled;
    case JobResult::DiskFull: window.Message(WorkAreaFullMessage()); return RunResult::InputSide;
    case JobResult::InputNotFound: window.Message(InputNotFound(inPath)); return RunResult::InputSide;
    default: break;
  }
  window.Message(JobResultText(rc));
  if (rc == JobResult::OutputFailed || rc == JobResult::OutputEmpty) return RunResult::OutputSide;
  return rc == JobResult::Settings ? RunResult::SettingsSide : RunResult::InputSide;
}

}  // namespace

std::vector<std::string> ConvDriver::PlannedInputs(const std::string& inBox, const std::string& outBox) {
  PlanningWindow window;
  ConvDriver walk(window, settings_, gaiji_);
  std::vector<std::string> inputs;
  walk.planned_ = &inputs;
  if (walk.Ferrox_Click_Etc({inBox, outBox, {}, {}}) != RunResult::Done) inputs.clear();
  return inputs;
}

bool ConvDriver::EnsureFolder(const std::string& folder) {
  if (planned_ != nullptr) return true;  // a planning walk makes nothing
  return IsFolder(folder) || MakeFolder(folder);
}

ConvDriver::ConvDriver(ConvWindow& window, ConversionSettings& settings, const GaijiTable* gaiji)
    : window_(window), settings_(settings), gaiji_(gaiji) {}

RunResult ConvDriver::Ferrox_Click_Etc(const RunRequest& request) {
  const BoxEntry in = ParseBoxEntry(request.input);
  if (in.kind == EntryKind::Empty) {
    window_.Message("入力ﾌｧｲﾙが指定されていません");
    return RunResult::InputSide;
  }
  std::vector<std::string> outputs;
  if (in.kind == EntryKind::List) {
    outputs = CommaToDim(request.output);
  } else {
    const std::string& path = in.names.front();
    if (path.size() > kMaxPathBytes) {
      window_.Message(InputNotFound(request.input));
      return RunResult::InputSide;
    }
    std::string output = NormalizeEntry(request.output);
    if (output.size() > kMaxPathBytes) {
      window_.Message("出力ﾌｧｲﾙ/ﾌｫﾙﾀﾞ名が長すぎます");
      return RunResult::OutputSide;
    }
    // A trailing "/" says the output is a folder.
    const std::string_view typed = TrimBlanks(request.output);
    if (!typed.empty() && typed.back() == '/' && output.back() != '/') output += '/';
    outputs.push_back(std::move(output));
    if (in.kind == EntryKind::Path && !FileExists(path)) {
      window_.Message(InputNotFound(request.input));
      return RunResult::InputSide;
    }
  }
  oneFile_ = in.kind == EntryKind::Path && !IsFolder(in.names.front());
  pinned_ = oneFile_ ? request.oneFile : request.batch;

  tally_ = {};
  window_.SetConvBusy(true);
  ForgetSweptFolders();  // each run looks for what crashed runs left
  window_.AllEnabled(false);
  const RunResult rc = Ferrox_Click_EtcSub1(in.names, std::move(outputs));
  window_.AllEnabled(true);
  window_.SetConvBusy(false);
  return rc;
}

RunResult ConvDriver::Ferrox_Click_EtcSub1(const std::vector<std::string>& inputs, std::vector<std::string> outputs) {
  if (inputs.size() != outputs.size()) {
    window_.Message("入力ﾌｧｲﾙと出力ﾌｧｲﾙの数が一致しません");
    return RunResult::InputSide;
  }
  // A file whose output names a folder ("dir/") goes into it under its own name.
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (!outputs[i].empty() && outputs[i].back() == '/' && !HasWildcard(inputs[i]) && IsFile(inputs[i])) {
      outputs[i] += inputs[i].substr(inputs[i].find_last_of('/') + 1);
    }
  }
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (const RunResult rc = CheckPair(inputs[i], outputs[i]); rc != RunResult::Done) return rc;
  }
  if (const RunResult rc = CheckOutputsDistinct(inputs, outputs); rc != RunResult::Done) return rc;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    const RunResult rc = Ferrox_Click_EtcSub2(inputs[i], outputs[i]);
    // A walk ends with all its outputs in place, on a failure or a cancel too.
    const RunResult placed = FinishInFlight(0, {});
    if (rc != RunResult::Done) return rc;
    if (placed != RunResult::Done) return placed;
  }
  return RunResult::Done;
}

// The output kind rules: a file never goes onto an existing folder or a name
// ending in "/", and a folder never onto an existing file.
RunResult ConvDriver::CheckPair(const std::string& input, const std::string& output) {
  if (input.empty()) {
    window_.Message("入力ﾌｧｲﾙ [" + input + "] が不正です");
    return RunResult::InputSide;
  }
  const bool wild = HasWildcard(input);
  bool wrongKind = output.empty();
  if (!wrongKind && !wild && FileExists(input)) {
    if (IsFolder(input)) {
      wrongKind = IsFile(output);
    } else {
      wrongKind = IsFolder(output) || output.back() == '/' || IsSpecialFile(output);
    }
  }
  if (wrongKind) {
    window_.Message("出力ﾌｧｲﾙ [" + output + "] が不正です");
    return RunResult::OutputSide;
  }
  if (HasWildcard(output)) {
    window_.Message("[" + output + "] 出力ﾌｧｲﾙにﾜｲﾙﾄﾞｶｰﾄﾞは指定できません");
    return RunResult::OutputSide;
  }
  if (wild) {
    const std::string folder = GetParentFolder(input);
    if (folder.empty()) {
      window_.Message("[" + input + "] ﾊﾟｽ（ﾌｫﾙﾀﾞ名）が指定されていません");
      return RunResult::InputSide;
    }
    if (HasWildcard(folder)) {
      window_.Message("[" + input + "] ﾜｲﾙﾄﾞｶｰﾄﾞはﾊﾟｽの途中で使用できません");
      return RunResult::InputSide;
    }
    if (FileExists(output) && !IsFolder(output)) {
      window_.Message("出力ﾌｫﾙﾀﾞ [" + output + "] が不正です");
      return RunResult::OutputSide;
    }
  } else if (!FileExists(input)) {
    window_.Message(InputNotFound(input));
    return RunResult::InputSide;
  }
  return RunResult::Done;
}

// In a list, no output may repeat or be the input of another pair: the later
// conversion would overwrite what the earlier one made or read.
RunResult ConvDriver::CheckOutputsDistinct(const std::vector<std::string>& inputs,
                                     const std::vector<std::string>& outputs) {
  std::multimap<std::string, std::size_t> inputAt;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (!HasWildcard(inputs[i])) inputAt.emplace(FileKey(inputs[i]), i);
  }
  std::set<std::string> seen;
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const std::string key = FileKey(outputs[i]);
    const auto [first, last] = inputAt.equal_range(key);
    const bool othersInput = std::any_of(first, last, [i](const auto& entry) { return entry.second != i; });
    if (!seen.insert(key).second || othersInput) {
      window_.Message("出力ﾌｧｲﾙ [" + outputs[i] + "] が不正です");
      return RunResult::OutputSide;
    }
  }
  return RunResult::Done;
}

RunResult ConvDriver::Ferrox_Click_EtcSub2(const std::string& input, const std::string& output) {
  batchRoot_.clear();
  if (!HasWildcard(input)) {
    if (!IsFolder(input)) return ConvertPair(input, output);
    if ((settings_.FileMode & file_mode::kFolderSelect) == 0) return RunResult::Done;
    if (!FileExists(output) && !EnsureFolder(output)) {
      window_.Message("出力ﾌｧｲﾙのﾊﾟｽが不正です");
      return RunResult::OutputSide;
    }
    outputRoot_ = output;
    batchRoot_ = input;
    runNames_ = {};
    const RunResult rc = Ferrox_Click_EtcSub3(input, output);
    batchRoot_.clear();
    return rc;
  }

  const std::string inFolder = AddPathSeparator(GetParentFolder(input));
  const std::string outFolder = AddPathSeparator(output);
  const std::string pattern = input.substr(input.find_last_of('/') + 1);
  const FolderListing listing = ListFolder(inFolder, pattern);
  // One list in name order, as a listing of the pattern would give it.
  std::vector<std::pair<std::string, bool>> entries;
  for (const auto& name : listing.files) {
    if (!IsOwnBackup(name)) entries.emplace_back(name, false);
  }
  for (const auto& name : listing.folders) entries.emplace_back(name, true);
  std::sort(entries.begin(), entries.end());

  if (!EnsureFolder(outFolder)) {
    window_.Message("出力ﾌｧｲﾙのﾊﾟｽが不正です");
    return RunResult::OutputSide;
  }
  outputRoot_ = outFolder;
  batchRoot_ = inFolder;
  runNames_ = {};
  for (const auto& [name, isFolder] : entries) {
    RunResult rc = RunResult::Done;
    if (IsSidecarEntry(inFolder, name, isFolder)) continue;
    if (isFolder) {
      if ((settings_.FileMode & file_mode::kFolderSelect) == 0) continue;
      if (IsOutputRoot(inFolder + name)) continue;
      if (!EnsureFolder(outFolder + name)) {
        window_.Message("出力ﾌｧｲﾙのﾊﾟｽが不正です");
        return RunResult::OutputSide;
      }
      rc = Ferrox_Click_EtcSub3(inFolder + name, outFolder + name);
    } else {
      rc = ConvertPair(inFolder + name, outFolder + name);
    }
    if (rc != RunResult::Done) return rc;
  }
  return RunResult::Done;
}

RunResult ConvDriver::Ferrox_Click_EtcSub3(const std::string& inFolder, const std::string& outFolder) {
  // The whole listing is taken before anything is converted, so files the run
  // writes into this folder (backups, outputs) are never taken as inputs.
  const FolderListing listing = ListFolder(inFolder);
  for (const auto& name : listing.files) {
    if (IsOwnBackup(name)) continue;
    if (IsSidecarEntry(inFolder, name, false)) continue;
    if (const RunResult rc = ConvertPair(Join(inFolder, name), Join(outFolder, name)); rc != RunResult::Done) return rc;
  }
  if ((settings_.FileMode & file_mode::kFolderSelect) == 0) return RunResult::Done;
  for (const auto& name : listing.folders) {
    if (IsSidecarEntry(inFolder, name, true)) continue;
    const std::string inSub = Join(inFolder, name);
    const std::string outSub = Join(outFolder, name);
    if (IsOutputRoot(inSub)) continue;  // an output folder inside the input is not walked again
    if (!FileExists(outSub) && !EnsureFolder(outSub)) {
      window_.Message("出力ﾌｧｲﾙのﾊﾟｽが不正です");
      return RunResult::OutputSide;
    }
    if (const RunResult rc = Ferrox_Click_EtcSub3(inSub, outSub); rc != RunResult::Done) return rc;
  }
  return RunResult::Done;
}

// With backups on, a ".bak" in a walked folder is the backup of an earlier
// run: converting it would replace that original, so walks leave it alone.
bool ConvDriver::IsOwnBackup(const std::string& name) const {
  return (settings_.FileMode & file_mode::kBackup) != 0 && name.size() > 4 &&
         name.compare(name.size() - 4, 4, ".bak") == 0;
}

bool ConvDriver::IsOutputRoot(const std::string& folder) const {
  return !outputRoot_.empty() && SameFile(folder, outputRoot_);
}

RunResult ConvDriver::ConvertPair(const std::string& input, std::string output) {
  if (planned_ != nullptr) {
    planned_->push_back(input);
    return RunResult::Done;
  }
  sidecar_.clear();
  if (!batchRoot_.empty()) {
    sidecar_ = FindSidecar(input, batchRoot_);
    if ((settings_.FileMode & file_mode::kMacNames) != 0) {
      if (suffixes_ != nullptr) {
        const std::string name = MacOutputName(*suffixes_, settings_, input, sidecar_);
        if (!name.empty()) output = AddPathSeparator(GetParentFolder(output)) + name;
      }
      // In a run that writes into its own input folder, a Mac name never
      // lands on another input, which may not have been read yet.
      std::string named = runNames_.Claim(output);
      while (named != input && FileExists(named) && SameFile(GetParentFolder(named), GetParentFolder(input))) {
        named = runNames_.Claim(output);
      }
      output = named;
    }
  }
  const JobRequest request{input, output, JobFlagsFor(survey_, input, SurveyOf(settings_), pinned_, quiet_)};
  window_.ShowPair(request);
  window_.PumpEvents();
  return Ferrox_Click_File(request);
}

// An existing output, and with FileMode bit 1 its backup, is replaced only when
// it is a regular file (the backup one of this user's own, or the input).
RunResult ConvDriver::CheckReplaceable(const std::string& inPath, const std::string& outPath) {
  std::string refused;
  struct stat out {};
  if (::stat(outPath.c_str(), &out) == 0 && !S_ISREG(out.st_mode)) {
    refused = outPath;
  } else if ((settings_.FileMode & file_mode::kBackup) != 0 && ::lstat(outPath.c_str(), &out) == 0) {
    const std::string backup = GetNameWithoutExtension(outPath) + ".bak";
    struct stat bak {};
    struct stat in {};
    if (::lstat(backup.c_str(), &bak) == 0 && (!S_ISREG(bak.st_mode) || bak.st_uid != ::geteuid()) &&
        !(::stat(inPath.c_str(), &in) == 0 && SameInode(in, bak))) {
      refused = backup;
    }
  }
  if (refused.empty()) return RunResult::Done;
  window_.Message("出力ﾌｧｲﾙ [" + refused + "] が不正です");
  return RunResult::OutputSide;
}

RunResult ConvDriver::Ferrox_Click_File(const JobRequest& request) {
  if (!window_.ConvBusy()) return RunResult::Cancelled;
  const MessagesAboutFile about(window_, request.input);
  const std::uint16_t flags = request.flags;
  if (flags == 0 && oneFile_) {
    window_.Message("変換設定がされていません");
    return RunResult::SettingsSide;
  }

  const std::string& inPath = request.input;
  const std::string& outPath = request.output;
  const std::string folder = GetParentFolder(outPath);
  if (!folder.empty()) {
    struct stat st {};
    const bool usable = ::stat(folder.c_str(), &st) == 0 ? S_ISDIR(st.st_mode) : MakeFolder(folder);
    if (!usable) {
      window_.Message("出力ﾌｧｲﾙのﾊﾟｽが不正です");
      return RunResult::OutputSide;
    }
  }

  if (const RunResult rc = CheckReplaceable(inPath, outPath); rc != RunResult::Done) return rc;

  // Without a job flag a file onto itself is left as it is; onto another name it is copied.
  const bool leftAsItIs = flags == 0 && IsOtherFile(inPath, outPath) == 0;
  const JobContext context{window_, settings_, gaiji_, sidecar_, streams_, &survey_};
  if (!inFlight_.empty() && DependsOnInFlight(inPath, outPath)) {
    if (const RunResult rc = FinishInFlight(0, inPath); rc != RunResult::Done) return rc;
  }
  PendingOutput pending;
  const JobResult staged = FerroxStaged(request, context, pending);
  // In a walk, a finished output that has nothing more to say waits for its
  // flush among others: the flushes overlap, and outputs still go into place
  // one by one in the walk's order, each only once it is on the disk.
  if (staged == JobResult::Done && pending && !batchRoot_.empty() && pending.Quiet()) {
    pending.StartFlush();
    InFlight entry{std::move(pending), flags, leftAsItIs, {}};
    if (::stat(outPath.c_str(), &entry.oldOutput) != 0) entry.oldOutput.st_ino = 0;
    inFlight_.push_back(std::move(entry));
    return FinishInFlight(kMostInFlight, inPath);
  }
  // Earlier outputs first, so that messages keep the walk's order.
  if (const RunResult rc = FinishInFlight(0, inPath); rc != RunResult::Done) return rc;
  return Report(staged != JobResult::Done ? staged : pending.Finish(), inPath, flags, leftAsItIs);
}

// A pair that reads what an output still in flight will replace, or writes
// where one will go, waits until those are in place.
bool ConvDriver::DependsOnInFlight(const std::string& inPath, const std::string& outPath) const {
  struct stat in {};
  if (::stat(inPath.c_str(), &in) != 0) return true;
  return std::any_of(inFlight_.begin(), inFlight_.end(), [&](const InFlight& entry) {
    const std::string& out = entry.output.OutputPath();
    return out == inPath || out == outPath || (entry.oldOutput.st_ino != 0 && SameInode(entry.oldOutput, in));
  });
}

// Puts outputs in flight in place, oldest first, until at most `keep` are
// left. After a failure the rest are dropped (their work files removed).
// Messages are about each output's own input, then again about `current`.
RunResult ConvDriver::FinishInFlight(std::size_t keep, const std::string& current) {
  RunResult rc = RunResult::Done;
  while (inFlight_.size() > keep && rc == RunResult::Done) {
    InFlight entry = std::move(inFlight_.front());
    inFlight_.pop_front();
    const std::string input = entry.output.InputPath();
    window_.MessagesAbout(input);
    const JobResult code = entry.output.Finish();
    rc = Report(code, input, entry.flags, entry.leftAsItIs);
  }
  if (rc != RunResult::Done) inFlight_.clear();
  window_.MessagesAbout(current);
  return rc;
}

// Says what the job's result means and counts the file.
RunResult ConvDriver::Report(JobResult code, const std::string& inPath, std::uint16_t flags, bool leftAsItIs) {
  const RunResult rc = ReportJobResult(window_, code, inPath);
  if (rc != RunResult::Done) return rc;
  if (leftAsItIs) {
    ++tally_.skipped;
  } else if ((flags & kJobText) != 0) {
    ++tally_.converted;
  } else {
    ++tally_.copied;
  }
  return RunResult::Done;
}

}  // namespace ferrox
