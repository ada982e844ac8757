#pragma once
// How long work talks to whoever shows it: progress, the event pump and the
// cancel flag. The desktop window and the command line each implement it.

#include <cstdint>

namespace ferrox {

class ProgressSink {
 public:
  virtual ~ProgressSink() = default;

  // Lets pending window events run. The close handler may clear ConvBusy here.
  virtual void PumpEvents() = 0;

  // True while a run may go on; cleared when the user cancels.
  [[nodiscard]] virtual bool ConvBusy() const = 0;

  // Progress of the current file, before each block: done of total bytes
  // (total -1: a stream whose length is not known yet).
  virtual void ShowProgress(std::int64_t done, std::int64_t total) = 0;
};

// For callers that show nothing and never cancel (tests, one-shot tools).
class SilentProgress final : public ProgressSink {
 public:
  void PumpEvents() override {}
  [[nodiscard]] bool ConvBusy() const override { return true; }
  void ShowProgress(std::int64_t, std::int64_t) override {}
};

}  // namespace ferrox
