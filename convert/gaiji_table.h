#pragma once
// The gaiji table: Shift JIS code -> replacement bytes, from a user-edited
// CP932 text file. Record 0 is the default replacement ("〓" until a file says
// otherwise); records 1..n are sorted by code.

#include <cstdint>
#include <string>
#include <vector>

namespace ferrox {

// Why a named table file was not read (a missing file is no problem: the
// default table stands).
enum class GaijiLoadProblem { kNone, kNotAFile, kTooLarge };

// A table file beyond this is refused: real tables are a few kilobytes.
inline constexpr std::size_t kGaijiTableMaxBytes = 4u << 20;

class GaijiTable {
 public:
  struct Record {
    std::uint8_t first = 0;
    std::uint8_t second = 0;
    std::string replacement;  // Shift JIS bytes; may be empty (the gaiji disappears)
  };

  GaijiTable();  // the default table: record 0 only

  // Rebuilds the table from `path`. A missing, empty or partly bad file never
  // fails: what could be read stays. Returns the number of data records read.
  // A named file that is not a regular file or is larger than
  // kGaijiTableMaxBytes is not read; LoadProblem says so.
  std::size_t LoadGaijiTable(const std::string& path);
  [[nodiscard]] GaijiLoadProblem LoadProblem() const noexcept { return problem_; }

  // Index of the record for this code, or 0 (the default) when there is none.
  [[nodiscard]] std::size_t GaijiTableSearch(std::uint8_t first, std::uint8_t second) const noexcept;

  // Copies the replacement of record `index` to out[o...]; returns its length.
  // The caller advances its output index.
  std::size_t GaijiSet(std::size_t index, std::uint8_t* out, std::ptrdiff_t o) const noexcept;

  // Length of the longest replacement, default included: an output buffer
  // that grows by more than two bytes per gaiji must allow for it.
  [[nodiscard]] std::size_t LongestReplacement() const noexcept;

  [[nodiscard]] const std::vector<Record>& Records() const noexcept { return records_; }

 private:
  std::vector<Record> records_;
  GaijiLoadProblem problem_ = GaijiLoadProblem::kNone;
};

}  // namespace ferrox
