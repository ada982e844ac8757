// UTF-8 text: the survey's reading and the Shift JIS/EUC ties, and the
// conversion to CP932 against iconv, across block boundaries.

#include <gtest/gtest.h>
#include <iconv.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "analysis/file_survey.h"
#include "analysis/survey_flags.h"
#include "convert/ferrox_conv.h"
#include "helpers/scratch_dir.h"
#include "text/nfc_data.h"

namespace ferrox {
namespace {

using namespace std::literals;
using testing::ScratchDir;
namespace fs = std::filesystem;

constexpr std::uint16_t kBuiltIn = 12;
constexpr std::uint16_t kOld = 12 | 32 | 256;  // no UTF-8, the old tie rule

std::uint16_t Survey(const ScratchDir& dir, std::string_view bytes, std::uint16_t convMode,
                     std::size_t chunkSize = kSurveyChunkSize) {
  SilentProgress sink;
  std::uint16_t flags = 0xFFFF;
  EXPECT_TRUE(FileTypeChkSub(dir.Write("sample", bytes), 0, static_cast<std::int64_t>(bytes.size()),
                             {0, 3, convMode}, sink, flags, chunkSize));
  return flags;
}

// "カタカナだけのテキスト" twice, EUC-JP: Shift JIS half-width katakana to the old rule.
const std::string kKanaEuc =
    "\xa5\xab\xa5\xbf\xa5\xab\xa5\xca\xa4\xc0\xa4\xb1\xa4\xce\xa5\xc6\xa5\xad\xa5\xb9\xa5\xc8\n"s;

TEST(Utf8Survey, FlagWords) {
  const std::string pad(40, 'x');
  struct { const char* name; std::string bytes; std::uint16_t builtIn, old; } const rows[] = {
      {"NFC kana, LF", "\xe3\x81\x8c\xe6\x97\xa5\n" + pad, 0x8140, 0x0142},
      {"NFD: か and a combining voiced mark", "\xe3\x81\x8b\xe3\x82\x99\r\n" + pad, 0xA110, 0x0112},
      {"a byte order mark alone decides", "\xef\xbb\xbf" + pad, 0x9100, 0x1102},
      {"after a BOM a faulty byte is binary", "\xef\xbb\xbf\xff" + pad, 0x9101, 0x0101},
      {"Latin in two bytes", "caf\xc3\xa9 " + pad, 0x8100, 0x0100},
      {"a character cut by the end of the range", pad + "\xe3\x81\x8c\xe3\x81", 0x8100, 0x0102},
      {"overlong: read as Shift JIS", "\xc0\x80\xe3\x81\x8c" + pad, 0x0103, 0x0103},
      {"surrogate", "\xed\xa0\x80\xe3\x81\x8c" + pad, 0x1103, 0x1103},
      {"above U+10FFFF", "\xf4\x90\x80\x80\xe3\x81\x8c" + pad, 0x0000, 0x0000},
      {"C1 control: Shift JIS ﾂ、", "\xc2\x81\x41" + pad, 0x0102, 0x0102},
      {"control bytes within the allowance", "\xe3\x81\x8c\x01" + pad, 0x8101, 0x0000},
      {"EUC kana only", kKanaEuc + kKanaEuc, 0x0848, 0x0140},
      {"Shift JIS half-width katakana: no call either way", "\xc3\xde\xb0\xc0 \xb6\xc0\xb6\xc5\n" + pad, 0x0140, 0x0140},
      {"EUC read as katakana starting with ﾞ", "ab \xde\xa4\xb3\xa4\n" + pad, 0x0848, 0x0140},
  };
  const ScratchDir dir;
  for (const auto& row : rows) {
    EXPECT_EQ(Survey(dir, row.bytes, kBuiltIn), row.builtIn) << row.name;
    EXPECT_EQ(Survey(dir, row.bytes, kOld), row.old) << row.name;
    // The UTF-8 reading does not depend on where chunks end.
    for (std::size_t chunk = 3; (row.builtIn & survey::kUtf8) != 0 && chunk < 12; ++chunk) {
      EXPECT_EQ(Survey(dir, row.bytes, kBuiltIn, chunk), row.builtIn) << row.name << ", chunk " << chunk;
    }
  }
}

std::string Iconv(const char* to, const char* from, std::string_view text) {
  const iconv_t cd = iconv_open(to, from);
  std::string out(text.size() * 4 + 8, '\0');
  char* src = const_cast<char*>(text.data());
  char* dst = out.data();
  std::size_t left = text.size(), room = out.size();
  const bool ok = iconv(cd, &src, &left, &dst, &room) != static_cast<std::size_t>(-1);
  iconv_close(cd);
  return ok ? out.substr(0, out.size() - room) : "";
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
                        std::uint16_t convMode = kBuiltIn) {
  const ScratchDir dir;
  const fs::path in = dir.Write("in", input), out = dir.Path() / "out";
  ConvOptions options;
  options.convMode = convMode;
  SilentProgress progress;
  EXPECT_EQ(detail::FerroxConvBlocks(out, in, 0, static_cast<std::int64_t>(input.size()), kOpText,
                                     survey::kUtf8 | survey::kMarkSjis, false, options, progress, blockSize),
            JobResult::Done);
  std::ifstream f(out, std::ios::binary);
  return {std::istreambuf_iterator<char>(f), {}};
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
      const std::string u32 = Iconv("UTF-32LE", "CP932", sjis);
      if (u32.size() != 4) continue;
      const char32_t cp = static_cast<std::uint8_t>(u32[0]) | static_cast<std::uint8_t>(u32[1]) << 8;
      const auto* d = Find(cp);
      const char32_t nfc = d != nullptr && d->second == 0 ? d->first : cp;
      std::string bytes = Iconv("CP932", "UTF-8", Utf8(nfc));
      if (bytes.empty()) bytes = Iconv("CP932", "UTF-8", Utf8(cp));
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
  EXPECT_EQ(ConvertUtf8("abc\xe3\x81\x82", kConvBlockSize, kBuiltIn | 1), "abc\x82\xa0\x1a");
}

}  // namespace
}  // namespace ferrox
