// File times in local time, and Macintosh seconds as dates.

#include "platform/file_times.h"

#include <gtest/gtest.h>

#include "helpers/scratch_dir.h"

namespace ferrox {
namespace {

TEST(MacTimeToDate, KnownDates) {
  const std::pair<double, DateTime> rows[] = {
      // 1904 is a leap year of 366 days; 2^31 is past the signed range; 2000 is a leap year; 2^32 - 1 is the largest.
      {0, {1904, 1, 1, 0, 0, 0, 0, 5}},        {86399, {1904, 1, 1, 23, 59, 59, 0, 5}},
      {5097600, {1904, 2, 29, 0, 0, 0, 0, 1}}, {31622400, {1905, 1, 1, 0, 0, 0, 0, 0}},
      {2147483648.0, {1972, 1, 19, 3, 14, 8, 0, 3}}, {3061152000.0, {2001, 1, 1, 0, 0, 0, 0, 1}},
      {3124152306.0, {2002, 12, 31, 4, 5, 6, 0, 2}}, {4294967295.0, {2040, 2, 6, 6, 28, 15, 0, 1}},
  };
  for (const auto& [seconds, expected] : rows) {
    EXPECT_EQ(MacTimeToDate(seconds), expected) << seconds;
  }
}

TEST(FileTimes, SetThenGetGivesTheSameLocalTimes) {
  const testing::ScratchDir dir;
  const auto file = dir.Write("a.txt", "abc");
  FileTimes set;
  set.LastWrite = {2003, 5, 4, 9, 5, 0, 0, 0};
  set.LastAccess = {2010, 12, 31, 23, 59, 58, 0, 5};
  ASSERT_EQ(SetFileTimes(file, set), 0);
  FileTimes got;
  ASSERT_EQ(GetFileTimes(file, got), 0);
  EXPECT_EQ(got.LastWrite, set.LastWrite);
  EXPECT_EQ(got.LastAccess, set.LastAccess);
  EXPECT_TRUE(got.CreationKnown || got.Creation == got.LastWrite);

  // A missing file fails and leaves the record alone.
  EXPECT_EQ(GetFileTimes(dir.Path() / "none", got), -1);
  EXPECT_EQ(got.LastWrite, set.LastWrite);
  EXPECT_EQ(SetFileTimes(dir.Path() / "none", set), -1);
}

}  // namespace
}  // namespace ferrox
