// The conversion pass: block converters on byte tables, then whole files, and UTF-8
// against iconv.

#include "convert/ferrox_conv.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <random>
#include <thread>
#include <string>
#include <vector>

#include "analysis/survey_flags.h"
#include "convert/block_converter.h"
#include "convert/gaiji_table.h"
#include "convert/output_file.h"
#include "convert/result_code.h"
#include "helpers/cli_runner.h"
#include "text/nfc_data.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;
using Bytes = std::string;
using testing::ReadAll;
using testing::Iconv;
using testing::ScratchDir;

constexpr std::uint16_t kSjisFile = 0x0112;  // Shift JIS, CR LF, Shift JIS mark
constexpr std::uint16_t kJisFile = 0x0314;   // JIS with Shift JIS mark: base state Shift JIS
constexpr std::uint16_t kEucFile = 0x0848;   // EUC, LF, EUC mark

// Converts `in` as the last block of a file (two zero bytes appended) with the
// full converter when convMode has bit 4, else with the light one.
Bytes ConvertLast(const Bytes& in, std::uint16_t convMode, std::uint16_t typeFlags) {
  const Bytes block = in + Bytes(2, '\0');
  std::vector<std::uint8_t> out(3 * block.size() + 1);
  const auto* p = reinterpret_cast<const std::uint8_t*>(block.data());
  const auto length = static_cast<BufIndex>(block.size());
  const BlockSettings settings = BlockSettings::Make(typeFlags, convMode, nullptr);
  BufIndex carry = -1;
  std::uint16_t state = typeFlags & 0x0F00;
  const BufIndex n = (convMode & 4) != 0 ? FerroxConvSub(out.data(), p, length, settings, carry, state)
                                         : FerroxConvSubLite(out.data(), p, length, settings, carry);
  EXPECT_GE(carry, 0);
  EXPECT_LE(carry, 2);
  return Bytes(out.begin(), out.begin() + n);
}

TEST(FerroxConvSub, ConvertsByteTable) {
  struct { const char* name; Bytes in, expected; std::uint16_t convMode, typeFlags; } const rows[] = {
      {"lone CRs", "A\r\rB", "A\r\n\r\nB", 12, kSjisFile},
      {"CR at the end of the file", "A\r", "A\r\n", 12, kSjisFile},
      {"tab and form feed kept", "\t\x0C", "\t\x0C", 12, kSjisFile},
      {"junk dropped", Bytes("a\x00\x01\x7F\x80\x1C", 6) + "b", "ab", 12, kSjisFile},
      {"tab inside JIS dropped", "\x1B$B\t\x30\x21\x1B(Bz", "\x88\x9Fz", 12, kJisFile},
      {"zeros and controls", Bytes(9, '\0') + "\x01" + Bytes(9, '\0') + "a", "a", 12, kSjisFile},
      {"SO blank becomes 0xA0", "\x0E\x20\x41\x0F", "\xA0\xC1", 12, kJisFile},
      {"ESC ( I kana, upper half dropped", "\x1B(I\x31\x60\x5F\x1B(Bx", "\xB1\xDFx", 12, kJisFile},
      {"SO without kana is junk", "\x0E\x60z", "\x60z", 12, kJisFile},
      {"SI returns to the EUC base state", "\x0E\x31\x0F\xA4\xA2", "\xB1\x82\xA0", 12, kEucFile},
      {"unknown escape is junk", "\x1B$Zq", "$Zq", 12, kJisFile},
      {"EUC SS2 kana", "\x8E\xB1\x8E\xA0", "\xB1\xA0", 12, kEucFile},
      {"EUC line ends", "\xA4\xA2\n\xA4\xA2\r", "\x82\xA0\r\n\x82\xA0\r\n", 12, kEucFile},
      {"undecided run follows Shift JIS state", "\xA4\xA2", "\xA4\xA2", 12, kSjisFile},
      {"undecided run follows EUC state", "\xA4\xA2", "\x82\xA0", 12, kEucFile},
      {"undecided run without state: base EUC", "\xA4\xA2", "\x82\xA0", 12, 0x0008},
      {"undecided run without state: base Shift JIS", "\xA4\xA2", "\xA4\xA2", 12, 0x0002},
      {"strict: gaiji lead dropped, trail stays", "\x87\x40", "@", 4, kSjisFile},
      {"a table without gaiji as characters is strict", "\x87\x40", "@", 4 | 16, kSjisFile},
      {"replaced gaiji without a table become 〓", "\x87\x40\xEB\x40", "\x81\xAC\x81\xAC", 4 | 8 | 16, kSjisFile},
      {"lead byte meets end of file", "a\x82", "a", 12, kSjisFile},
      {"light: escape not recognised", "\x1B$B\x30\x21", "$B0!", 8, kSjisFile},
      {"light: SO and SI dropped", "\x0E\x31\x0F", "1", 8, kSjisFile},
      {"light: bytes that never start anything", "\x80\xFD\xFE\xFF\x7F" "a", "a", 8, kSjisFile},
      {"light: lead without trail dropped", "\x82 a", " a", 8, kSjisFile},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(ConvertLast(row.in, row.convMode, row.typeFlags), row.expected);
  }
}

// Folding the whole expected text at once is what block-wise folding must give.
// The text is well formed: its line ends are CR LF and every lead has its trail.
Bytes FoldWhole(const Bytes& text, std::size_t lineSize) {
  Bytes out;
  std::size_t c = 0;
  for (std::size_t j = 0; j < text.size();) {
    const auto b = static_cast<std::uint8_t>(text[j]);
    const std::size_t width = b == 0x0D || (b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xFC) ? 2 : 1;
    if (b == 0x0D || c + width > lineSize) {
      out += "\r\n";
      c = 0;
    }
    if (b != 0x0D) {
      out += text.substr(j, width);
      c += width;
    }
    j += width;
  }
  return out;
}

struct Outcome { JobResult result = JobResult::Done; Bytes output; };

// With `head` set, the input is a file of its first `head` bytes followed by
// a pipe that brings the rest, and the output goes into an open descriptor.
Outcome Convert(const Bytes& input, std::uint16_t convMode, std::uint16_t typeFlags,
                std::int16_t lineSize = 0, std::int32_t blockSize = kConvBlockSize,
                std::optional<std::size_t> head = std::nullopt) {
  const ScratchDir dir;
  const fs::path in = dir.Write("in", input.substr(0, head.value_or(input.size()))), out = dir.Path() / "out";
  ConvOptions options;
  options.convMode = convMode;
  options.lineSize = lineSize;
  SilentProgress progress;
  if (!head) {
    const JobResult result = detail::FerroxConvBlocks(out, in, 0, static_cast<std::int64_t>(input.size()), kOpText,
                                                typeFlags, false, options, progress, blockSize);
    return {result, fs::exists(out) ? ReadAll(out) : "<no output>"};
  }
  int pipeFds[2];
  EXPECT_EQ(::pipe(pipeFds), 0);
  std::thread writer([&] {
    const Bytes rest = input.substr(*head);
    EXPECT_TRUE(WriteAll(pipeFds[1], rest.data(), rest.size()));
    ::close(pipeFds[1]);
  });
  const int outFd = ::open(out.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
  PassOutput sink{{}, outFd};
  const JobResult result = detail::FerroxConvBlocks(sink, PassInput{in, pipeFds[0]}, 0, 0, kOpText, typeFlags, false,
                                              options, progress, blockSize);
  writer.join();
  ::close(pipeFds[0]);
  ::close(outFd);
  return {result, ReadAll(out)};
}

// A piece of input and what it becomes, the same wherever it stands.
struct Unit { Bytes in, out; };

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
    {"Ferrox ", "Ferrox "}, {"\r\n", "\r\n"},         {"\n", "\r\n"},       {"\rx", "\r\nx"},
    {"\x82\xA0\x82\xA2", "\x82\xA0\x82\xA2"},         {"\x88\x9F\x8E\xF0", "\x88\x9F\x8E\xF0"},
    {"\x81\x42", "\x81\x42"}, {"\t", "\t"},           {"\x1A", ""},         {Bytes(1, '\0'), ""},
    {"\x87\x40", "\x87\x40"}, {"\xB1\xB2", "\xB1\xB2"}, {Bytes(19, '\0'), ""},
    {"0123456789abcdef", "0123456789abcdef"}, {"\x7F", ""}, {"\xFF", ""}, {"\x1F", ""},  // 8 bytes at a time
};
const std::vector<Unit> kJisUnits = {
    {"abc ", "abc "}, {"\n", "\r\n"}, {"\r\n", "\r\n"},
    {"\x1B$B\x30\x21\x24\x22\x1B(B", "\x88\x9F\x82\xA0"}, {"\x1B$@\x21\x21\x1B(J", "\x81\x40"},
    {"\x0E\x31\x32\x0F", "\xB1\xB2"}, {"\x1B(I\x31\x5F\x1B(B", "\xB1\xDF"},
    {"\x1B$B\x30\x21\r\n\x1B(B", "\x88\x9F"},
    {Bytes("\x1B$B\x30\x21", 5) + Bytes(12, '\0') + "\x24\x22\x1B(B", "\x88\x9F\x82\xA0"},
};
const std::vector<Unit> kEucUnits = {
    {"xyz", "xyz"}, {"\n", "\r\n"}, {"\xA4\xA2\xA4\xA4", "\x82\xA0\x82\xA2"}, {"\xB0\xA1", "\x88\x9F"},
    {"\x8E\xB1", "\xB1"}, {" ", " "},
};
const std::vector<Unit> kFoldUnits = {
    {"abcdefg", "abcdefg"}, {"\x82\xA0", "\x82\xA0"}, {"\n", "\r\n"}, {"\t\xB1\xB2", "\t\xB1\xB2"}};

TEST(FerroxConv, OutputDoesNotDependOnBlockBoundaries) {
  struct { const char* name; const std::vector<Unit>* units; std::uint16_t convMode, typeFlags;
           std::int16_t lineSize; } const cases[] = {
      {"Shift JIS, full converter", &kSjisUnits, 12, kSjisFile, 0},
      {"Shift JIS, light converter", &kSjisUnits, 8, kSjisFile, 0},
      {"JIS", &kJisUnits, 12, kJisFile, 0}, {"EUC", &kEucUnits, 12, kEucFile, 0},
      {"folded at 9", &kFoldUnits, 12, kSjisFile, 9},
  };
  for (const auto& c : cases) {
    auto [input, expected] = Compose(*c.units, 3000, 7);
    if (c.lineSize > 0) expected = FoldWhole(expected, static_cast<std::size_t>(c.lineSize));
    for (std::int32_t blockSize : {3, 4, 5, 7, 64, 1000, kConvBlockSize}) {
      SCOPED_TRACE(::testing::Message() << c.name << " in blocks of " << blockSize);
      const Outcome run = Convert(input, c.convMode, c.typeFlags, c.lineSize, blockSize);
      ASSERT_EQ(run.result, JobResult::Done);
      ASSERT_EQ(run.output, expected);
      // Read from a stream whose end is not known before it comes, ending
      // on, before and after a block boundary.
      for (const std::size_t drop : {0, 1}) {
        const auto whole = input.size() / static_cast<std::size_t>(blockSize) * static_cast<std::size_t>(blockSize);
        const std::size_t length = whole > drop ? whole - drop : input.size();
        const Bytes cutInput = input.substr(0, length);
        const Bytes fileForm = Convert(cutInput, c.convMode, c.typeFlags, c.lineSize, blockSize).output;
        for (const std::size_t head : {std::size_t{0}, length / 2}) {
          const Outcome streamed = Convert(cutInput, c.convMode, c.typeFlags, c.lineSize, blockSize, head);
          ASSERT_EQ(streamed.result, JobResult::Done);
          ASSERT_EQ(streamed.output, fileForm) << "head " << head << ", length " << length;
        }
      }
    }
  }
}

TEST(FerroxConv, EndOfFileByte) {
  struct { Bytes in; std::uint16_t convMode; Bytes expected; } const cases[] = {  // appended, or not; dropped inside
      {"", 13, "\x1A"}, {"", 12, ""}, {"ab\x1A", 13, "ab\x1A"}, {"ab\x1A", 12, "ab"}, {"a\x1A" "b", 13, "ab\x1A"}};
  for (const auto& c : cases) {
    const Outcome run = Convert(c.in, c.convMode, kSjisFile);
    EXPECT_EQ(run.result, JobResult::Done);
    EXPECT_EQ(run.output, c.expected) << c.in << " mode " << c.convMode;
  }
}

class FerroxConvFile : public ::testing::Test {
 protected:
  JobResult Pass(const fs::path& out, std::int64_t start, std::int64_t length, std::uint16_t opFlags,
          bool keepHeader = false) {
    return FerroxConv(out, in_, start, length, opFlags, kSjisFile, keepHeader, options_, progress_);
  }

  ScratchDir dir_;
  fs::path in_ = dir_.Path() / "in";
  fs::path out_ = dir_.Path() / "out";
  ConvOptions options_;
  SilentProgress progress_;
};

TEST_F(FerroxConvFile, MakesRoomForLongGaijiReplacements) {
  // Every two input bytes may grow to a whole replacement, and folding adds
  // line ends on top: the output of one block has to fit all of it.
  const std::string replacement(40, 'R');
  GaijiTable table;
  ASSERT_EQ(table.LoadGaijiTable(dir_.Write("GaiTbl.txt", "8740," + replacement + "\r\n")), 1u);
  Bytes input, expected;
  for (int k = 0; k < 10000; ++k) {
    input += "\x87\x40";
    expected += replacement;
  }
  dir_.Write("in", input);
  options_.convMode = 4 | 8 | 16;
  options_.gaiji = &table;
  for (const std::int16_t lineSize : {std::int16_t{0}, std::int16_t{1}, std::int16_t{7}}) {
    options_.lineSize = lineSize;
    const fs::path out = dir_.Path() / ("out" + std::to_string(lineSize));
    ASSERT_EQ(Pass(out, 0, static_cast<std::int64_t>(input.size()), kOpText), JobResult::Done);
    EXPECT_EQ(ReadAll(out), lineSize > 0 ? FoldWhole(expected, static_cast<std::size_t>(lineSize)) : expected)
        << lineSize;
  }
}

TEST_F(FerroxConvFile, CopiesTheDataRangeAndKeepsTheHeaderWhenAsked) {
  const Bytes header = Bytes(127, 'H') + Bytes(1, '\0');
  dir_.Write("in", header + "a\nb" + "trailing resource fork");
  struct { std::uint16_t opFlags; bool keepHeader; Bytes expected; } const cases[] = {
      {kOpText | kOpMacBinaryCut, false, "a\r\nb"}, {kOpText, true, header + "a\r\nb"},
      {kOpMacBinaryCut, false, "a\nb"}, {0, true, header + "a\nb"},
  };
  for (const auto& c : cases) {
    const fs::path out = dir_.Path() / ("out" + std::to_string(c.opFlags));
    ASSERT_EQ(Pass(out, 128, 3, c.opFlags, c.keepHeader), JobResult::Done);
    EXPECT_EQ(ReadAll(out), c.expected) << c.opFlags;
  }
  // A MacBinary header may promise more data than the file holds: zeros follow.
  ASSERT_EQ(Pass(out_, 150, 6, 0), JobResult::Done);
  EXPECT_EQ(ReadAll(out_), Bytes("ork\0\0\0", 6));
}

TEST_F(FerroxConvFile, FailsWithoutTouchingOtherFiles) {
  EXPECT_EQ(Pass(out_, 0, 3, kOpText), JobResult::Failed);  // no input
  EXPECT_FALSE(fs::exists(out_));
  dir_.Write("in", "abc");
  dir_.Write("out", "somebody's file");
  EXPECT_EQ(Pass(out_, 0, 3, kOpText), JobResult::Failed);
  EXPECT_EQ(ReadAll(out_), "somebody's file");
  EXPECT_EQ(Pass(dir_.Path() / "no" / "out", 0, 3, kOpText), JobResult::Failed);
}

// Cancels when the window has seen `blocksBeforeCancel` blocks.
class CancellingProgress final : public ProgressSink {
 public:
  explicit CancellingProgress(int blocksBeforeCancel) : left_(blocksBeforeCancel) {}
  void PumpEvents() override { busy_ = busy_ && --left_ > 0; }
  [[nodiscard]] bool ConvBusy() const override { return busy_; }
  void ShowProgress(std::int64_t done, std::int64_t total) override { shown.emplace_back(done, total); }
  std::vector<std::pair<std::int64_t, std::int64_t>> shown;

 private:
  int left_;
  bool busy_ = true;
};

TEST_F(FerroxConvFile, ShowsProgressBeforeEachBlockAndStopsWhenCancelled) {
  const Bytes text = Compose(kSjisUnits, 20000, 1).first;
  dir_.Write("in", text);
  const auto length = static_cast<std::int64_t>(text.size());
  CancellingProgress runThrough(1 << 30);
  ASSERT_EQ(FerroxConv(out_, in_, 0, length, kOpText, kSjisFile, false, options_, runThrough), JobResult::Done);
  const auto& shown = runThrough.shown;
  ASSERT_GT(shown.size(), 3u);
  EXPECT_EQ(shown.front().first, 0);
  EXPECT_LT(shown.back().first, length);
  for (std::size_t k = 1; k < shown.size(); ++k) {
    EXPECT_EQ(shown[k].second, length);
    // A block moves on by its length less the 0 to 2 bytes it carries.
    EXPECT_GE(shown[k].first - shown[k - 1].first, kConvBlockSize - 2);
    EXPECT_LE(shown[k].first - shown[k - 1].first, kConvBlockSize);
  }
  fs::remove(out_);
  for (std::uint16_t opFlags : {kOpText, std::uint16_t{0}}) {
    CancellingProgress cancel(3);
    EXPECT_EQ(FerroxConv(out_, in_, 0, length, opFlags, kSjisFile, false, options_, cancel), JobResult::Cancelled);
    EXPECT_EQ(cancel.shown.size(), 3u);
    EXPECT_FALSE(fs::exists(out_));
  }
}

TEST_F(FerroxConvFile, FullDiskGivesMinusSevenAndNoOutput) {
  const Bytes text = Compose(kSjisUnits, 100000, 2).first;
  dir_.Write("in", text);
  // A small file system of its own gives a real full disk.
  const fs::path small = dir_.Path() / "small";
  fs::create_directory(small);
  if (::mount("tmpfs", small.c_str(), "tmpfs", 0, "size=64k") != 0) {
    GTEST_SKIP() << "cannot mount a small file system here";
  }
  for (std::uint16_t opFlags : {kOpText, std::uint16_t{0}}) {
    EXPECT_EQ(Pass(small / "out", 0, static_cast<std::int64_t>(text.size()), opFlags), JobResult::DiskFull);
    EXPECT_FALSE(fs::exists(small / "out"));
  }
  ::umount(small.c_str());
}

std::string Utf8(char32_t cp) {
  std::string s;
  if (cp < 0x80) return s += static_cast<char>(cp);
  if (cp < 0x800) return s += {static_cast<char>(0xC0 | cp >> 6), static_cast<char>(0x80 | (cp & 0x3F))};
  return s += {static_cast<char>(0xE0 | cp >> 12), static_cast<char>(0x80 | (cp >> 6 & 0x3F)),
               static_cast<char>(0x80 | (cp & 0x3F))};
}

const nfc_data::Decomposition* Find(char32_t cp) {
  for (const auto& d : nfc_data::kDecompositions) {
    if (d.cp == cp) return &d;
  }
  return nullptr;
}

std::string Nfd(char32_t cp) {
  const auto* d = Find(cp);
  if (d == nullptr) return Utf8(cp);
  return Nfd(d->first) + (d->second != 0 ? Nfd(d->second) : "");
}

std::string ConvertUtf8(const std::string& input, std::int32_t blockSize = kConvBlockSize,
                        std::uint16_t convMode = 12) {
  return Convert(input, convMode, survey::kUtf8 | survey::kMarkSjis, 0, blockSize).output;
}

// Every CP932 character (JIS X 0208, the NEC and IBM extensions, the user
// area) in NFC and in NFD gives what iconv gives for its NFC form. Of these
// characters only the Angstrom sign and 23 compatibility ideographs change
// under NFC, each into the one character of its decomposition; where CP932
// lacks that character, the one written keeps its own code.
TEST(Utf8Conversion, EveryCp932CharacterAsIconvMapsItsNfcForm) {
  std::string nfcText, nfdText, expected;
  int count = 0;
  for (int lead = 0x81; lead <= 0xFC; ++lead) {
    for (int trail = 0x40; trail <= 0xFC; ++trail) {
      const std::string sjis{static_cast<char>(lead), static_cast<char>(trail)};
      const std::string u32 = Iconv("UTF-32LE", "CP932", sjis).value_or("");
      if (u32.size() != 4) continue;
      const char32_t cp = static_cast<std::uint8_t>(u32[0]) | static_cast<std::uint8_t>(u32[1]) << 8;
      const auto* d = Find(cp);
      const char32_t nfc = d != nullptr && d->second == 0 ? d->first : cp;
      const std::string bytes =
          Iconv("CP932", "UTF-8", Utf8(nfc)).value_or(Iconv("CP932", "UTF-8", Utf8(cp)).value_or(""));
      ASSERT_FALSE(bytes.empty()) << std::hex << static_cast<std::uint32_t>(cp);
      nfcText += Utf8(nfc) + (++count % 40 == 0 ? "\n" : "");
      nfdText += Nfd(cp) + (count % 40 == 0 ? "\n" : "");
      expected += bytes + (count % 40 == 0 ? "\r\n" : "");
    }
  }
  EXPECT_GT(count, 9500);
  EXPECT_EQ(ConvertUtf8(nfcText), expected);
  EXPECT_EQ(ConvertUtf8(nfdText), expected);
  EXPECT_EQ(ConvertUtf8(nfdText, 7), expected);
}

// BOM, a 4-byte character, a voiced mark and line ends wherever a block
// boundary falls; what CP932 lacks and what is not UTF-8 become 〓.
TEST(Utf8Conversion, SameAtEveryBlockBoundary) {
  struct { const char* name; std::string in, out; } const rows[] = {
      {"BOM dropped, か+゛ composed", "\xef\xbb\xbf\xe3\x81\x8b\xe3\x82\x99x", "\x82\xaax"},
      {"BOM only at the start", "a\xef\xbb\xbf", "a\x81\xac"},
      {"4-byte character", "a\xf0\x9f\x98\x80" "b", "a\x81\xac" "b"},
      {"semi-voiced mark, half-width kana", "\xe3\x83\x8f\xe3\x82\x9a\xef\xbd\xb1", "\x83\x70\xb1"},
      {"A + ring is the Angstrom sign's Å", "A\xcc\x8a\xc3\x85", "\x81\xf0\x81\xf0"},
      {"Windows' choices: 〜 ～ − ¥", "\xe3\x80\x9c\xef\xbd\x9e\xe2\x88\x92\xc2\xa5", "\x81\x60\x81\x60\x81\x7c\x5c"},
      {"line ends, tab kept, EOF and controls dropped", "a\rb\nc\r\n\td\x1a\x01", "a\r\nb\r\nc\r\n\td"},
      {"faulty bytes, a cut character at the end", "\xff\xc0\x80z\xe3\x81", "\x81\xac\x81\xac\x81\xacz\x81\xac"},
      {"a mark with nothing before it", "\xe3\x82\x99", "\x81\xac"},
  };
  for (const auto& row : rows) {
    for (std::int32_t block = 3; block <= 12; ++block) {
      EXPECT_EQ(ConvertUtf8(row.in, block), row.out) << row.name << ", block " << block;
    }
    EXPECT_EQ(ConvertUtf8(row.in), row.out) << row.name;
  }
  EXPECT_EQ(ConvertUtf8("abc\xe3\x81\x82", kConvBlockSize, 12 | 1), "abc\x82\xa0\x1a");
}

}  // namespace
}  // namespace ferrox
