#pragma once
// The Japanese survey report of one input entry: heading, times, attributes,
// size, the verdict sentences and, for MacBinary, the Macintosh block.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/file_survey.h"
#include "suffix/suffix_entry.h"
#include "suffix/suffix_table.h"

namespace ferrox {

// The settings the report reads, passed as values.
struct ReportSettings {
  std::int32_t ChkSize = 10000;
  std::int16_t BinRate = 3;
  std::uint16_t ConvMode = 12;  // bits 1, 4 and 8 are read
  std::uint16_t FileMode = 117; // bit 16: folder selection enabled
};

// The suffix table lookup for a type and creator; null when nothing matches.
using SuffixLookup =
    std::function<const SuffixEntry*(std::string_view fileType, std::string_view creator)>;

// The lookup in `table` (which must outlive it).
[[nodiscard]] SuffixLookup LookupIn(const SuffixTable& table);

// Builds the report for the entry `path` (UTF-8). `expanded` holds the files
// that the entry names when it is a wildcard, a quoted list or a folder with
// folder selection enabled (the caller expands it); it is ignored for one
// file. The survey goes through `survey`, so its cache is used and refreshed.
// Lines are UTF-8 joined by CR LF, every line ending with CR LF. An empty
// path, or an entry that names nothing, gives an empty text. A file that no
// wrapper holds shows the Macintosh block of its AppleDouble `sidecar`, if any.
[[nodiscard]] std::string InfoTextSet(FileSurvey& survey, const std::string& path,
                                      const std::vector<std::string>& expanded,
                                      const ReportSettings& settings, const SuffixLookup& lookup,
                                      ProgressSink& sink, const std::string& sidecar = {});

}  // namespace ferrox
