#pragma once
// Failures of the job and its conversion pass travel as a JobResult; only the
// procedure that owns the user interaction turns one into a message.

namespace ferrox {

enum class JobResult {
  Done = 0,            // done, or nothing to do
  InputNotFound = -1,
  InputEmpty = -2,     // no input path
  OutputEmpty = -3,    // no output path
  Settings = -4,       // the settings make no conversion
  Failed = -5,         // the input could not be read or converted
  Cancelled = -6,
  DiskFull = -7,       // the work area ran out of space
  OutputFailed = -8,   // the new output could not be put in place; the old one stands
};

// The message the user sees for a failure that names no file ("" for Done,
// Cancelled, and the failures whose message names a file or a folder:
// InputNotFound, DiskFull).
[[nodiscard]] const char* JobResultText(JobResult result) noexcept;

}  // namespace ferrox
