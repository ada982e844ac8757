#include "app/input_proposal.h"

#include "analysis/mac_wrapper.h"
#include "app/engine_settings.h"
#include "app/entry_list.h"
#include "app/ferrox_job.h"
#include "app/mac_batch_names.h"
#include "app/path_helpers.h"

namespace ferrox {

std::optional<CheckBoxes> ProposeCheckBoxes(FileSurvey& survey, const std::string& path,
                                            const SurveySettings& settings, ProgressSink& sink) {
  MacBinaryInfo info;
  std::uint16_t flags = 0;
  const SurveyKind kind = survey.SurveyFile(path, settings, sink, info, flags);
  if (!Surveyed(kind)) return std::nullopt;
  WrappedMacFile wrapped;
  std::string error;
  const bool isWrapped = kind == SurveyKind::MacBinary || survey.ProbeWrapper(path, wrapped, error) != MacWrapper::None;
  // A flag word of 0 is the survey's verdict "binary": never converted as text.
  return CheckBoxes{flags != 0, isWrapped};
}

std::uint16_t JobFlagsFor(FileSurvey& survey, const std::string& path, const SurveySettings& settings,
                          const PinnedBoxes& pinned, ProgressSink& sink) {
  CheckBoxes boxes{true, true};
  if (!pinned.textCnv || !pinned.mbCut) {
    if (const auto proposed = ProposeCheckBoxes(survey, path, settings, sink)) boxes = *proposed;
  }
  boxes.textCnv = pinned.textCnv.value_or(boxes.textCnv);
  boxes.mbCut = pinned.mbCut.value_or(boxes.mbCut);
  return static_cast<std::uint16_t>((boxes.textCnv ? kJobText : 0) | (boxes.mbCut ? kJobMacBinaryCut : 0));
}

std::string ProposeOutputFor(const std::string& name, const ConversionSettings& settings, const SuffixTable& table) {
  if (name.empty()) return {};
  if (HasWildcard(name)) return GetParentFolder(name);
  if (IsFolder(name)) return name;
  if (!IsFile(name)) return {};
  const std::string macName = MacOutputName(table, settings, name, {});
  const std::string folder = GetParentFolder(name);
  if (!macName.empty() && !folder.empty()) return AddPathSeparator(folder) + macName;
  return name;
}

InputProposal ProposeForInput(const std::string& boxText, FileSurvey& survey, const ConversionSettings& settings,
                              const SuffixTable& table, ProgressSink& sink) {
  InputProposal proposal;
  const BoxEntry entry = ParseBoxEntry(boxText);
  if (entry.kind == EntryKind::Empty) return proposal;
  if (entry.kind == EntryKind::List) {
    std::vector<std::string> outputs;
    for (const std::string& name : entry.names) {
      if (name.empty()) return proposal;  // no list to propose
      std::string out = ProposeOutputFor(name, settings, table);
      // A name that names nothing stays in the list as its own output, so the
      // two lists still pair up and the run can say which input is missing.
      if (out.empty()) out = name;
      outputs.push_back(std::move(out));
    }
    if (!outputs.empty()) proposal.output = QuotedList(outputs);
    return proposal;
  }
  const std::string& name = entry.names.front();
  if (std::string out = ProposeOutputFor(name, settings, table); !out.empty()) proposal.output = std::move(out);
  // A new input is surveyed as a batch would survey it.
  if (entry.kind == EntryKind::Path && IsFile(name)) proposal.boxes = ProposeCheckBoxes(survey, name, SurveyOf(settings), sink);
  return proposal;
}

}  // namespace ferrox
