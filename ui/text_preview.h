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

// The warning shown when the survey found stretches that read as Shift JIS
// and as EUC alike and had to choose; empty when it did not.
[[nodiscard]] QString TieWarning(std::uint16_t surveyFlags);

}  // namespace ferrox::ui
