#pragma once
// What the two check boxes (text conversion, MacBinary cut) should say for
// one input, when FileMode bit 2 lets the survey decide.

#include <cstdint>

namespace ferrox {

struct CheckBoxes {
  bool textCnv = false;  // chkTextCnv
  bool mbCut = false;    // chkMBCut

  friend bool operator==(const CheckBoxes&, const CheckBoxes&) = default;
};

// With FileMode bit 2 set: text conversion only for a text file (survey flag
// word not 0), MacBinary cut only for a MacBinary file. Without it the boxes
// stay as the user set them (`current`).
[[nodiscard]] CheckBoxes ProposeCheckBoxes(std::uint16_t surveyFlags, bool isMacBinary, std::uint16_t fileMode,
                                           CheckBoxes current);

}  // namespace ferrox
