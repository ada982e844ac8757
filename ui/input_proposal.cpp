// Proposals for a new input entry.

#include "ui/input_proposal.h"

// ferrox
#include "app/engine_settings.h"
#include "app/entry_list.h"
#include "app/path_helpers.h"
#include "suffix/file_name_rec.h"

namespace ferrox::ui {
namespace {


std::string Join(const std::string& folder, const std::string& name) {
  return folder.ends_with('/') ? folder + name : folder + "/" + name;
}

bool IsList(const std::string& text) { return TrimLeftBlanks(text).starts_with('"'); }

}  // namespace

std::string ProposeOutputFor(const std::string& name, FileSurvey& survey, const ConversionSettings& settings,
                             const SuffixTable& table, ProgressSink& sink) {
  if (name.empty()) return {};
  if (HasWildcard(name)) return GetParentFolder(name);
  if (IsFolder(name)) return name;
  if (!IsFile(name)) return {};
  MacBinaryInfo info;
  std::uint16_t flags = 0;
  if (survey.FileTypeChk(name, SurveyOf(settings), sink, info, flags) == survey_result::kMacBinary) {
    const std::string macName = FileNameRec(table, NameRulesOf(settings), info.FileName, info.FileType, info.Creator);
    const std::string folder = GetParentFolder(name);
    if (!macName.empty() && !folder.empty()) return Join(folder, macName);
  }
  return name;
}

InputProposal ProposeForInput(const std::string& boxText, FileSurvey& survey, const ConversionSettings& settings,
                              const SuffixTable& table, ProgressSink& sink) {
  InputProposal proposal;
  if (TrimBlanks(boxText).empty()) return proposal;
  if (IsList(boxText)) {
    std::vector<std::string> outputs;
    for (const std::string& name : CommaToDim(boxText)) {
      if (name.empty()) return proposal;  // no list to propose
      std::string out = ProposeOutputFor(name, survey, settings, table, sink);
      // A name that names nothing stays in the list as its own output, so the
      // two lists still pair up and the run can say which input is missing.
      if (out.empty()) out = name;
      outputs.push_back(std::move(out));
    }
    if (!outputs.empty()) proposal.output = QuotedList(outputs);
    return proposal;
  }
  const std::string name = NormalizeEntry(boxText);
  std::string out = ProposeOutputFor(name, survey, settings, table, sink);
  if (!out.empty()) proposal.output = std::move(out);
  if (IsFile(name)) {
    MacBinaryInfo info;
    std::uint16_t flags = 0;
    const int kind = survey.FileTypeChk(name, SurveyOf(settings), sink, info, flags);
    if (kind == survey_result::kOrdinary || kind == survey_result::kMacBinary) {
      // A new input is surveyed as a batch would survey it.
      proposal.boxes = ProposeCheckBoxes(flags, kind == survey_result::kMacBinary);
    }
  }
  return proposal;
}

}  // namespace ferrox::ui
