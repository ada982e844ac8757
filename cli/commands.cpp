#include "cli/commands.h"

#include <cstdio>
#include <string>

#include "analysis/file_survey.h"
#include "analysis/survey_report.h"
#include "app/conv_driver.h"
#include "app/engine_settings.h"
#include "app/entry_expand.h"
#include "app/entry_list.h"
#include "app/path_helpers.h"
#include "app/settings_store.h"
#include "cli/cli_window.h"
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
  if (arguments.chkSize && *arguments.chkSize < 100) {
    Say("ﾌｧｲﾙの調査ｻｲｽﾞが少な過ぎます。100 Byte 以上に設定して下さい。");
    return false;
  }
  return true;
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

}  // namespace

int ExitStatus(int driverResult) noexcept {
  switch (driverResult) {
    case result::kDone: return 0;
    case result::kInputSide: return 1;
    case result::kOutputSide: return 2;
    case result::kSettingsSide: return 3;
    case result::kCancelled: return kExitCancelled;
    default: return 1;
  }
}

int RunConvert(const Arguments& arguments) {
  SettingsStore store;
  if (!LoadSettings(store, arguments)) return ExitStatus(result::kSettingsSide);
  FileSurvey survey;
  CliWindow window(store.Settings, survey, arguments.text, arguments.cut);
  window.SetOutFileText(AbsoluteEntry(arguments.operands[1]));
  window.SetInFileText(AbsoluteEntry(arguments.operands[0]));

  CliWindow::CatchInterrupt();
  ConvDriver driver(window, store.Settings, &store.Gaiji);
  const int rc = driver.Ferrox_Click_Etc(false);
  window.ClearProgressLine();
  // A cancel that came once the last file was being put in place did not
  // stop it: the run is done (130 would say that file was left untouched).
  return ExitStatus(rc);
}

int RunSurvey(const Arguments& arguments) {
  SettingsStore store;
  if (!LoadSettings(store, arguments)) return ExitStatus(result::kSettingsSide);
  const ConversionSettings& settings = store.Settings;
  const std::string path = AbsoluteEntry(arguments.operands[0]);
  FileSurvey survey;
  SilentProgress sink;

  if (arguments.flagsOnly) {
    MacBinaryInfo info;
    std::uint16_t flags = 0;
    const int kind = survey.FileTypeChk(path, SurveyOf(settings),
                                        sink, info, flags);
    std::printf("%d 0x%04X\n", kind, static_cast<unsigned>(flags));
    return kind == survey_result::kUnreadable ? 1 : 0;
  }

  const ReportSettings reportSettings = ReportOf(settings);
  const SuffixTable& table = store.Suffixes;
  const SuffixLookup lookup = [&table](std::string_view type, std::string_view creator) -> const SuffixEntry* {
    const int row = SuffixTableSearch(table, type, creator);
    return row >= 0 ? &table[static_cast<std::size_t>(row)] : nullptr;
  };
  const std::string report =
      InfoTextSet(survey, path, ExpandEntry(path, settings.FileMode), reportSettings, lookup, sink);
  if (report.empty()) {
    Say("入力ﾌｧｲﾙ [" + arguments.operands[0] + "] が見つかりません");
    return 1;
  }
  std::fputs(LfLines(report).c_str(), stdout);
  return 0;
}

int RunName(const Arguments& arguments) {
  SettingsStore store;
  if (!LoadSettings(store, arguments)) return ExitStatus(result::kSettingsSide);
  const auto& o = arguments.operands;
  std::printf("%s\n", ShownText(FileNameRec(store.Suffixes, NameRulesOf(store.Settings), o[0], o[1], o[2])).c_str());
  return 0;
}

}  // namespace ferrox::cli
