// The file survey: flag words of small files, chunking, the ranges that
// FileTypeChk picks, and its memory of the last survey.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <random>
#include <string>
#include <string_view>

#include "analysis/file_survey.h"
#include "helpers/macbinary_builder.h"
#include "helpers/scratch_dir.h"

namespace ferrox {
namespace {

using namespace std::string_view_literals;

constexpr std::uint16_t kStrictFull = 4;      // full surveyor, gaiji are not text
constexpr std::uint16_t kPermissiveFull = 12; // full surveyor, gaiji count as text
constexpr std::uint16_t kStrictLight = 0;
constexpr std::uint16_t kPermissiveLight = 8;

std::uint16_t Survey(const testing::ScratchDir& dir, std::string_view bytes, std::uint16_t convMode,
                     std::int16_t binRate = 3, std::size_t chunkSize = kSurveyChunkSize) {
  const auto file = dir.Write("sample", bytes);
  SilentProgress sink;
  std::uint16_t flags = 0xFFFF;
  const SurveySettings settings{0, binRate, convMode};
  EXPECT_TRUE(FileTypeChkSub(file, 0, static_cast<std::int64_t>(bytes.size()), settings, sink,
                             flags, chunkSize));
  return flags;
}

struct FlagRow {
  const char* name;
  std::string_view bytes;
  std::uint16_t convMode;
  std::uint16_t expected;
};

// The last two bytes of a range are never classified, so most samples end in
// three bytes of padding.
constexpr FlagRow kFlagRows[] = {
    {"empty", "", kPermissiveFull, 0x0000},
    {"one byte", "a", kPermissiveFull, 0x0100},
    {"two bytes ending in EOF", "a\x1a", kPermissiveFull, 0x0180},
    {"line end in the last two bytes is not seen", "abc\r\n", kPermissiveFull, 0x0100},
    {"ASCII CR LF, EOF at the end", "abc\r\nxyz\x1a", kPermissiveFull, 0x0190},
    {"Shift JIS CR LF", "\x82\xa0\x82\xa2\r\nabc", kPermissiveFull, 0x0112},
    {"Shift JIS CR LF, light", "\x82\xa0\x82\xa2\r\nabc", kStrictLight, 0x0112},
    {"Shift JIS katakana with CR and LF", "\xb1\xb2\r\xb3\nabc", kStrictLight, 0x0162},
    {"EUC with all three line ends", "\xb4\xc1\xa1\xfe\r\n\xb4\xc1\n\xb4\xc1\rabc",
     kStrictFull, 0x0878},
    {"EUC is binary to the light surveyor", "\xb4\xc1\xa1\xfe\r\n\xb4\xc1\n\xb4\xc1\rabc",
     kStrictLight, 0x0000},
    {"JIS kanji-in first", "\x1b$B\x30\x21\x1b(B\r\nabc", kPermissiveFull, 0x0114},
    {"JIS kanji-out first", "\x1b(Babc\r\nxyz", kPermissiveFull, 0x0214},
    {"JIS kana-in first", "\x1b(I\x31\x32\x1b(Babc", kPermissiveFull, 0x0404},
    {"JIS is binary to the light surveyor", "\x1b$B\x30\x21\x1b(B\r\nabc", kPermissiveLight,
     0x0000},
    {"Shift JIS gaiji, permissive", "\xf0\x40\r\nabc", kPermissiveFull, 0x1112},
    {"Shift JIS gaiji, permissive light", "\xf0\x40\r\nabc", kPermissiveLight, 0x1112},
    {"Shift JIS gaiji, strict", "\xf0\x40\r\nabc", kStrictFull, 0x0000},
    {"NUL is binary", "ab\x00\x01\x02xyz"sv, kPermissiveFull, 0x0000},
};

TEST(FileTypeChkSub, FlagWords) {
  testing::ScratchDir dir;
  for (const FlagRow& row : kFlagRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Survey(dir, row.bytes, row.convMode), row.expected);
  }
}

TEST(BinaryAllowance, RoundsHalfToEven) {
  EXPECT_EQ(BinaryAllowance(50, 3), 2);     // 1.5
  EXPECT_EQ(BinaryAllowance(250, 1), 2);    // 2.5
  EXPECT_EQ(BinaryAllowance(350, 1), 4);    // 3.5
  EXPECT_EQ(BinaryAllowance(10000, 3), 300);
  EXPECT_EQ(BinaryAllowance(99, 0), 0);
  EXPECT_EQ(BinaryAllowance(5'000'000'000, 3), 150'000'000);
}

// 100 bytes of text with `binary` NUL bytes spread over it.
std::string TextWithNuls(int binary) {
  std::string s(100, 'a');
  s[40] = '\r';
  s[41] = '\n';
  for (int k = 0; k < binary; ++k) {
    s[static_cast<std::size_t>(10 + 20 * k)] = '\0';
  }
  return s;
}

TEST(FileTypeChkSub, AllowanceToleratesExactlyThatManyBinaryBytes) {
  testing::ScratchDir dir;
  for (const std::uint16_t mode : {kPermissiveFull, kStrictLight}) {
    SCOPED_TRACE(mode);
    EXPECT_EQ(Survey(dir, TextWithNuls(3), mode, 3), 0x0111);
    EXPECT_EQ(Survey(dir, TextWithNuls(4), mode, 3), 0x0000);
    EXPECT_EQ(Survey(dir, TextWithNuls(1), mode, 0), 0x0000);
    EXPECT_EQ(Survey(dir, TextWithNuls(0), mode, 0), 0x0110);
  }
}

// Long samples whose characters and line ends fall on every chunk boundary.
std::string Repeat(std::string_view unit, std::size_t total) {
  std::string s;
  while (s.size() < total) {
    s += unit;
  }
  return s;
}

// Every chunk size from 4 to 199 puts the boundaries at every offset of the
// repeated units. (A chunk of 3 examines a single position: there an EUC
// stretch can never be told from Shift JIS, since the bytes that settle it
// lie in the next chunk.)
TEST(FileTypeChkSub, ChunkBoundariesDoNotChangeTheFlagWord) {
  struct Sample {
    const char* name;
    std::string bytes;
    std::uint16_t convMode;
  };
  const Sample samples[] = {
      {"Shift JIS, CR LF", Repeat("\x93\xfa\x96\x7b\x8c\xea ab\xb1\r\n", 1500), kPermissiveFull},
      {"Shift JIS with gaiji, CR", Repeat("\x82\xa0\xf0\x40 x\r", 1500), kPermissiveFull},
      {"Shift JIS, light", Repeat("\x93\xfa\x96\x7b\xb1\xb2\r\n", 1500), kStrictLight},
      {"EUC, LF", Repeat("\xc6\xfc\xcb\xdc\xb8\xec abc\n", 1500), kStrictFull},
      {"EUC, mixed ends", Repeat("\xb4\xc1\xa1\xfe\r\n\xb4\xc1\n", 1500), kStrictFull},
      {"JIS, CR LF", Repeat("\x1b$B\x46\x7c\x4b\x5c\x1b(B ab\r\n", 1500), kPermissiveFull},
      {"JIS kana", Repeat("\x1b(I\x31\x32\x1b(B a\r\n", 1500), kPermissiveFull},
      {"text with tolerated binary",
       Repeat("abcdefghij\x01klmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVW\r\n", 1500), kPermissiveFull},
      {"text ending in EOF", Repeat("ab\r\n", 1499) + "\x1a", kStrictLight},
  };
  testing::ScratchDir dir;
  SilentProgress sink;
  for (const Sample& sample : samples) {
    SCOPED_TRACE(sample.name);
    const auto file = dir.Write("sample", sample.bytes);
    const auto length = static_cast<std::int64_t>(sample.bytes.size());
    const SurveySettings settings{0, 3, sample.convMode};
    std::uint16_t whole = 0;
    ASSERT_TRUE(FileTypeChkSub(file, 0, length, settings, sink, whole, sample.bytes.size()));
    ASSERT_NE(whole, 0);
    for (std::size_t chunk = 4; chunk < 200; ++chunk) {
      SCOPED_TRACE(chunk);
      std::uint16_t flags = 0;
      ASSERT_TRUE(FileTypeChkSub(file, 0, length, settings, sink, flags, chunk));
      EXPECT_EQ(flags, whole);
    }
  }
}

// Seeded random bytes, mostly from the text ranges: whatever the surveyor
// and chunking, the word is 0 or carries exactly one first-code mark.
TEST(FileTypeChkSub, RandomInputGivesOneMarkOrBinary) {
  std::mt19937 rng(20240601);
  const std::uint8_t pool[] = {0x0D, 0x0A, 0x1B, 0x24, 0x28, 0x42, 0x49, 0x0E, 0x0F, 0x1A,
                               0x82, 0xA0, 0xA4, 0xB4, 0xC1, 0x8E, 0xF0, 0xFE, 0x41, 0x21};
  testing::ScratchDir dir;
  SilentProgress sink;
  for (int round = 0; round < 200; ++round) {
    std::string bytes(rng() % 300, '\0');
    for (char& c : bytes) {
      c = static_cast<char>(pool[rng() % sizeof pool]);
    }
    const auto file = dir.Write("r", bytes);
    const std::uint16_t mode = static_cast<std::uint16_t>((rng() % 4) * 4);
    std::uint16_t flags = 0;
    ASSERT_TRUE(FileTypeChkSub(file, 0, static_cast<std::int64_t>(bytes.size()),
                               {0, 50, mode}, sink, flags, 3 + rng() % 40));
    const unsigned marks = flags & 0x0F00;
    EXPECT_TRUE(flags == 0 || marks == 0x100 || marks == 0x200 || marks == 0x400 ||
                marks == 0x800)
        << std::hex << flags;
  }
}

TEST(FileTypeChkSub, CrLfSplitAcrossChunksIsOnePair) {
  testing::ScratchDir dir;
  // With chunks of 5, the CR is the last byte examined... of no chunk: it is
  // carried and seen with its LF at the start of the next one.
  EXPECT_EQ(Survey(dir, "abcd\r\nefgh", kPermissiveFull, 3, 5), 0x0110);
  EXPECT_EQ(Survey(dir, "abcd\r\nefgh", kStrictLight, 3, 5), 0x0110);
}

TEST(FileTypeChkSub, OffsetsBeyondFourGigabytes) {
  testing::ScratchDir dir;
  const auto file = dir.Path() / "big";
  const std::int64_t at = (std::int64_t{1} << 32) + 1000;
  const std::string text = "\x82\xa0\r\nab\x1a";
  {
    const int fd = open(file.c_str(), O_CREAT | O_WRONLY, 0644);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(pwrite(fd, text.data(), text.size(), at), static_cast<ssize_t>(text.size()));
    close(fd);
  }
  SilentProgress sink;
  std::uint16_t flags = 0;
  ASSERT_TRUE(FileTypeChkSub(file, at, static_cast<std::int64_t>(text.size()),
                             {0, 3, kPermissiveFull}, sink, flags));
  EXPECT_EQ(flags, 0x0192);
}

// Counts the event pumps, to see whether a survey read the file.
class CountingSink final : public ProgressSink {
 public:
  void PumpEvents() override { ++pumps; }
  [[nodiscard]] bool ConvBusy() const override { return true; }
  void ShowProgress(std::int64_t, std::int64_t) override {}
  int pumps = 0;
};

TEST(FileTypeChk, PathsThatAreNotOneFile) {
  testing::ScratchDir dir;
  const std::string d = dir.Path().string();
  mkfifo((d + "/fifo").c_str(), 0644);
  struct Row {
    std::string path;
    int expected;
  };
  const Row rows[] = {
      {"relative.txt", survey_result::kUnreadable},
      {"", survey_result::kUnreadable},
      {d + "/missing.txt", survey_result::kUnreadable},
      {d + "/fifo", survey_result::kUnreadable},
      {d + "/*.txt", survey_result::kWildcard},
      {d + "/a?.txt", survey_result::kWildcard},
      {"  \"" + d + "/a\" \"" + d + "/b\"", survey_result::kQuoted},
      {d, survey_result::kFolder},
      {d + "/", survey_result::kFolder},
  };
  FileSurvey survey;
  CountingSink sink;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.path);
    MacBinaryInfo info;
    std::uint16_t flags = 0;
    EXPECT_EQ(survey.FileTypeChk(row.path, {}, sink, info, flags), row.expected);
  }
}

TEST(FileTypeChk, MacBinarySurveysTheDataForkOnly) {
  testing::ScratchDir dir;
  const std::string data = "abc\r\nxyz";
  const std::string resource(300, '\0');
  const auto file = dir.Write(
      "mac.bin",
      testing::MacBinaryHeaderBytes({"Note", "TEXT", "ttxt", 8, 300, 0, 0}) + data + resource);
  FileSurvey survey;
  SilentProgress sink;
  MacBinaryInfo info;
  std::uint16_t flags = 0;
  ASSERT_EQ(survey.FileTypeChk(file.string(), {10000, 0, kPermissiveFull}, sink, info, flags),
            survey_result::kMacBinary);
  EXPECT_EQ(info.FileName, "Note");
  EXPECT_EQ(flags, 0x0110);

  const auto empty = dir.Write(
      "empty.bin", testing::MacBinaryHeaderBytes({"E", "TEXT", "ttxt", 0, 3, 0, 0}) + "\0\0\0");
  ASSERT_EQ(survey.FileTypeChk(empty.string(), {}, sink, info, flags), survey_result::kMacBinary);
  EXPECT_EQ(flags, 0);
}

TEST(FileTypeChk, ChkSizeCutsTheRangeAndTheEofTestLooksAtTheCut) {
  testing::ScratchDir dir;
  std::string bytes(400, 'a');
  bytes[50] = '\n';
  bytes[99] = '\x1a';
  bytes[200] = '\0';  // beyond the cut
  const auto file = dir.Write("cut.txt", bytes);
  FileSurvey survey;
  SilentProgress sink;
  MacBinaryInfo info;
  std::uint16_t flags = 0;
  EXPECT_EQ(survey.FileTypeChk(file.string(), {100, 0, kPermissiveFull}, sink, info, flags),
            survey_result::kOrdinary);
  EXPECT_EQ(flags, 0x01C0);
  EXPECT_EQ(survey.FileTypeChk(file.string(), {0, 0, kPermissiveFull}, sink, info, flags),
            survey_result::kOrdinary);
  EXPECT_EQ(flags, 0);  // no limit: the NUL is seen
}

TEST(FileTypeChk, RemembersTheLastSurveyUntilTheFileChanges) {
  testing::ScratchDir dir;
  const auto file = dir.Write("f.txt", "abc\r\nxyz");
  const auto stamp = dir.Write("stamp", "");
  ASSERT_EQ(CopyFileTimes(file, stamp), 0);
  FileSurvey survey;
  CountingSink sink;
  MacBinaryInfo info;
  std::uint16_t flags = 0;
  const SurveySettings settings{10000, 3, kPermissiveFull};
  ASSERT_EQ(survey.FileTypeChk(file.string(), settings, sink, info, flags), 0);
  EXPECT_EQ(flags, 0x0110);
  EXPECT_EQ(sink.pumps, 1);

  // Same length and time: answered from memory, even though the bytes differ.
  dir.Write("f.txt", "abc\nxyz\n");
  ASSERT_EQ(CopyFileTimes(stamp, file), 0);
  ASSERT_EQ(survey.FileTypeChk(file.string(), settings, sink, info, flags), 0);
  EXPECT_EQ(flags, 0x0110);
  EXPECT_EQ(sink.pumps, 1);

  // Other settings, then another time: surveyed again.
  ASSERT_EQ(survey.FileTypeChk(file.string(), {10000, 3, kStrictLight}, sink, info, flags), 0);
  EXPECT_EQ(flags, 0x0140);
  EXPECT_EQ(sink.pumps, 2);
  const timespec later[2] = {{1, 0}, {2000000000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), later, 0), 0);
  ASSERT_EQ(survey.FileTypeChk(file.string(), settings, sink, info, flags), 0);
  EXPECT_EQ(flags, 0x0140);
  EXPECT_EQ(sink.pumps, 3);

  survey.Forget();
  ASSERT_EQ(survey.FileTypeChk(file.string(), settings, sink, info, flags), 0);
  EXPECT_EQ(sink.pumps, 4);
}

}  // namespace
}  // namespace ferrox
