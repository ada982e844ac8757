#include "app/check_box_proposal.h"

#include "app/conversion_settings.h"

namespace ferrox {

CheckBoxes ProposeCheckBoxes(std::uint16_t surveyFlags, bool isMacBinary, std::uint16_t fileMode,
                             CheckBoxes current) {
  if ((fileMode & file_mode::kBatch) == 0) return current;
  // A flag word of 0 is the survey's verdict "binary": never converted as text.
  return CheckBoxes{surveyFlags != 0, isMacBinary};
}

}  // namespace ferrox
