#pragma once
// The one rule that decides what happens to a file: the two check boxes a
// survey proposes for it, the job flags once the user's pinned choices are
// applied, and the output a new input entry proposes. The window, the command
// line and the driver all ask here.

#include <cstdint>
#include <optional>
#include <string>

#include "analysis/file_survey.h"
#include "app/conversion_settings.h"
#include "suffix/suffix_table.h"

namespace ferrox {

struct CheckBoxes {
  bool textCnv = false;  // chkTextCnv
  bool mbCut = false;    // chkMBCut: take off the Mac wrapper

  friend bool operator==(const CheckBoxes&, const CheckBoxes&) = default;
};

// What the user fixed for a run (a check box, --text/--cut); unset = follow each file's survey.
struct PinnedBoxes {
  std::optional<bool> textCnv;
  std::optional<bool> mbCut;
};

// Text conversion for a text file (survey flag word not 0), the wrapper
// taken off any Mac wrapper (MacBinary, BinHex, AppleSingle). None when the
// survey cannot read the file (a damaged wrapper included).
[[nodiscard]] std::optional<CheckBoxes> ProposeCheckBoxes(FileSurvey& survey, const std::string& path,
                                                          const SurveySettings& settings, ProgressSink& sink);

// The job flags for `path`: what is pinned, the rest from the survey. A file
// the survey cannot read gets both, so the job reports what is wrong with it.
[[nodiscard]] std::uint16_t JobFlagsFor(FileSurvey& survey, const std::string& path, const SurveySettings& settings,
                                        const PinnedBoxes& pinned, ProgressSink& sink);

struct InputProposal {
  std::optional<std::string> output;  // the output entry; none = leave the box alone
  std::optional<CheckBoxes> boxes;    // none = leave the check boxes alone
};

// The output for one input name: a wrapped Mac file (MacBinary, BinHex,
// AppleSingle) goes to its Mac name (made by FileNameRec) in the input's
// folder, any other file to itself, a folder to itself, a wildcard to its
// folder. Empty when the name names nothing usable.
[[nodiscard]] std::string ProposeOutputFor(const std::string& name, const ConversionSettings& settings,
                                           const SuffixTable& table);

// The whole proposal for an input box text; a quoted list gets the list of
// the proposals of its names. The check boxes are proposed for one file only.
[[nodiscard]] InputProposal ProposeForInput(const std::string& boxText, FileSurvey& survey,
                                            const ConversionSettings& settings, const SuffixTable& table,
                                            ProgressSink& sink);

}  // namespace ferrox
