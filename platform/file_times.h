#pragma once
// File time stamps in local calendar time, and Macintosh time stamps (seconds
// since 1904-01-01 00:00:00, no zone) turned into calendar time.

#include <filesystem>

namespace ferrox {

// A calendar date and time, local time. Weekday 0 is Sunday.
struct DateTime {
  int Year = 0;
  int Month = 0;        // 1..12
  int Day = 0;          // 1..31
  int Hour = 0;         // 0..23
  int Minute = 0;       // 0..59
  int Second = 0;       // 0..59 (60 only for a leap second reported by the system)
  int Millisecond = 0;  // kept when read from a file; Macintosh dates have none
  int Weekday = 0;      // 0 Sunday .. 6 Saturday

  friend bool operator==(const DateTime&, const DateTime&) = default;
};

struct FileTimes {
  // The file's birth time where the file system keeps one; otherwise the
  // last-write time stands in for it (CreationKnown false).
  DateTime Creation;
  DateTime LastWrite;
  DateTime LastAccess;
  bool CreationKnown = false;
};

// Reads the three times of `path` (symbolic links followed). Returns 0, or -1
// when the file cannot be examined; `times` is then left unchanged.
[[nodiscard]] int GetFileTimes(const std::filesystem::path& path, FileTimes& times);

// Sets the last-write and last-access times of `path` from `times`. Linux
// cannot set a birth time, so `times.Creation` is ignored. Returns 0, or -1
// when the times cannot be set.
[[nodiscard]] int SetFileTimes(const std::filesystem::path& path, const FileTimes& times);
// The same on an open file.
[[nodiscard]] int SetFileTimes(int fd, const FileTimes& times);

// Gives `to` the last-write and last-access times of `from`, to the
// nanosecond. Returns 0, or -1 when either file cannot be reached.
[[nodiscard]] int CopyFileTimes(const std::filesystem::path& from,
                                const std::filesystem::path& to);

// Seconds since 1904-01-01 00:00:00 (Macintosh time; may exceed 2^31) to a
// calendar date-time, without any zone shift. Negative seconds count as 0.
[[nodiscard]] DateTime MacTimeToDate(double seconds);

// Zeller's congruence: 0 Saturday, 1 Sunday, ... 6 Friday.
[[nodiscard]] int DayOfWeek(int year, int month, int day) noexcept;

}  // namespace ferrox
