#pragma once
// What the two check boxes (text conversion, MacBinary cut) should say for
// one input, once the survey has looked at it.

#include <cstdint>

namespace ferrox {

struct CheckBoxes {
  bool textCnv = false;  // chkTextCnv
  bool mbCut = false;    // chkMBCut

  friend bool operator==(const CheckBoxes&, const CheckBoxes&) = default;
};

// Text conversion only for a text file (survey flag word not 0), MacBinary
// cut only for a MacBinary file.
[[nodiscard]] CheckBoxes ProposeCheckBoxes(std::uint16_t surveyFlags, bool isMacBinary);

}  // namespace ferrox
