#pragma once
// The batch driver: turns the two path boxes of the window into one-file jobs.
// It classifies the input entry (one file, folder, wildcard, quoted list),
// checks every pair before any file is touched, forces the batch settings for
// the length of the run, walks files and folders, and hands each pair to
// Ferrox_Click_File through the window's path boxes. Every message goes to the
// window; results are 0, -1 input side, -2 output side, -3 settings, -6
// cancelled. A window that gets -6 from Ferrox_Click_Etc closes itself.

#include <sys/stat.h>

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "app/mac_batch_names.h"

#include "app/ferrox_job.h"

namespace ferrox {

class ConvWindow;
class GaijiTable;
struct ConversionSettings;

namespace entry_mode {
inline constexpr std::uint16_t kOneFile = 0;
inline constexpr std::uint16_t kPending = 1;  // the window's first activation has not run yet
inline constexpr std::uint16_t kFolder = 2;
inline constexpr std::uint16_t kWildcard = 3;
inline constexpr std::uint16_t kList = 4;
}  // namespace entry_mode

// The message for a work area that ran out of space, naming the mount point
// of the file system that holds it.
[[nodiscard]] std::string WorkAreaFullMessage();

// Longest path the driver accepts, in bytes (the Linux PATH_MAX less its NUL).
inline constexpr std::size_t kMaxPathBytes = 4095;

class ConvDriver {
 public:
  ConvDriver(ConvWindow& window, ConversionSettings& settings, const GaijiTable* gaiji);
  ConvDriver(const ConvDriver&) = delete;
  ConvDriver& operator=(const ConvDriver&) = delete;

  // The whole run. With `restore` the user's box texts are put back at the end
  // (the convert button); automatic mode passes false.
  [[nodiscard]] int Ferrox_Click_Etc(bool restore);

  // One file: the pair as it stands in the two boxes, flags from the two check
  // boxes. Shows the job's message, if any.
  [[nodiscard]] int Ferrox_Click_File();

  // The suffix table, for Mac names in folder and wildcard runs (FileMode 512).
  void SetSuffixTable(const SuffixTable* table) noexcept { suffixes_ = table; }

  // Standard input and output as the job reads and writes them (the command line).
  void SetStreams(const StreamEnds* streams) noexcept { streams_ = streams; }

  // The input files a run of the two boxes would convert, in run order, found
  // by the run's own walk without converting, creating or saying anything.
  // Empty when the run would be refused before its first file.
  [[nodiscard]] std::vector<std::string> PlannedInputs();

  // What the last run did with its files, for the window's summary.
  struct Tally {
    int converted = 0;  // converted as text
    int copied = 0;     // copied as they are (a MacBinary wrapper may be taken off)
    int skipped = 0;    // left as they are: no job flag and the output is the input
  };
  [[nodiscard]] const Tally& LastRun() const noexcept { return tally_; }

  [[nodiscard]] std::uint16_t EntryMode() const noexcept { return entryMode_; }
  void SetEntryMode(std::uint16_t mode) noexcept { entryMode_ = mode; }

 private:
  int Ferrox_Click_EtcSub1();
  int Ferrox_Click_EtcSub2(const std::string& input, const std::string& output);
  int Ferrox_Click_EtcSub3(const std::string& inFolder, const std::string& outFolder);
  int CheckPair(const std::string& input, const std::string& output);
  int CheckOutputsDistinct(const std::vector<std::string>& inputs, const std::vector<std::string>& outputs);
  int CheckReplaceable(const std::string& inPath, const std::string& outPath);
  int ConvertPair(const std::string& input, std::string output);
  bool EnsureFolder(const std::string& folder);
  [[nodiscard]] bool DependsOnInFlight(const std::string& inPath, const std::string& outPath) const;
  int FinishInFlight(std::size_t keep, const std::string& current);
  int Report(int code, const std::string& inPath, std::uint16_t flags, bool leftAsItIs);
  [[nodiscard]] bool IsOutputRoot(const std::string& folder) const;
  [[nodiscard]] bool IsOwnBackup(const std::string& name) const;

  ConvWindow& window_;
  ConversionSettings& settings_;
  const GaijiTable* gaiji_;
  std::uint16_t entryMode_ = entry_mode::kOneFile;
  std::string singleIn_;   // the cleaned box texts of a one-pair run
  std::string singleOut_;
  std::string outputRoot_;  // output folder of the current walk; never walked as input
  const SuffixTable* suffixes_ = nullptr;
  const StreamEnds* streams_ = nullptr;
  std::string batchRoot_;   // input folder of the current folder or wildcard walk; "" otherwise
  std::string sidecar_;     // the AppleDouble sidecar of the pair being converted
  RunOutputNames runNames_;
  std::vector<std::string>* planned_ = nullptr;  // set while PlannedInputs walks
  Tally tally_;

  // Outputs of a walk waiting for their flush to disk, oldest first.
  struct InFlight {
    PendingOutput output;
    std::uint16_t flags;
    bool leftAsItIs;
    struct stat oldOutput;  // what lay at the output's name when it was staged; st_ino 0 for nothing
  };
  static constexpr std::size_t kMostInFlight = 16;
  std::deque<InFlight> inFlight_;
};

}  // namespace ferrox
