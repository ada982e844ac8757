#include "cli/commands.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "analysis/file_survey.h"
#include "analysis/survey_report.h"
#include "app/conv_driver.h"
#include "app/engine_settings.h"
#include "app/entry_expand.h"
#include "app/entry_list.h"
#include "app/mac_batch_names.h"
#include "app/path_helpers.h"
#include "app/settings_store.h"
#include "cli/cli_text.h"
#include "cli/cli_window.h"
#include "cli/std_streams.h"
#include "cli/survey_json.h"
#include "convert/change_account.h"
#include "convert/gaiji_table.h"
#include "convert/result_code.h"
#include "suffix/file_name_rec.h"

namespace ferrox::cli {

namespace {

void Say(const std::string& line) { std::fprintf(stderr, "%s\n", ShownText(line).c_str()); }

// Loads the stored settings and tables, then applies this run's options.
// False (with the message shown) when the options make no usable settings.
bool LoadSettings(SettingsStore& store, const Arguments& arguments) {
  const SettingsLoadResult loaded = store.Load({}, false);
  if (loaded.suffix.Failed()) Say(SuffixLoadMessage(loaded.suffix));
  ApplyOverrides(arguments, store.Settings);
  // Only a conversion reads the gaiji table.
  if (arguments.command == Command::kConvert) {
    store.ReloadGaijiTable();
    switch (store.Gaiji.LoadProblem()) {
      case GaijiLoadProblem::kNotAFile:
        Say("外字ﾃｰﾌﾞﾙ [" + store.GaijiTablePath() + "] は通常のﾌｧｲﾙではありません");
        return false;
      case GaijiLoadProblem::kTooLarge:
        Say("外字ﾃｰﾌﾞﾙ [" + store.GaijiTablePath() + "] が大き過ぎます (" +
            std::to_string(kGaijiTableMaxBytes >> 20) + " MiB まで)");
        return false;
      case GaijiLoadProblem::kNone:
        break;
    }
  }
  // Below 1 means the whole file; a small sample tells nothing.
  if (arguments.chkSizeGiven && store.Settings.ChkSize >= 1 && store.Settings.ChkSize < 100) {
    Say("ﾌｧｲﾙの調査ｻｲｽﾞが少な過ぎます。100 Byte 以上に設定して下さい。");
    return false;
  }
  if (arguments.fncCharGiven && !FncCharAllowed(store.Settings.FNCChar)) {
    Say("ﾌｧｲﾙ名の置換文字が不正です。");
    return false;
  }
  return true;
}

// Whether the output of `path` would show as binary on a terminal: its data
// is binary by the full survey, or a MacBinary header stays on it.
bool OutputIsBinary(const std::string& path, const ConversionSettings& settings, bool cut) {
  FileSurvey survey;
  SilentProgress sink;
  MacBinaryInfo info;
  std::uint16_t flags = 0;
  const SurveySettings whole{settings.ChkSize, settings.BinRate,
                             static_cast<std::uint16_t>(settings.ConvMode | conv_mode::kFull)};
  const SurveyKind kind = survey.FileTypeChk(path, whole, sink, info, flags);
  if (kind == SurveyKind::MacBinary) return !cut || (flags == 0 && info.DataLength > 0);
  struct stat st {};
  return kind == SurveyKind::Ordinary && flags == 0 && ::stat(path.c_str(), &st) == 0 && st.st_size > 0;
}

// A box text with every name made absolute against the current folder, kept
// as typed otherwise (links and ".." are not resolved).
std::string AbsoluteEntry(const std::string& text) {
  const std::string cwd = CurrentFolder();
  const std::string_view trimmed = TrimBlanks(text);
  if (!trimmed.empty() && trimmed.front() == '"') {
    std::vector<std::string> names = CommaToDim(trimmed);
    for (auto& name : names) {
      if (!TrimBlanks(name).empty()) name = MakeAbsolute(name, cwd);
    }
    return QuotedList(names);
  }
  if (trimmed.empty()) return {};
  return MakeAbsolute(trimmed, cwd);
}

std::string LfLines(std::string text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    out += text[i];
  }
  return out;
}

// The --changes list: a header, then one TSV row per change with the input
// and output bytes in hex.
class ChangeList final : public ChangeSink {
 public:
  ChangeList(std::FILE* file, const CliWindow& window) : file_(file), window_(window) {
    std::fputs("path\toffset\tkind\tinput\toutput\n", file_);
  }
  void BeginFile(const std::string& path) override { path_ = ShownText(window_.Shown(path)); }
  void Change(std::int64_t offset, ChangeKind kind, std::string_view in,
              std::string_view out) override {
    std::fprintf(file_, "%s\t%lld\t%.*s\t%s\t%s\n", path_.c_str(), static_cast<long long>(offset),
                 static_cast<int>(ChangeKindName(kind).size()), ChangeKindName(kind).data(),
                 Hex(in).c_str(), Hex(out).c_str());
  }

 private:
  static std::string Hex(std::string_view bytes) {
    std::string s;
    for (const char c : bytes) {
      char two[4];
      std::snprintf(two, sizeof two, s.empty() ? "%02X" : " %02X", static_cast<unsigned char>(c));
      s += two;
    }
    return s;
  }

  std::FILE* file_;
  const CliWindow& window_;
  std::string path_;
};

// A run that found no file to hand to the job says why, in one line.
void SayNothingToConvert(const std::string& input, const ConversionSettings& settings) {
  const std::string path = AbsoluteEntry(input);
  std::string why;
  if (HasWildcard(path)) {
    why = Tr("no file matches ", "一致するファイルがありません: ") + input;
  } else if (IsFolder(path) && (settings.FileMode & file_mode::kFolderSelect) == 0) {
    why = input + Tr(" is a folder, and folders are not converted without --walk (FileMode 16)",
                     " はフォルダです。フォルダを変換するには --walk (FileMode 16) が必要です");
  } else {
    why = Tr("no file in ", "ファイルがありません: ") + input;
  }
  Say(Tr("ferrox: nothing to convert: ", "ferrox: 変換するファイルがありません: ") + why);
}

// `ferrox survey --flags`: the kind and the flag word of one path. False when unreadable.
bool PrintFlags(FileSurvey& survey, const std::string& path, const ConversionSettings& settings) {
  SilentProgress sink;
  MacBinaryInfo info;
  std::uint16_t flags = 0;
  const SurveyKind kind = survey.FileTypeChk(path, SurveyOf(settings), sink, info, flags);
  std::printf("%d 0x%04X\n", static_cast<int>(kind), static_cast<unsigned>(flags));
  return kind != SurveyKind::Unreadable;
}

// `ferrox survey --json`: one object per file; a folder, wildcard or list
// stands for the files it names. False when one is unreadable.
bool PrintJson(FileSurvey& survey, const std::string& operand, const std::string& path,
               const ConversionSettings& settings) {
  SilentProgress sink;
  std::vector<std::string> files = ExpandEntry(path, settings.FileMode);
  if (files.empty() || files == std::vector<std::string>{path}) files = {path};
  bool readable = true;
  for (const std::string& file : files) {
    MacBinaryInfo info;
    std::uint16_t flags = 0;
    const SurveyKind kind = survey.FileTypeChk(file, SurveyOf(settings), sink, info, flags);
    const std::string shown = file == path ? operand : file;
    WrappedMacFile wrapped;
    std::string wrapError;
    const bool isWrapped = kind == SurveyKind::Ordinary &&
                           ProbeMacWrapper(file, wrapped, wrapError) != MacWrapper::None && wrapError.empty();
    std::printf("%s\n", SurveyJson({shown, file, kind, flags, kind == SurveyKind::MacBinary ? &info : nullptr,
                                     isWrapped ? &wrapped : nullptr, settings.ChkSize, settings.BinRate})
                            .c_str());
    readable = readable && kind != SurveyKind::Unreadable;
  }
  return readable;
}

// The survey report of one entry. False when it names nothing.
bool PrintReport(FileSurvey& survey, const std::string& operand, const std::string& path, const SettingsStore& store) {
  SilentProgress sink;
  const ConversionSettings& settings = store.Settings;
  const std::string report = InfoTextSet(survey, path, ExpandEntry(path, settings.FileMode), ReportOf(settings),
                                         LookupIn(store.Suffixes), sink, SidecarBeside(path));
  if (report.empty()) {
    Say("入力ﾌｧｲﾙ [" + operand + "] が見つかりません");
    return false;
  }
  std::string text = LfLines(report);
  if (operand == "-") {  // the heading names standard input as typed
    const std::string heading = "--- [" + path.substr(path.find_last_of('/') + 1) + "]の";
    if (text.starts_with(heading)) text.replace(0, heading.size(), "--- [-]の");
  }
  std::fputs(text.c_str(), stdout);
  return true;
}

}  // namespace

int ExitStatus(RunResult driverResult) noexcept {
  switch (driverResult) {
    case RunResult::Done: return 0;
    case RunResult::InputSide: return 1;
    case RunResult::OutputSide: return 2;
    case RunResult::SettingsSide: return 3;
    case RunResult::Cancelled: return kExitCancelled;
  }
  return 1;
}

namespace {

// The file `--changes` names ("-": standard output); none without the option.
// False, with the message said, when it cannot be had.
bool OpenChangeList(const std::string& name, bool toStdout, std::FILE*& file) {
  file = nullptr;
  if (name.empty()) return true;
  file = name == "-" ? (toStdout ? nullptr : stdout) : std::fopen(name.c_str(), "w");
  if (file != nullptr) return true;
  Say("ferrox: " + name + ": " +
      (toStdout ? Tr("the output already goes to standard output", "出力が標準出力に出ます")
                : std::string(std::strerror(errno))));
  return false;
}

// Flushes and closes the change list; false, with the message said, when that fails.
bool CloseChangeList(const std::string& name, std::FILE* file) {
  if (file == nullptr) return true;
  const bool failed = std::fflush(file) != 0 || std::ferror(file) != 0 || (file != stdout && std::fclose(file) != 0);
  if (failed) Say("ferrox: " + name + ": " + std::strerror(errno));
  return !failed;
}

// Whether the output of `inText` would be binary on the terminal that
// standard output is; says so when it would.
bool BinaryToTerminal(const std::string& inText, const ConversionSettings& settings, const PinnedBoxes& pinned) {
  if (::isatty(STDOUT_FILENO) != 1) return false;
  FileSurvey survey;
  SilentProgress sink;
  const bool cut = (JobFlagsFor(survey, inText, SurveyOf(settings), pinned, sink) & kJobMacBinaryCut) != 0;
  if (!OutputIsBinary(inText, settings, cut)) return false;
  Say(std::string("ferrox: ") + Tr("binary output is not written to a terminal (--force writes it)",
                                   "バイナリーの出力は端末には書きません (--force で書きます)"));
  return true;
}

// Spools standard input into the work file that stands for it; the exit
// status when that fails.
std::optional<int> SpoolStdin(StdinFile& stdinFile, StreamEnds& streams,
                              ConversionSettings& settings, std::string& inText) {
  if (const JobResult rc = stdinFile.Spool(settings.ChkSize, true); rc != JobResult::Done) {
    if (rc == JobResult::Cancelled) return kExitCancelled;
    Say(rc == JobResult::DiskFull ? WorkAreaFullMessage() : "-: 変換出来ませんでした");
    return ExitStatus(RunResult::InputSide);
  }
  inText = stdinFile.Path();
  if (stdinFile.Followed()) {
    streams.inPath = inText;
    streams.inFollow = STDIN_FILENO;
  }
  settings.FileMode &= static_cast<std::uint16_t>(~file_mode::kDeleteInput);  // nothing to delete
  return std::nullopt;
}

// Makes the work file that standard output is sent from; false, with the
// message said, when it cannot be made.
bool SpoolStdout(StdoutFile& stdoutFile, StreamEnds& streams) {
  if (!stdoutFile.Create()) {
    Say(WorkAreaFullMessage());
    return false;
  }
  streams.outPath = stdoutFile.Path();
  streams.outFd = STDOUT_FILENO;
  std::signal(SIGPIPE, SIG_IGN);  // a reader that goes away is an answer, not a crash
  return true;
}

// The conversion of `inText` once the standard streams are set up: the
// driver's run, the change list, the bytes sent to standard output.
int ConvertEntry(const Arguments& arguments, SettingsStore& store, const std::string& inText,
                 StdoutFile& stdoutFile, StreamEnds& streams) {
  const bool fromStdin = arguments.operands[0] == "-";
  const bool toStdout = arguments.operands[1] == "-";
  CliWindow window;
  if (fromStdin) window.ShowPathAs(inText, "-");
  if (toStdout) window.ShowPathAs(stdoutFile.Path(), "-");
  // --text/--cut pin the check boxes of every file; the rest follows each survey.
  const PinnedBoxes pinned{arguments.text, arguments.cut};
  const RunRequest request{inText, toStdout ? stdoutFile.Path() : AbsoluteEntry(arguments.operands[1]), pinned, pinned};
  // Decided from the input, before anything is written.
  if (toStdout && !arguments.force && BinaryToTerminal(inText, store.Settings, pinned)) {
    return ExitStatus(RunResult::OutputSide);
  }

  std::FILE* listFile = nullptr;
  if (!OpenChangeList(arguments.changes, toStdout, listFile)) return ExitStatus(RunResult::OutputSide);
  std::optional<ChangeList> changeList;
  if (listFile != nullptr) {
    changeList.emplace(listFile, window);
    window.SetChangeRows(&*changeList);
  }

  ConvDriver driver(window, store.Settings, &store.Gaiji);
  driver.SetSuffixTable(&store.Suffixes);
  driver.SetStreams(&streams);
  const RunResult rc = driver.Ferrox_Click_Etc(request);
  window.ClearProgressLine();
  if (!CloseChangeList(arguments.changes, listFile) && rc == RunResult::Done) return ExitStatus(RunResult::OutputSide);
  // A cancel that came once the last file was being put in place did not
  // stop it: the run is done (130 would say that file was left untouched).
  if (rc == RunResult::Done && window.PairsStarted() == 0) SayNothingToConvert(arguments.operands[0], store.Settings);
  const int error = rc == RunResult::Done && toStdout ? stdoutFile.Send() : streams.outError;
  if (error != 0) {
    Say(std::string("ferrox: ") + Tr("standard output: ", "標準出力: ") + std::strerror(error));
    return ExitStatus(RunResult::OutputSide);
  }
  return ExitStatus(rc);
}

}  // namespace

int RunConvert(const Arguments& arguments) {
  SettingsStore store;
  if (!LoadSettings(store, arguments)) return ExitStatus(RunResult::SettingsSide);
  const std::string& inOperand = arguments.operands[0];
  const bool fromStdin = inOperand == "-";
  const bool toStdout = arguments.operands[1] == "-";
  std::string inText = AbsoluteEntry(inOperand);
  if (toStdout && !fromStdin && (HasWildcard(inText) || inText.front() == '"' || IsFolder(inText))) {
    Say(std::string("ferrox: ") + Tr("standard output (-) takes one input file", "標準出力 (-) に書けるのは 1 つのファイルだけです"));
    return kExitUsage;
  }

  CliWindow::CatchInterrupt();
  StdinFile stdinFile;
  StreamEnds streams;
  if (fromStdin) {
    if (const std::optional<int> status = SpoolStdin(stdinFile, streams, store.Settings, inText)) {
      return *status;
    }
  }
  StdoutFile stdoutFile;
  if (toStdout && !SpoolStdout(stdoutFile, streams)) return ExitStatus(RunResult::OutputSide);
  return ConvertEntry(arguments, store, inText, stdoutFile, streams);
}

int RunSurvey(const Arguments& arguments) {
  SettingsStore store;
  if (!LoadSettings(store, arguments)) return ExitStatus(RunResult::SettingsSide);
  const ConversionSettings& settings = store.Settings;
  FileSurvey survey;
  int status = 0;
  StdinFile stdinFile;
  for (const std::string& operand : arguments.operands) {
    std::string path = AbsoluteEntry(operand);
    if (operand == "-") {
      CliWindow::CatchInterrupt();
      if (stdinFile.Path().empty()) {
        // The report and the JSON tell the length: only the flags can do with the head.
        if (const JobResult rc = stdinFile.Spool(settings.ChkSize, arguments.flagsOnly); rc != JobResult::Done) {
          if (rc == JobResult::Cancelled) return kExitCancelled;
          Say(rc == JobResult::DiskFull ? WorkAreaFullMessage() : "入力ﾌｧｲﾙ [-] が見つかりません");
          status = 1;
          continue;
        }
      }
      path = stdinFile.Path();
    }
    const bool fine = arguments.flagsOnly ? PrintFlags(survey, path, settings)
                      : arguments.json    ? PrintJson(survey, operand, path, settings)
                                          : PrintReport(survey, operand, path, store);
    if (!fine) status = 1;
  }
  return status;
}

int RunSettings(const Arguments& arguments) {
  SettingsStore store;
  if (!LoadSettings(store, arguments)) return ExitStatus(RunResult::SettingsSide);
  const ConversionSettings& s = store.Settings;
  std::printf("ConvMode=%u\nFileMode=%u\nLineSize=%d\nChkSize=%d\nBinRate=%d\nFNCChar=%s\nGaijiTable=%s\n",
              static_cast<unsigned>(s.ConvMode), static_cast<unsigned>(s.FileMode), s.LineSize, s.ChkSize, s.BinRate,
              s.FNCChar.c_str(), s.GaijiTable.c_str());
  return 0;
}

int RunName(const Arguments& arguments) {
  SettingsStore store;
  if (!LoadSettings(store, arguments)) return ExitStatus(RunResult::SettingsSide);
  const auto& o = arguments.operands;
  std::printf("%s\n", ShownText(FileNameRec(store.Suffixes, NameRulesOf(store.Settings), o[0], o[1], o[2])).c_str());
  return 0;
}

}  // namespace ferrox::cli
