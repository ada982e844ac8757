#pragma once
// Names of the files a run works with before an output is in place, and the
// lock that tells a later run whether their owner is still alive.
//
// Every name carries the process id and a random token of the run, so two
// runs never share a work file even when their process ids are equal (two
// containers sharing /tmp). The run holds an flock on its lock file in the
// work folder for as long as it lives; a crashed run's lock is free, and the
// next run removes that run's work files (an old output that a crash left in
// a holding folder goes to the trash, never away).
//
//   <work folder>/FRX<pid>-<token>.lock        the run's lock
//   <work folder>/FRX<pid>-<token>-<n>.tmp     the conversion's output
//   <output folder>/.FRX<pid>-<token>-<n>.tmp  a copy staged next to the output
//   <output folder>/.FRX<pid>-<token>-<n>.old/ an old output on its way to the trash

#include <string>
#include <string_view>

namespace ferrox {

// The work folder: TMP, else TMPDIR, else /tmp, always ending in "/".
[[nodiscard]] std::string WorkFolder();

enum class WorkName { kNone, kLock, kWorkFile, kStaged, kHolding };

// What kind of work name `name` (a bare file name) is.
[[nodiscard]] WorkName ClassifyWorkName(std::string_view name) noexcept;

// The run's own prefix "FRX<pid>-<token>"; takes the lock on first use.
[[nodiscard]] const std::string& RunPrefix();

// A fresh name "FRX<pid>-<token>-<n>" (without folder and suffix).
[[nodiscard]] std::string NextWorkStem();

// Removes the work files of dead runs of this user from `folder`. Holding
// folders go to the trash with what they hold.
void SweepDeadWorkFiles(const std::string& folder);

// SweepDeadWorkFiles once per folder until ForgetSweptFolders (a new run).
void SweepDeadWorkFilesOnce(const std::string& folder);
void ForgetSweptFolders();

}  // namespace ferrox
