// File time stamps in local calendar time, and Macintosh time stamps.

#include "platform/file_times.h"

// std
#include <cerrno>
#include <cmath>
#include <ctime>

// POSIX
#include <fcntl.h>
#include <sys/stat.h>

namespace ferrox {
namespace {

bool IsLeapYear(int year) noexcept {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysInMonth(int year, int month) noexcept {
  static constexpr int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// Zeller counts from Saturday; DateTime counts from Sunday.
int WeekdayFromSunday(int year, int month, int day) noexcept {
  return (DayOfWeek(year, month, day) + 6) % 7;
}

DateTime FromTimespec(std::int64_t sec, std::int64_t nsec) {
  const auto t = static_cast<std::time_t>(sec);
  std::tm tm{};
  localtime_r(&t, &tm);
  DateTime d;
  d.Year = tm.tm_year + 1900;
  d.Month = tm.tm_mon + 1;
  d.Day = tm.tm_mday;
  d.Hour = tm.tm_hour;
  d.Minute = tm.tm_min;
  d.Second = tm.tm_sec;
  d.Millisecond = static_cast<int>(nsec / 1000000);
  d.Weekday = tm.tm_wday;
  return d;
}

timespec ToTimespec(const DateTime& d) {
  std::tm tm{};
  tm.tm_year = d.Year - 1900;
  tm.tm_mon = d.Month - 1;
  tm.tm_mday = d.Day;
  tm.tm_hour = d.Hour;
  tm.tm_min = d.Minute;
  tm.tm_sec = d.Second;
  tm.tm_isdst = -1;  // let the zone rules decide, as a local time read back would
  timespec ts{};
  ts.tv_sec = std::mktime(&tm);
  ts.tv_nsec = static_cast<long>(d.Millisecond) * 1000000L;
  return ts;
}

}  // namespace

int GetFileTimes(const std::filesystem::path& path, FileTimes& times) {
  struct statx stx {};
  const unsigned mask = STATX_ATIME | STATX_MTIME | STATX_BTIME;
  if (statx(AT_FDCWD, path.c_str(), AT_STATX_SYNC_AS_STAT, mask, &stx) != 0) {
    return -1;
  }
  FileTimes t;
  t.LastWrite = FromTimespec(stx.stx_mtime.tv_sec, stx.stx_mtime.tv_nsec);
  t.LastAccess = FromTimespec(stx.stx_atime.tv_sec, stx.stx_atime.tv_nsec);
  t.CreationKnown = (stx.stx_mask & STATX_BTIME) != 0;
  t.Creation = t.CreationKnown ? FromTimespec(stx.stx_btime.tv_sec, stx.stx_btime.tv_nsec)
                               : t.LastWrite;
  times = t;
  return 0;
}

int SetFileTimes(const std::filesystem::path& path, const FileTimes& times) {
  const timespec ts[2] = {ToTimespec(times.LastAccess), ToTimespec(times.LastWrite)};
  return utimensat(AT_FDCWD, path.c_str(), ts, 0) == 0 ? 0 : -1;
}

int SetFileTimes(int fd, const FileTimes& times) {
  const timespec ts[2] = {ToTimespec(times.LastAccess), ToTimespec(times.LastWrite)};
  return futimens(fd, ts) == 0 ? 0 : -1;
}

int CopyFileTimes(const std::filesystem::path& from, const std::filesystem::path& to) {
  struct stat st {};
  if (stat(from.c_str(), &st) != 0) {
    return -1;
  }
  const timespec ts[2] = {st.st_atim, st.st_mtim};
  return utimensat(AT_FDCWD, to.c_str(), ts, 0) == 0 ? 0 : -1;
}

DateTime MacTimeToDate(double seconds) {
  if (!(seconds > 0)) {
    seconds = 0;
  }
  auto days = static_cast<std::int64_t>(std::floor(seconds / 86400.0));
  const auto rest = static_cast<std::int64_t>(seconds - static_cast<double>(days) * 86400.0);
  DateTime d;
  d.Second = static_cast<int>(rest % 60);
  d.Minute = static_cast<int>((rest / 60) % 60);
  d.Hour = static_cast<int>(rest / 3600);
  d.Year = 1904;
  while (days >= (IsLeapYear(d.Year) ? 366 : 365)) {
    days -= IsLeapYear(d.Year) ? 366 : 365;
    ++d.Year;
  }
  d.Month = 1;
  while (days >= DaysInMonth(d.Year, d.Month)) {
    days -= DaysInMonth(d.Year, d.Month);
    ++d.Month;
  }
  d.Day = static_cast<int>(days) + 1;
  d.Weekday = WeekdayFromSunday(d.Year, d.Month, d.Day);
  return d;
}

int DayOfWeek(int year, int month, int day) noexcept {
  if (month < 3) {
    month += 12;
    year -= 1;
  }
  const int k = year % 100;
  const int j = year / 100;
  return (day + 13 * (month + 1) / 5 + k + k / 4 + j / 4 + 5 * j) % 7;
}

}  // namespace ferrox
