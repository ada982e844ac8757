#pragma once
// The batch driver: turns the texts of the two path boxes into one-file jobs.
// It classifies the input entry (one file, folder, wildcard, quoted list),
// checks every pair before any file is touched, walks files and folders,
// decides each file's job flags by the one rule of input_proposal.h, and
// hands each plan to the job, telling the window which pair it is. Every
// message goes to the window; the result says where the user should look.

#include <sys/stat.h>

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "analysis/file_survey.h"
#include "app/entry_list.h"
#include "app/ferrox_job.h"
#include "app/flush_pool.h"
#include "app/input_proposal.h"
#include "app/mac_batch_names.h"

namespace ferrox {

class ConvWindow;
class GaijiTable;
struct ConversionSettings;

// How a run ended: done, or stopped by the input side, the output side, the
// settings, or the user. A window that gets Cancelled closes itself.
enum class RunResult { Done = 0, InputSide = -1, OutputSide = -2, SettingsSide = -3, Cancelled = -6 };

// What a run is asked to do: the two box texts, and what the user pinned for
// the job flags of a one-file run and of each file of a folder, wildcard or
// list run (unset: each file's survey decides).
struct RunRequest {
  std::string input;
  std::string output;
  PinnedBoxes oneFile;
  PinnedBoxes batch;
};

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

  // The whole run.
  [[nodiscard]] RunResult Ferrox_Click_Etc(const RunRequest& request);

  // The suffix table, for Mac names in folder and wildcard runs (FileMode 512).
  void SetSuffixTable(const SuffixTable* table) noexcept { suffixes_ = table; }

  // Standard input and output as the job reads and writes them (the command line).
  void SetStreams(const StreamEnds* streams) noexcept { streams_ = streams; }

  // The input files a run of the two box texts would convert, in run order,
  // found by the run's own walk without converting, creating or saying
  // anything. Empty when the run would be refused before its first file.
  [[nodiscard]] std::vector<std::string> PlannedInputs(const std::string& inBox, const std::string& outBox);

  // What the last run did with its files, for the window's summary.
  struct Tally {
    int converted = 0;  // converted as text
    int copied = 0;     // copied as they are (a MacBinary wrapper may be taken off)
    int skipped = 0;    // left as they are: no job flag and the output is the input
  };
  [[nodiscard]] const Tally& LastRun() const noexcept { return tally_; }

 private:
  RunResult Ferrox_Click_EtcSub1(const std::vector<std::string>& inputs, std::vector<std::string> outputs);
  RunResult Ferrox_Click_EtcSub2(const std::string& input, const std::string& output);
  RunResult Ferrox_Click_EtcSub3(const std::string& inFolder, const std::string& outFolder);
  RunResult CheckPair(const std::string& input, const std::string& output);
  RunResult CheckOutputsDistinct(const std::vector<std::string>& inputs, const std::vector<std::string>& outputs);
  RunResult CheckReplaceable(const std::string& inPath, const std::string& outPath);
  RunResult ConvertPair(const std::string& input, std::string output);
  // One file: converts the plan and shows the job's message, if any.
  RunResult Ferrox_Click_File(const JobRequest& request);
  bool EnsureFolder(const std::string& folder);
  [[nodiscard]] bool DependsOnInFlight(const std::string& inPath, const std::string& outPath) const;
  RunResult FinishInFlight(std::size_t keep, const std::string& current);
  RunResult Report(JobResult code, const std::string& inPath, std::uint16_t flags, bool leftAsItIs);
  [[nodiscard]] bool IsOutputRoot(const std::string& folder) const;
  [[nodiscard]] bool IsOwnBackup(const std::string& name) const;

  ConvWindow& window_;
  ConversionSettings& settings_;
  const GaijiTable* gaiji_;
  bool oneFile_ = true;     // the run converts one file: its flags may not both be off
  PinnedBoxes pinned_;      // for each file of this run
  FileSurvey survey_;       // decides the flags
  SilentProgress quiet_;    // its surveys are short; they pump nothing
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
  static constexpr std::size_t kMostInFlight = 2 * kFlushGroup;
  std::deque<InFlight> inFlight_;
};

}  // namespace ferrox
