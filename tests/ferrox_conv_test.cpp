// The conversion pass on files: block boundaries, header, end-of-file byte,
// cancel and full disk.

#include <gtest/gtest.h>

#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "convert/ferrox_conv.h"
#include "convert/gaiji_table.h"
#include "convert/result_code.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;
using Bytes = std::string;

constexpr std::uint16_t kSjisFile = 0x0112;  // Shift JIS, CR LF, Shift JIS mark
constexpr std::uint16_t kJisFile = 0x0314;   // JIS and Shift JIS, JIS kanji mark
constexpr std::uint16_t kEucFile = 0x0848;   // EUC, LF, EUC mark

class TempDir {
 public:
  TempDir() {
    static int counter = 0;
    path_ = fs::temp_directory_path() /
            ("ferrox-conv-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
    fs::create_directories(path_);
  }
  ~TempDir() {
    std::error_code ec;
    fs::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  [[nodiscard]] const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

void WriteFile(const fs::path& path, const Bytes& data) {
  std::ofstream f(path, std::ios::binary);
  f.write(data.data(), static_cast<std::streamsize>(data.size()));
}

Bytes ReadFile(const fs::path& path) {
  std::ifstream f(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}

struct Outcome {
  int result = 0;
  Bytes output;
  bool exists = false;
};

// Converts `input` with the given block size and returns what the pass wrote.
Outcome Convert(const Bytes& input, std::uint16_t convMode, std::uint16_t typeFlags,
            std::int16_t lineSize = 0, std::int32_t blockSize = kConvBlockSize,
            std::uint16_t opFlags = kOpText) {
  TempDir dir;
  const fs::path in = dir.path() / "in";
  const fs::path out = dir.path() / "out";
  WriteFile(in, input);
  ConvOptions options;
  options.convMode = convMode;
  options.lineSize = lineSize;
  SilentProgress progress;
  Outcome run;
  run.result = detail::FerroxConvBlocks(out.string(), in.string(), 0,
                                        static_cast<std::int64_t>(input.size()), opFlags,
                                        typeFlags, false, options, progress, blockSize);
  run.exists = fs::exists(out);
  if (run.exists) run.output = ReadFile(out);
  return run;
}

// A piece of input and what it becomes, the same wherever it stands.
struct Unit {
  Bytes in;
  Bytes out;
};

// Text made of units in random order, with its expected conversion.
std::pair<Bytes, Bytes> Compose(const std::vector<Unit>& units, std::size_t count, unsigned seed) {
  std::mt19937 rng(seed);
  std::uniform_int_distribution<std::size_t> pick(0, units.size() - 1);
  std::pair<Bytes, Bytes> text;
  for (std::size_t k = 0; k < count; ++k) {
    const Unit& u = units[pick(rng)];
    text.first += u.in;
    text.second += u.out;
  }
  return text;
}

const std::vector<Unit> kSjisUnits = {
    {"Ferrox ", "Ferrox "},       {"\r\n", "\r\n"},           {"\n", "\r\n"},
    {"\rx", "\r\nx"},             {"\x82\xA0\x82\xA2", "\x82\xA0\x82\xA2"},
    {"\x88\x9F\x8E\xF0", "\x88\x9F\x8E\xF0"},                  {"\x81\x42", "\x81\x42"},
    {"\t", "\t"},                 {"\x1A", ""},               {Bytes(1, '\0'), ""},
    {"\x87\x40", "\x87\x40"},     {"\xB1\xB2", "\xB1\xB2"},   {Bytes(19, '\0'), ""},
};

const std::vector<Unit> kJisUnits = {
    {"abc ", "abc "},
    {"\n", "\r\n"},
    {"\r\n", "\r\n"},
    {"\x1B$B\x30\x21\x24\x22\x1B(B", "\x88\x9F\x82\xA0"},
    {"\x1B$@\x21\x21\x1B(J", "\x81\x40"},
    {"\x0E\x31\x32\x0F", "\xB1\xB2"},
    {"\x1B(I\x31\x5F\x1B(B", "\xB1\xDF"},
    {"\x1B$B\x30\x21\r\n\x1B(B", "\x88\x9F"},
    {Bytes("\x1B$B\x30\x21", 5) + Bytes(12, '\0') + "\x24\x22\x1B(B", "\x88\x9F\x82\xA0"},
};

const std::vector<Unit> kEucUnits = {
    {"xyz", "xyz"},
    {"\n", "\r\n"},
    {"\xA4\xA2\xA4\xA4", "\x82\xA0\x82\xA2"},
    {"\xB0\xA1", "\x88\x9F"},
    {"\x8E\xB1", "\xB1"},
    {" ", " "},
};

TEST(FerroxConv, OutputDoesNotDependOnBlockBoundaries) {
  struct Case {
    const char* name;
    const std::vector<Unit>* units;
    std::uint16_t convMode;
    std::uint16_t typeFlags;
  };
  const Case cases[] = {
      {"Shift JIS, full converter", &kSjisUnits, 12, kSjisFile},
      {"Shift JIS, light converter", &kSjisUnits, 8, kSjisFile},
      {"JIS", &kJisUnits, 12, kJisFile},
      {"EUC", &kEucUnits, 12, kEucFile},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto [input, expected] = Compose(*c.units, 3000, 7);
    for (std::int32_t blockSize : {3, 4, 5, 7, 64, 1000, kConvBlockSize}) {
      SCOPED_TRACE(blockSize);
      const Outcome run = Convert(input, c.convMode, c.typeFlags, 0, blockSize);
      ASSERT_EQ(run.result, 0);
      ASSERT_EQ(run.output, expected);
    }
  }
}

// Folding the whole expected text at once is what block-wise folding must give.
Bytes FoldWhole(const Bytes& text, std::size_t lineSize) {
  Bytes out;
  std::size_t c = 0;
  for (std::size_t j = 0; j < text.size(); ++j) {
    const auto b = static_cast<std::uint8_t>(text[j]);
    if (b == 0x0D) {
      out += "\r\n";
      ++j;
      c = 0;
      continue;
    }
    const bool lead = (b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xFC);
    const std::size_t width = lead && j + 1 < text.size() ? 2 : 1;
    if (c + width > lineSize) {
      out += "\r\n";
      c = 0;
    }
    out += text.substr(j, width);
    c += width;
    j += width - 1;
  }
  return out;
}

TEST(FerroxConv, FoldsTheSameAcrossBlocks) {
  const std::vector<Unit> units = {{"abcdefg", "abcdefg"}, {"\x82\xA0", "\x82\xA0"}, {"\n", "\r\n"}};
  const auto [input, converted] = Compose(units, 2000, 3);
  const Bytes expected = FoldWhole(converted, 9);
  for (std::int32_t blockSize : {3, 5, 64, kConvBlockSize}) {
    SCOPED_TRACE(blockSize);
    const Outcome run = Convert(input, 12, kSjisFile, 9, blockSize);
    ASSERT_EQ(run.result, 0);
    ASSERT_EQ(run.output, expected);
  }
}

// Each of these sits across the boundary of the first two 8192-byte blocks.
TEST(FerroxConv, ConvertsAcrossTheFirstBlockBoundary) {
  struct Case {
    const char* name;
    Bytes piece;
    Bytes expected;
    std::uint16_t typeFlags;
    bool afterKanji;  // the piece follows a JIS kanji
  };
  const Case cases[] = {
      {"CR | LF", "\r\n", "\r\n", kSjisFile, false},
      {"lone CR | letter", "\rb", "\r\nb", kSjisFile, false},
      {"Shift JIS pair", "\x88\x9F", "\x88\x9F", kSjisFile, false},
      {"EUC pair", "\xB0\xA1", "\x88\x9F", kEucFile, false},
      {"JIS kanji-in", "\x1B$B\x30\x21\x1B(B", "\x88\x9F", kJisFile, false},
      {"JIS return to ASCII", "\x1B(Bz", "z", kJisFile, true},
      {"JIS line end dropped", "\r\n\x1B(B", "", kJisFile, true},
      {"katakana shift", "\x0E\x31\x0F", "\xB1", kJisFile, false},
      {"ESC ( I", "\x1B(I\x31\x1B(B", "\xB1", kJisFile, false},
  };
  for (const Case& c : cases) {
    for (std::size_t at = 8188; at <= 8193; ++at) {
      SCOPED_TRACE(std::string(c.name) + " at " + std::to_string(at));
      const Bytes prefix = c.afterKanji ? Bytes(at - 5, 'a') + "\x1B$B\x30\x21" : Bytes(at, 'a');
      const Bytes expectedPrefix = c.afterKanji ? Bytes(at - 5, 'a') + "\x88\x9F" : Bytes(at, 'a');
      const Outcome run = Convert(prefix + c.piece + "tail", 12, c.typeFlags);
      ASSERT_EQ(run.result, 0);
      ASSERT_EQ(run.output, expectedPrefix + c.expected + "tail");
    }
  }
}

TEST(FerroxConv, FoldsAtTheFirstBlockBoundary) {
  // One long line folded at 10: as the kanji moves over the block boundary it
  // sometimes fits at the end of a line and sometimes moves to the next.
  for (std::size_t lead = 8185; lead <= 8193; ++lead) {
    SCOPED_TRACE(lead);
    const Bytes text = Bytes(lead, 'a') + "\x82\xA0" + Bytes(20, 'b');
    const Outcome run = Convert(text, 12, kSjisFile, 10);
    ASSERT_EQ(run.result, 0);
    EXPECT_EQ(run.output, FoldWhole(text, 10));
  }
}

TEST(FerroxConv, MakesRoomForLongGaijiReplacements) {
  // Every two input bytes may grow to a whole replacement, and folding adds
  // line ends on top: the output of one block has to fit all of it.
  TempDir dir;
  const std::string replacement(40, 'R');
  WriteFile(dir.path() / "GaiTbl.txt", "8740," + replacement + "\r\n");
  GaijiTable table;
  ASSERT_EQ(table.LoadGaijiTable((dir.path() / "GaiTbl.txt").string()), 1u);
  Bytes input;
  for (int k = 0; k < 10000; ++k) input += "\x87\x40";
  WriteFile(dir.path() / "in", input);
  Bytes expected;
  for (int k = 0; k < 10000; ++k) expected += replacement;
  for (std::int16_t lineSize : {std::int16_t{0}, std::int16_t{1}, std::int16_t{7}}) {
    SCOPED_TRACE(lineSize);
    ConvOptions options;
    options.convMode = 4 | 8 | 16;
    options.lineSize = lineSize;
    options.gaiji = &table;
    SilentProgress progress;
    const fs::path out = dir.path() / ("out" + std::to_string(lineSize));
    ASSERT_EQ(FerroxConv(out.string(), (dir.path() / "in").string(), 0,
                         static_cast<std::int64_t>(input.size()), kOpText, kSjisFile, false,
                         options, progress),
              0);
    EXPECT_EQ(ReadFile(out), lineSize > 0 ? FoldWhole(expected, static_cast<std::size_t>(lineSize))
                                          : expected);
  }
}

TEST(FerroxConv, EndOfFileByte) {
  struct Case {
    const char* name;
    Bytes in;
    std::uint16_t convMode;
    Bytes expected;
  };
  const Case cases[] = {
      {"empty, EOF appended", "", 13, "\x1A"},
      {"empty, no EOF", "", 12, ""},
      {"input EOF kept once", "ab\x1A", 13, "ab\x1A"},
      {"input EOF dropped", "ab\x1A", 12, "ab"},
      {"EOF in the middle dropped", "a\x1A" "b", 13, "ab\x1A"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Outcome run = Convert(c.in, c.convMode, kSjisFile);
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(run.output, c.expected);
  }
}

TEST(FerroxConv, CopiesTheDataRangeAndKeepsTheHeaderWhenAsked) {
  TempDir dir;
  const Bytes header = Bytes(127, 'H') + Bytes(1, '\0');
  WriteFile(dir.path() / "in", header + "a\nb" + "trailing resource fork");
  ConvOptions options;
  SilentProgress progress;
  struct Case {
    const char* name;
    std::uint16_t opFlags;
    bool keepHeader;
    Bytes expected;
  };
  const Case cases[] = {
      {"text, header cut", kOpText | kOpMacBinaryCut, false, "a\r\nb"},
      {"text, header kept", kOpText, true, header + "a\r\nb"},
      {"copy, header cut", kOpMacBinaryCut, false, "a\nb"},
      {"copy, header kept", 0, true, header + "a\nb"},
  };
  int k = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const fs::path out = dir.path() / ("out" + std::to_string(k++));
    ASSERT_EQ(FerroxConv(out.string(), (dir.path() / "in").string(), 128, 3, c.opFlags, kSjisFile,
                         c.keepHeader, options, progress),
              0);
    EXPECT_EQ(ReadFile(out), c.expected);
  }
}

TEST(FerroxConv, ReadsMissingDataAsZeros) {
  // A MacBinary header may promise more data than the file holds.
  TempDir dir;
  WriteFile(dir.path() / "in", "abc");
  ConvOptions options;
  SilentProgress progress;
  const fs::path out = dir.path() / "out";
  ASSERT_EQ(FerroxConv(out.string(), (dir.path() / "in").string(), 0, 6, 0, 0, false, options, progress), 0);
  EXPECT_EQ(ReadFile(out), Bytes("abc\0\0\0", 6));
}

TEST(FerroxConv, FailsWithoutTouchingOtherFiles) {
  TempDir dir;
  ConvOptions options;
  SilentProgress progress;
  const fs::path in = dir.path() / "in";
  const fs::path out = dir.path() / "out";
  WriteFile(in, "abc");
  EXPECT_EQ(FerroxConv(out.string(), (dir.path() / "missing").string(), 0, 3, kOpText, kSjisFile,
                       false, options, progress),
            result::kFailed);
  EXPECT_FALSE(fs::exists(out));
  WriteFile(out, "somebody's file");
  EXPECT_EQ(FerroxConv(out.string(), in.string(), 0, 3, kOpText, kSjisFile, false, options, progress),
            result::kFailed);
  EXPECT_EQ(ReadFile(out), "somebody's file");
  EXPECT_EQ(FerroxConv((dir.path() / "no" / "out").string(), in.string(), 0, 3, kOpText, kSjisFile,
                       false, options, progress),
            result::kFailed);
}

// Cancels when the window has seen `blocksBeforeCancel` blocks.
class CancellingProgress final : public ProgressSink {
 public:
  explicit CancellingProgress(int blocksBeforeCancel) : left_(blocksBeforeCancel) {}
  void PumpEvents() override {
    if (--left_ <= 0) busy_ = false;
  }
  [[nodiscard]] bool ConvBusy() const override { return busy_; }
  void ShowProgress(std::int64_t done, std::int64_t total) override { shown.emplace_back(done, total); }
  std::vector<std::pair<std::int64_t, std::int64_t>> shown;

 private:
  int left_;
  bool busy_ = true;
};

TEST(FerroxConv, ShowsProgressBeforeEachBlockAndStopsWhenCancelled) {
  TempDir dir;
  const fs::path in = dir.path() / "in";
  const fs::path out = dir.path() / "out";
  const Bytes text = Compose(kSjisUnits, 20000, 1).first;
  WriteFile(in, text);
  const auto length = static_cast<std::int64_t>(text.size());
  ConvOptions options;

  CancellingProgress runThrough(1 << 30);
  ASSERT_EQ(FerroxConv(out.string(), in.string(), 0, length, kOpText, kSjisFile, false, options,
                       runThrough),
            0);
  ASSERT_GT(runThrough.shown.size(), 3u);
  EXPECT_EQ(runThrough.shown.front().first, 0);
  for (std::size_t k = 1; k < runThrough.shown.size(); ++k) {
    EXPECT_EQ(runThrough.shown[k].second, length);
    // A block moves on by its length less the 0 to 2 bytes it carries.
    const std::int64_t step = runThrough.shown[k].first - runThrough.shown[k - 1].first;
    EXPECT_GE(step, kConvBlockSize - 2);
    EXPECT_LE(step, kConvBlockSize);
  }
  EXPECT_LT(runThrough.shown.back().first, length);
  fs::remove(out);

  for (std::uint16_t opFlags : {kOpText, std::uint16_t{0}}) {
    CancellingProgress cancel(3);
    EXPECT_EQ(FerroxConv(out.string(), in.string(), 0, length, opFlags, kSjisFile, false, options,
                         cancel),
              result::kCancelled);
    EXPECT_EQ(cancel.shown.size(), 3u);
    EXPECT_FALSE(fs::exists(out));
  }
}

// A small file system of its own gives a real full disk; skipped where mounting
// is not allowed.
class SmallDisk {
 public:
  explicit SmallDisk(const fs::path& where) : where_(where) {
    fs::create_directories(where_);
    mounted_ = ::mount("tmpfs", where_.c_str(), "tmpfs", 0, "size=64k") == 0;
  }
  ~SmallDisk() {
    if (mounted_) ::umount(where_.c_str());
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;
  [[nodiscard]] bool mounted() const { return mounted_; }

 private:
  fs::path where_;
  bool mounted_ = false;
};

TEST(FerroxConv, FullDiskGivesMinusSevenAndNoOutput) {
  TempDir dir;
  const fs::path in = dir.path() / "in";
  const Bytes text = Compose(kSjisUnits, 100000, 2).first;
  WriteFile(in, text);
  SmallDisk disk(dir.path() / "small");
  if (!disk.mounted()) GTEST_SKIP() << "cannot mount a small file system here";
  const fs::path out = dir.path() / "small" / "out";
  ConvOptions options;
  SilentProgress progress;
  for (std::uint16_t opFlags : {kOpText, std::uint16_t{0}}) {
    EXPECT_EQ(FerroxConv(out.string(), in.string(), 0, static_cast<std::int64_t>(text.size()),
                         opFlags, kSjisFile, false, options, progress),
              result::kDiskFull);
    EXPECT_FALSE(fs::exists(out));
  }
}

}  // namespace
}  // namespace ferrox
