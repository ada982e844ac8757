#pragma once
// What the main window proposes when the input box changes: the output entry,
// the check boxes and the survey report. Thin glue over the survey, the
// report, the suffix table and the path helpers.

#include <optional>
#include <string>
#include <vector>

// ferrox
#include "analysis/file_survey.h"
#include "app/check_box_proposal.h"
#include "app/conversion_settings.h"
#include "suffix/suffix_table.h"

namespace ferrox::ui {

struct InputProposal {
  std::optional<std::string> output;        // the output entry; none = leave the box alone
  std::optional<CheckBoxes> boxes;          // none = leave the check boxes alone
};

// The output for one input name: a MacBinary file goes to its Mac name (made
// by FileNameRec) in the input's folder, any other file to itself, a folder to
// itself, a wildcard to its folder. Empty when the name names nothing usable.
[[nodiscard]] std::string ProposeOutputFor(const std::string& name, FileSurvey& survey,
                                           const ConversionSettings& settings, const SuffixTable& table,
                                           ProgressSink& sink);

// The whole proposal for an input box text; a quoted list gets the list of
// the proposals of its names. The check boxes are proposed for one file only.
[[nodiscard]] InputProposal ProposeForInput(const std::string& boxText, FileSurvey& survey,
                                            const ConversionSettings& settings, const SuffixTable& table,
                                            ProgressSink& sink);

}  // namespace ferrox::ui
