#pragma once
// Standard input and standard output as the files the job reads and writes.
//
// Standard input: its head (ChkSize bytes, and at least the 64 KiB in which a
// BinHex file shows itself) is read into an unnamed file in memory that the
// job opens as /proc/self/fd/N. Input that ends within the head is all there.
// Longer input that is neither MacBinary nor in another Mac wrapper is
// followed: the survey reads the head and the pass goes on with the rest
// from the descriptor as it comes, so memory stays flat and the work folder
// is not used. What must be seen whole before it can be read (a wrapper, a
// survey without a limit, a head over 16 MiB) is copied, head first, into an
// unnamed file in the work folder (O_TMPFILE): a pipe cannot be read twice,
// and an unnamed file cannot be left behind by a crash or be opened by
// another user. Where the work folder cannot hold unnamed files, a file in a
// private folder (0700) is used and removed at the end.
//
// Standard output: the job writes straight into it. The name it stands for
// lies in a private folder (0700) in the work folder, where the job puts the
// output it cannot stream (a MacBinary header that keeps the converted
// length); that output is then sent to standard output and removed.

#include <cstdint>
#include <string>

#include "convert/result_code.h"

namespace ferrox::cli {

class StdinFile {
 public:
  StdinFile() = default;
  StdinFile(const StdinFile&) = delete;
  StdinFile& operator=(const StdinFile&) = delete;
  ~StdinFile();

  // Reads standard input's head, and all of it unless `mayFollow` and the
  // head allows. Returns Done, DiskFull, Cancelled (SIGINT) or Failed.
  [[nodiscard]] JobResult Spool(std::int32_t chkSize, bool mayFollow);
  // The path the job reads.
  [[nodiscard]] const std::string& Path() const { return path_; }
  // Whether standard input goes on after Path's data.
  [[nodiscard]] bool Followed() const { return followed_; }

 private:
  JobResult SpoolRest(const std::string& head);

  int fd_ = -1;
  bool followed_ = false;
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
  // Streams an output the job put at Path to standard output and removes
  // it. Returns 0 (also when there is none), or the errno of a failed write
  // (EPIPE when the reader went away).
  [[nodiscard]] int Send();

 private:
  std::string folder_;
  std::string path_;
};

}  // namespace ferrox::cli
