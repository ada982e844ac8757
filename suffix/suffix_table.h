#pragma once
// The suffix table: rows that map a Mac type and creator pattern to an
// extension, kept with one empty sentinel element after the last row, and its
// file SfxTbl.txt (CP932, CR LF) with the backup SfxTbl.old.

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "suffix/suffix_entry.h"

namespace ferrox {

class SuffixTable {
 public:
  SuffixTable() : elements_(1) {}  // empty: the sentinel only

  [[nodiscard]] std::size_t RowCount() const noexcept { return elements_.size() - 1; }
  [[nodiscard]] bool Empty() const noexcept { return RowCount() == 0; }

  // Rows 0 .. N-1; the sentinel is never part of these.
  [[nodiscard]] std::span<const SuffixEntry> Rows() const noexcept { return {elements_.data(), RowCount()}; }
  [[nodiscard]] std::span<SuffixEntry> Rows() noexcept { return {elements_.data(), RowCount()}; }
  [[nodiscard]] const SuffixEntry& operator[](std::size_t row) const { return elements_[row]; }
  [[nodiscard]] SuffixEntry& operator[](std::size_t row) { return elements_[row]; }

  // Rows plus the sentinel, for callers that copy the table whole.
  [[nodiscard]] const std::vector<SuffixEntry>& Elements() const noexcept { return elements_; }

  void Append(SuffixEntry row) { elements_.insert(elements_.end() - 1, std::move(row)); }
  // Inserts before `row` (RowCount() appends); the rows below move down.
  void Insert(std::size_t row, SuffixEntry entry);
  void Erase(std::size_t row);
  void Clear() { elements_.assign(1, SuffixEntry{}); }
  void Reserve(std::size_t rows) { elements_.reserve(rows + 1); }
  void ShrinkToFit() { elements_.shrink_to_fit(); }

  friend bool operator==(const SuffixTable&, const SuffixTable&) = default;

 private:
  std::vector<SuffixEntry> elements_;
};

// File names inside the config folder.
inline constexpr const char* kSuffixTableFile = "SfxTbl.txt";
inline constexpr const char* kSuffixTableBackupFile = "SfxTbl.old";

// Replaces the table by the 100 built-in rows.
void SuffixTableDefault(SuffixTable& table);

enum class SuffixLoadStatus {
  kLoaded,       // read from the file
  kDefault,      // no file: the built-in rows
  kEmptyFile,    // a file of length 0 (or whose length cannot be read): no rows
  kTooLarge,     // a line end beyond byte 32,767: rows read until then are kept
  kTooManyRows,  // more than 32,767 rows: rows read until then are kept
  kUnreadable,   // the file exists but could not be read: no rows
};

struct SuffixLoadResult {
  SuffixLoadStatus status = SuffixLoadStatus::kLoaded;
  std::string path;  // the file that was (or would have been) read

  [[nodiscard]] bool Failed() const noexcept {
    return status == SuffixLoadStatus::kTooLarge || status == SuffixLoadStatus::kTooManyRows ||
           status == SuffixLoadStatus::kUnreadable;
  }
};

// The one message for a failed load (empty when the load did not fail).
[[nodiscard]] std::string SuffixLoadMessage(const SuffixLoadResult& result);

// Loads <folder>/SfxTbl.txt into `table`, or the built-in rows when there is no
// such file. Never throws for file problems; the result says what happened.
SuffixLoadResult SuffixTableLoad(SuffixTable& table, const std::string& folder);

// Appends the rows found in `cp932Text` (the file's bytes) with the file's
// reading rules. Stops with kTooLarge / kTooManyRows like the file loader.
SuffixLoadStatus SuffixTableParse(SuffixTable& table, std::string_view cp932Text);

// Copies <folder>/SfxTbl.txt to SfxTbl.old (replacing an old one). Returns
// false when nothing was backed up.
bool SuffixTableBackup(const std::string& folder);

// The whole file text (UTF-8, CR LF) as written, with `date` ("yyyy/mm/dd") in
// the header.
[[nodiscard]] std::string SuffixTableText(const SuffixTable& table, const std::string& date);

// Writes the table to <folder>/SfxTbl.txt in CP932. The old file is replaced
// only once the new one is complete; false when it could not be written.
bool SuffixTableSave(const SuffixTable& table, const std::string& folder);

}  // namespace ferrox
