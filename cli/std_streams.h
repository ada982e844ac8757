#pragma once
// Standard input and standard output as the files the job reads and writes.
//
// Standard input is copied, in blocks, into an unnamed file in the work
// folder (O_TMPFILE) that the job opens as /proc/self/fd/N: a pipe cannot be
// read twice (the survey, then the pass), the copy keeps memory flat, and an
// unnamed file cannot be left behind by a crash or be opened by another user.
// Where the work folder cannot hold unnamed files, a file in a private
// folder (0700) is used and removed at the end.
//
// Standard output: the job writes its output into a private folder (0700) in
// the work folder; the finished output is then streamed to standard output
// and removed.

#include <string>

#include "convert/result_code.h"

namespace ferrox::cli {

class StdinFile {
 public:
  StdinFile() = default;
  StdinFile(const StdinFile&) = delete;
  StdinFile& operator=(const StdinFile&) = delete;
  ~StdinFile();

  // Copies standard input. Returns Done, DiskFull, Cancelled (SIGINT) or Failed.
  [[nodiscard]] JobResult Spool();
  // The path the job reads.
  [[nodiscard]] const std::string& Path() const { return path_; }

 private:
  int fd_ = -1;
  std::string path_;
  std::string folder_;  // the fallback's private folder and file, removed at the end
  std::string named_;
};

class StdoutFile {
 public:
  StdoutFile() = default;
  StdoutFile(const StdoutFile&) = delete;
  StdoutFile& operator=(const StdoutFile&) = delete;
  ~StdoutFile();

  // Makes the private folder; false when the work folder does not allow it.
  [[nodiscard]] bool Create();
  // The output path the job writes.
  [[nodiscard]] const std::string& Path() const { return path_; }
  // Streams the finished output to standard output and removes it. Returns
  // 0, or the errno of a failed write (EPIPE when the reader went away).
  [[nodiscard]] int Send();

 private:
  std::string folder_;
  std::string path_;
};

}  // namespace ferrox::cli
