#pragma once
// The window of the command line: messages are lines on stderr, progress is
// shown only when stderr is a terminal, and SIGINT clears ConvBusy.

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/conv_window.h"

namespace ferrox::cli {

// `text` as it may reach a terminal: control characters (a Mac name can hold
// ESC sequences) are shown as \xNN.
[[nodiscard]] std::string ShownText(std::string_view text);

class CliWindow final : public ConvWindow {
 public:
  CliWindow();

  void ShowPair(const JobRequest&) override { ++pairsStarted_; }
  void SetConvBusy(bool busy) override { busy_ = busy; }
  [[nodiscard]] bool ConvBusy() const override;
  void PumpEvents() override {}
  void ShowProgress(std::int64_t done, std::int64_t total) override;

  void Message(const std::string& text) override;
  void MessagesAbout(const std::string& path) override { about_ = path; }
  void Note(const std::string& text) override { Message(text); }
  void AllEnabled(bool) override {}
  void ProgressPanel(bool on) override;

  // One line per file with changes; the rows go to `rows` when it is set.
  void Changes(const std::string& path, const ChangeCounts& counts) override;
  [[nodiscard]] ChangeSink* ChangeRows() override { return rows_; }
  void SetChangeRows(ChangeSink* rows) { rows_ = rows; }

  // Messages show `path` as `shown` (standard input and output as "-").
  void ShowPathAs(const std::string& path, const std::string& shown) { shownAs_.emplace_back(path, shown); }

  // Pairs the driver has handed to the job in this run.
  [[nodiscard]] int PairsStarted() const { return pairsStarted_; }

  // `path` as the messages show it.
  [[nodiscard]] std::string Shown(const std::string& path) const;

  // Removes a progress line from the terminal.
  void ClearProgressLine();

  // Installs the SIGINT handler: the first Ctrl-C cancels, a second one ends
  // the program at once.
  // Ctrl-C (SIGINT), SIGTERM and SIGHUP cancel the run; a second one ends
  // the program at once.
  static void CatchInterrupt();
  [[nodiscard]] static bool Interrupted();

 private:
  bool busy_ = false;
  bool terminal_ = false;
  bool lineShown_ = false;
  int lastPercent_ = -1;
  int filesDone_ = 0;
  int pairsStarted_ = 0;
  std::vector<std::pair<std::string, std::string>> shownAs_;
  std::string about_;  // the file the messages are about, named at the start of each line
  ChangeSink* rows_ = nullptr;
};

}  // namespace ferrox::cli
