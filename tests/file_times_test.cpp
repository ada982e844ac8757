// File times in local time, Macintosh seconds, and the attribute word.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include "helpers/scratch_dir.h"
#include "platform/file_attributes.h"
#include "platform/file_times.h"

namespace ferrox {
namespace {

DateTime Date(int y, int mo, int d, int h, int mi, int s, int weekday) {
  DateTime t;
  t.Year = y;
  t.Month = mo;
  t.Day = d;
  t.Hour = h;
  t.Minute = mi;
  t.Second = s;
  t.Weekday = weekday;
  return t;
}

TEST(MacTimeToDate, KnownDates) {
  struct Row {
    double seconds;
    DateTime expected;
  };
  const Row rows[] = {
      {0, Date(1904, 1, 1, 0, 0, 0, 5)},
      {86399, Date(1904, 1, 1, 23, 59, 59, 5)},
      {5097600, Date(1904, 2, 29, 0, 0, 0, 1)},      // 1904 is a leap year
      {31622400, Date(1905, 1, 1, 0, 0, 0, 0)},      // 366 days
      {2147483648.0, Date(1972, 1, 19, 3, 14, 8, 3)},  // past the signed 32-bit range
      {3061152000.0, Date(2001, 1, 1, 0, 0, 0, 1)},  // after 2000, a leap year divisible by 400
      {3124152306.0, Date(2002, 12, 31, 4, 5, 6, 2)},
      {4294967295.0, Date(2040, 2, 6, 6, 28, 15, 1)},  // the largest header value
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.seconds);
    EXPECT_EQ(MacTimeToDate(row.seconds), row.expected);
  }
}

TEST(DayOfWeek, ZellerCountsFromSaturday) {
  EXPECT_EQ(DayOfWeek(1904, 1, 1), 6);    // Friday; January counts in the year before
  EXPECT_EQ(DayOfWeek(2000, 2, 29), 3);   // Tuesday
  EXPECT_EQ(DayOfWeek(2003, 5, 4), 1);    // Sunday
  EXPECT_EQ(DayOfWeek(2024, 3, 2), 0);    // Saturday
  EXPECT_EQ(DayOfWeek(1900, 3, 1), 5);    // Thursday; 1900 is not a leap year
}

TEST(FileTimes, SetThenGetGivesTheSameLocalTimes) {
  testing::ScratchDir dir;
  const auto file = dir.Write("a.txt", "abc");
  FileTimes set;
  set.LastWrite = Date(2003, 5, 4, 9, 5, 0, 0);
  set.LastAccess = Date(2010, 12, 31, 23, 59, 58, 5);
  ASSERT_EQ(SetFileTimes(file, set), 0);

  FileTimes got;
  ASSERT_EQ(GetFileTimes(file, got), 0);
  EXPECT_EQ(got.LastWrite, set.LastWrite);
  EXPECT_EQ(got.LastAccess, set.LastAccess);
  if (!got.CreationKnown) {
    EXPECT_EQ(got.Creation, got.LastWrite);
  }
}

TEST(FileTimes, MissingFileFailsAndLeavesTheRecordAlone) {
  testing::ScratchDir dir;
  FileTimes times;
  times.LastWrite.Year = 1999;
  EXPECT_EQ(GetFileTimes(dir.Path() / "none", times), -1);
  EXPECT_EQ(times.LastWrite.Year, 1999);
  EXPECT_EQ(SetFileTimes(dir.Path() / "none", times), -1);
}

TEST(FileTimes, CopyKeepsNanoseconds) {
  testing::ScratchDir dir;
  const auto from = dir.Write("from", "x");
  const auto to = dir.Write("to", "y");
  const timespec ts[2] = {{1000000000, 123456789}, {1100000000, 987654321}};
  ASSERT_EQ(utimensat(AT_FDCWD, from.c_str(), ts, 0), 0);
  ASSERT_EQ(CopyFileTimes(from, to), 0);
  struct stat st {};
  ASSERT_EQ(stat(to.c_str(), &st), 0);
  EXPECT_EQ(st.st_mtim.tv_sec, 1100000000);
  EXPECT_EQ(st.st_mtim.tv_nsec, 987654321);
  EXPECT_EQ(st.st_atim.tv_nsec, 123456789);
}

TEST(FileAttr, WordFromTypeNameAndPermissions) {
  testing::ScratchDir dir;
  const auto plain = dir.Write("plain.txt", "");
  const auto hidden = dir.Write(".hidden", "");
  std::filesystem::create_directory(dir.Path() / "sub");
  std::filesystem::create_directory(dir.Path() / ".sub");
  chmod(dir.Write("ro.txt", "").c_str(), 0444);

  EXPECT_EQ(GetFileAttr(plain), file_attr::kArchive);
  EXPECT_EQ(GetFileAttr(hidden), file_attr::kArchive | file_attr::kHidden);
  EXPECT_EQ(GetFileAttr(dir.Path() / "sub"), file_attr::kFolder);
  EXPECT_EQ(GetFileAttr(dir.Path() / ".sub"), file_attr::kFolder | file_attr::kHidden);
  EXPECT_EQ(GetFileAttr(dir.Path() / "ro.txt"), file_attr::kArchive | file_attr::kReadOnly);
  EXPECT_EQ(GetFileAttr(dir.Path() / "none"), std::nullopt);
}

TEST(FileAttr, ReadOnlyBitMapsToWritePermissions) {
  testing::ScratchDir dir;
  const auto file = dir.Write("f", "");
  chmod(file.c_str(), 0664);
  ASSERT_TRUE(SetFileAttr(file, file_attr::kReadOnly | file_attr::kArchive));
  struct stat st {};
  stat(file.c_str(), &st);
  EXPECT_EQ(st.st_mode & 07777, 0444u);

  ASSERT_TRUE(SetFileAttr(file, file_attr::kNormal));
  stat(file.c_str(), &st);
  EXPECT_EQ(st.st_mode & 07777, 0644u);
  EXPECT_FALSE(SetFileAttr(dir.Path() / "none", 0));
}

TEST(FileAttr, CopyPermissions) {
  testing::ScratchDir dir;
  const auto from = dir.Write("from", "");
  const auto to = dir.Write("to", "");
  chmod(from.c_str(), 0750);
  ASSERT_TRUE(CopyFilePermissions(from, to));
  struct stat st {};
  stat(to.c_str(), &st);
  EXPECT_EQ(st.st_mode & 07777, 0750u);
}

}  // namespace
}  // namespace ferrox
