#pragma once
// The parts of the settings record each engine layer reads, so that suffix/,
// analysis/ and convert/ never see the whole record.

#include "analysis/file_survey.h"
#include "analysis/survey_report.h"
#include "app/conversion_settings.h"
#include "suffix/file_name_rec.h"

namespace ferrox {

[[nodiscard]] inline SurveySettings SurveyOf(const ConversionSettings& s) {
  return {s.ChkSize, s.BinRate, s.ConvMode};
}

[[nodiscard]] inline ReportSettings ReportOf(const ConversionSettings& s) {
  return {s.ChkSize, s.BinRate, s.ConvMode, s.FileMode};
}

[[nodiscard]] inline FileNameRules NameRulesOf(const ConversionSettings& s) {
  return {(s.ConvMode & conv_mode::kFncChar) != 0, s.FNCChar, (s.FileMode & file_mode::kUnknownName) != 0};
}

}  // namespace ferrox
