#pragma once
// The file survey: from a bounded sample of a file, text or binary, which
// character codes, which line ends, and whether it ends with 0x1A. The result
// is the survey flag word of survey_flags.h.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <istream>
#include <span>
#include <string>

#include "analysis/mac_wrapper.h"
#include "analysis/macbinary.h"
#include "text/progress_sink.h"

namespace ferrox {

// The settings the survey reads, passed as values.
struct SurveySettings {
  std::int32_t ChkSize = 10000;  // bytes surveyed; below 1 = no limit
  std::int16_t BinRate = 3;      // percent of binary bytes tolerated in text
  std::uint16_t ConvMode = 12;   // bit 4: full surveyor; 8: gaiji count as characters;
                                 // 32: no UTF-8; 256: Shift JIS/EUC ties by the old rule

  friend bool operator==(const SurveySettings&, const SurveySettings&) = default;
};

// Results of FileTypeChk; the numbers are those `ferrox survey --flags` prints.
enum class SurveyKind {
  Ordinary = 0,     // an ordinary file, surveyed from byte 0 (a BinHex or AppleSingle file: its data fork)
  MacBinary = 1,    // a MacBinary file, its data fork surveyed from byte 128
  Unreadable = -1,  // not an absolute path, missing, not a regular file, unreadable, or a damaged wrapper
  Folder = -2,      // the path names a folder
  Wildcard = -3,    // the path holds "*" or "?"
  Quoted = -4,      // after leading blanks the path begins with '"'
};
// The kind in a word: "file", "macbinary", "unreadable", "folder", "wildcard", "list".
[[nodiscard]] const char* SurveyKindText(SurveyKind kind) noexcept;
// A file the survey has read: an ordinary file or a MacBinary one.
[[nodiscard]] constexpr bool Surveyed(SurveyKind kind) noexcept {
  return kind == SurveyKind::Ordinary || kind == SurveyKind::MacBinary;
}

// What a chunk surveyor carries from one chunk to the next.
struct ChunkSurveyState {
  std::uint16_t Flags = 0;      // the survey flag word so far
  std::int64_t Allowance = 0;   // binary bytes still tolerated
  int Verdict = 0;              // 0 text so far, -1 binary
  std::size_t Carry = 0;        // bytes at the chunk's end not examined (0..2): present them again
};

// The binary allowance of a range: length / 100 * binRate, rounded half to even.
[[nodiscard]] std::int64_t BinaryAllowance(std::int64_t length, std::int16_t binRate) noexcept;

// Full chunk surveyor: ASCII, Shift JIS, EUC-JP and JIS. Positions up to the
// chunk's last index minus 2 are examined; the rest is left in `state.Carry`.
// `breakTies` (ConvMode bit 256 clear) lets BreakTie settle the stretches that
// SjisOrEuc leaves undecided; without it they follow the code seen so far.
void TextBinaryChk3(std::span<const std::uint8_t> chunk, ChunkSurveyState& state,
                    bool gaijiAsChar, bool breakTies = true) noexcept;

// Light chunk surveyor: Shift JIS and line ends only; ESC and 0x1A are binary.
void TextBinaryChk3Lite(std::span<const std::uint8_t> chunk, ChunkSurveyState& state,
                        bool gaijiAsChar) noexcept;

inline constexpr std::size_t kSurveyChunkSize = 8192;

// Surveys `length` bytes of `path` from `start`, in chunks of at most
// `chunkSize` bytes (at least 3), letting `sink` pump events before each.
// `flags` is cleared first and holds the survey flag word on return (0 =
// binary). Returns false when the file cannot be read; `flags` is then 0.
[[nodiscard]] bool FileTypeChkSub(const std::filesystem::path& path, std::int64_t start,
                                  std::int64_t length, const SurveySettings& settings,
                                  ProgressSink& sink, std::uint16_t& flags,
                                  std::size_t chunkSize = kSurveyChunkSize);
[[nodiscard]] bool FileTypeChkSub(std::istream& in, std::int64_t start, std::int64_t length,
                                  const SurveySettings& settings, ProgressSink& sink, std::uint16_t& flags,
                                  std::size_t chunkSize = kSurveyChunkSize);

// The most of a BinHex data fork decoded for the survey when ChkSize sets no
// limit: the sample is held in memory.
inline constexpr std::int64_t kWrappedSampleLimit = 16 * 1024 * 1024;

// Surveys named files and remembers the last one: a second survey of the same
// path and settings is answered without reading the file only while the file
// is provably the same (device, inode, length, and modification and change
// times to the nanosecond; no user can set a change time).
// What tells one state of a file from another.
struct FileIdentity {
  std::uint64_t device = 0, inode = 0;
  std::int64_t length = 0, modifiedNs = 0, changedNs = 0;
  bool operator==(const FileIdentity&) const = default;
};

class FileSurvey {
 public:
  FileSurvey() = default;
  FileSurvey(const FileSurvey&) = delete;
  FileSurvey& operator=(const FileSurvey&) = delete;

  // Checks `path` (UTF-8), detects a MacBinary header and surveys the data
  // fork or the whole file, cut to ChkSize. Returns the kind;
  // `info` is filled for kMacBinary, `flags` is set for 0 and 1.
  [[nodiscard]] SurveyKind FileTypeChk(const std::string& path, const SurveySettings& settings,
                                ProgressSink& sink, MacBinaryInfo& info, std::uint16_t& flags);

  // The same for a path that is a file's name as it stands, never a pattern
  // or a list: "*", "?" and quotes are characters of the name.
  [[nodiscard]] SurveyKind SurveyFile(const std::string& path, const SurveySettings& settings, ProgressSink& sink,
                               MacBinaryInfo& info, std::uint16_t& flags);

  // ProbeMacWrapper, answered from the last survey while it holds for `path`.
  [[nodiscard]] MacWrapper ProbeWrapper(const std::string& path, WrappedMacFile& info, std::string& error) const;

  // Drops the remembered survey.
  void Forget() noexcept { valid_ = false; }

 private:
  bool valid_ = false;
  std::string path_;
  FileIdentity identity_{};
  SurveySettings settings_{};
  MacBinaryInfo info_{};
  std::uint16_t flags_ = 0;
  SurveyKind result_ = SurveyKind::Ordinary;
  bool probed_ = false;        // the survey looked for a wrapper (it does not in a MacBinary file)
  WrappedMacFile wrapped_{};   // what it found; only an intact wrapper is remembered
};

}  // namespace ferrox
