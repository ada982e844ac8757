#pragma once
// The survey of one file as one line of JSON, for scripts: what the survey
// found (result, flag word and what its bits say), the file's size and times,
// and the Mac wrapper's fields. Times are ISO 8601: file times in local time
// with the zone offset, Mac dates as they are stored (they carry no zone).

#include <cstdint>
#include <string>

#include "analysis/file_survey.h"
#include "analysis/mac_wrapper.h"

namespace ferrox::cli {

struct SurveyJsonInput {
  std::string path;            // as shown to the user
  std::string filePath;        // the file surveyed (may differ for standard input)
  SurveyKind result = SurveyKind::Ordinary;
  std::uint16_t flags = 0;
  const MacBinaryInfo* macBinary = nullptr;  // when result says MacBinary
  const WrappedMacFile* wrapped = nullptr;   // a BinHex or AppleSingle file's header
  std::int32_t chkSize = 0;
  std::int16_t binRate = 0;
};

[[nodiscard]] std::string SurveyJson(const SurveyJsonInput& in);

}  // namespace ferrox::cli
