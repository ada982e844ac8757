#pragma once
// The first lines of a file as a conversion would write them, made by the
// conversion pass itself on the head of the file, so what the user sees is
// what the run will produce.

#include <cstdint>
#include <string>

// ferrox
#include "analysis/file_survey.h"
#include "app/conversion_settings.h"

// Qt
#include <QString>

namespace ferrox {
class GaijiTable;
}

namespace ferrox::ui {

struct PreviewRequest {
  std::string path;
  bool textCnv = true;  // chkTextCnv
  int lines = 12;       // at most this many lines
};

// The lines (LF-separated, UTF-8 for the screen); a short note instead when
// the file is not converted as text or cannot be read.
[[nodiscard]] QString ConvertedHead(const PreviewRequest& request, FileSurvey& survey,
                                    const ConversionSettings& settings, const GaijiTable* gaiji);

// The warning shown when the survey of the file could not tell Shift JIS from
// EUC by the text itself: eight-bit text that it gave no code, or stretches of
// both codes. Empty otherwise.
[[nodiscard]] QString TieWarning(const std::string& path, FileSurvey& survey, const ConversionSettings& settings);

}  // namespace ferrox::ui
