#include "app/check_box_proposal.h"

namespace ferrox {

CheckBoxes ProposeCheckBoxes(std::uint16_t surveyFlags, bool isMacBinary) {
  // A flag word of 0 is the survey's verdict "binary": never converted as text.
  return CheckBoxes{surveyFlags != 0, isMacBinary};
}

}  // namespace ferrox
