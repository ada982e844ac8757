#pragma once
// What the batch driver and the per-file job tell the window: the pair being
// converted, messages, progress, and the ConvBusy flag it carries (cleared to
// cancel). The driver reads nothing else back. The desktop window implements
// it with Qt widgets; the command line with stderr and SIGINT.

#include <string>

#include "text/progress_sink.h"

namespace ferrox {

struct JobRequest;
struct ChangeCounts;
class ChangeSink;

class ConvWindow : public ProgressSink {
 public:
  // The pair about to be converted and its job flags. The desktop window
  // shows it in its boxes while the run lasts.
  virtual void ShowPair(const JobRequest& request) { (void)request; }

  virtual void SetConvBusy(bool busy) = 0;

  // One message box (exclamation, OK only) or one line on stderr.
  virtual void Message(const std::string& text) = 0;
  // The messages that follow are about the file `path` (the input of the
  // pair being converted); an empty path ends that. A window may name the
  // file with each such message.
  virtual void MessagesAbout(const std::string& path) { (void)path; }
  // A note that needs no answer (the command line's message line); the window shows none.
  virtual void Note(const std::string& /*text*/) {}

  // What the pass dropped or replaced in the file `path`, after converting it
  // when there was anything.
  virtual void Changes(const std::string& path, const ChangeCounts& counts) {
    (void)path;
    (void)counts;
  }
  // Where each change goes as a row, or null.
  [[nodiscard]] virtual ChangeSink* ChangeRows() { return nullptr; }

  // Disables (false) or enables (true) the window's controls around a run.
  virtual void AllEnabled(bool enabled) = 0;
  // Shows or hides the progress panel of one file (percent labels, hourglass).
  virtual void ProgressPanel(bool on) = 0;
};

}  // namespace ferrox
