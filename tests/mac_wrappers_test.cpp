// The Mac file wrappers: MacBinary headers (recognition, reading, rewriting, the
// report block), BinHex 4.0 (round trips through a test encoder, macutils,
// damaged input) and AppleSingle/AppleDouble (files an independent script
// writes, damaged files, the AppleDouble header Ferrox writes read back).
// (A zip with __MACOSX: cli_mac_files_test.)

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>

#include "analysis/apple_single.h"
#include "analysis/binhex.h"
#include "analysis/mac_wrapper.h"
#include "analysis/macbinary.h"
#include "helpers/binhex_encoder.h"
#include "helpers/macbinary_builder.h"
#include "helpers/scratch_dir.h"

namespace ferrox {
namespace {

using testing::BinHexFile;
using testing::EncodeBinHex;
using testing::MacBinaryHeader;

MacBinaryInfo Info(std::string name, std::int64_t data, std::int64_t res, std::string type,
                   std::string creator, double created = 0, double modified = 0) {
  return {std::move(name), data, res, std::move(type), std::move(creator), MacTimeToDate(created),
          MacTimeToDate(modified)};
}

TEST(ParseMacBinaryHeader, ReadsValidHeaders) {
  struct { const char* name; testing::MacBinaryFields fields; std::int64_t length; MacBinaryInfo expected; }
  const rows[] = {
      {"empty data fork, file of exactly 128 bytes", {"Read Me", "TEXT", "ttxt"}, 128,
       Info("Read Me", 0, 0, "TEXT", "ttxt")},
      {"resource fork cut short is still MacBinary", {"doc", "WDBN", "MSWD", 10, 5000}, 128 + 10 + 100,
       Info("doc", 10, 5000, "WDBN", "MSWD")},
      {"dates past 2^31 seconds", {"x", "TEXT", "ttxt", 0, 0, 0x80000000u, 0xFFFFFFFFu}, 128,
       Info("x", 0, 0, "TEXT", "ttxt", 2147483648.0, 4294967295.0)},
      {"Shift JIS names whose trail byte is 0x5C", {"\x95\x5C\x83\x5C\x94\x5C.txt", "TEXT", "ttxt", 3}, 131,
       Info("表ソ能.txt", 3, 0, "TEXT", "ttxt")},
      {"type and creator trimmed of blanks", {"a", "GIF ", " ab "}, 128, Info("a", 0, 0, "GIF", "ab")},
      {"a file too short for the 32-bit lengths: 24 bits, the top byte ignored",
       {"a", "TEXT", "ttxt", 0x01000010u, 0xFF000020u}, 128 + 16, Info("a", 16, 32, "TEXT", "ttxt")},
      {"32-bit lengths where the file holds them", {"a", "TEXT", "ttxt", 0x01000010u, 0x01000000u},
       128 + 0x02000010, Info("a", 0x01000010, 0x01000000, "TEXT", "ttxt")},
      {"32-bit data length, resource too long for it: 24 bits", {"a", "TEXT", "ttxt", 0x01000010u, 0x01000020u},
       128 + 0x01000010, Info("a", 0x01000010, 0x20, "TEXT", "ttxt")},
      {"largest 24-bit data fork", {"a", "TEXT", "ttxt", 0xFFFFFF}, 128 + 0xFFFFFF,
       Info("a", 0xFFFFFF, 0, "TEXT", "ttxt")},
      {"name of 31 bytes", {std::string(31, 'n')}, 128, Info(std::string(31, 'n'), 0, 0, "TEXT", "ttxt")},
      // A lead byte with nothing after it, and bytes CP932 leaves unassigned, stay visible.
      {"cut lead byte", {"ab\x81"}, 128, Info("ab\uFFFD", 0, 0, "TEXT", "ttxt")},
      {"unassigned bytes", {"\xA0\xFD\xFE\xFF"}, 128, Info("\uFFFD\uFFFD\uFFFD\uFFFD", 0, 0, "TEXT", "ttxt")},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const auto got = ParseMacBinaryHeader(MacBinaryHeader(row.fields), row.length);
    ASSERT_TRUE(got.has_value());
    EXPECT_EQ(*got, row.expected);
  }
}

TEST(ParseMacBinaryHeader, RefusesWhatIsNotAHeader) {
  // Each row overwrites one byte of a valid header.
  struct { const char* name; std::size_t offset; std::uint8_t value; std::int64_t fileLength; } const rows[] = {
      {"version byte 1", 0, 1, 200}, {"name length 0", 1, 0, 200}, {"name length 32", 1, 32, 200},
      {"name length 63", 1, 63, 200}, {"type byte below blank", 65, 0x1F, 200}, {"type byte DEL", 68, 0x7F, 200},
      {"creator byte 0 (unset creator)", 72, 0x00, 200}, {"creator byte above 0x7E", 69, 0x80, 200},
      {"data fork longer than the file", 86, 73, 200}, {"file shorter than a header", 1, 1, 127},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    auto h = MacBinaryHeader({"a", "TEXT", "ttxt", 72});
    ASSERT_TRUE(ParseMacBinaryHeader(h, 200).has_value());
    h[row.offset] = row.value;
    EXPECT_FALSE(ParseMacBinaryHeader(h, row.fileLength).has_value());
  }
}

TEST(MBInfPut, RewritesOnlyTheForkLengths) {
  const testing::ScratchDir dir;
  auto h = MacBinaryHeader({"Note", "TEXT", "ttxt", 0x01020304, 0x05060708, 77, 88});
  for (std::size_t i = 101; i < 128; ++i) h[i] = static_cast<std::uint8_t>(i);  // flags, CRC, ...
  const std::string bytes(reinterpret_cast<const char*>(h.data()), h.size());
  const auto file = dir.Write("out.bin", bytes + "data that follows");
  ASSERT_EQ(MBInfPut(file, 1000), 0);
  std::string expected = bytes;
  expected.replace(83, 8, std::string("\0\0\x03\xE8\0\0\0\0", 8));
  EXPECT_EQ(testing::ReadAll(file), expected + "data that follows");

  const auto shortFile = dir.Write("short", bytes.substr(0, 127));
  EXPECT_EQ(MBInfPut(shortFile, 5), 1);
  EXPECT_EQ(testing::ReadAll(shortFile), bytes.substr(0, 127));
  EXPECT_EQ(MBInfPut(dir.Path() / "missing", 5), 1);
}

// The whole block is in the survey report tests (file_survey_test); here, the suffix line for each kind of match.
TEST(AppendMacBinaryInfo, SuffixLineForEachKindOfMatch) {
  const SuffixEntry withText{"txt", "TEXT", "*", "テキスト"}, noComment{"txt", "TEXT", "*", ""},
      keepName{"", "TEXT", "*", "そのまま"};
  const std::pair<const SuffixEntry*, std::string> rows[] = {
      {nullptr, "対応する拡張子は登録されていません。"}, {&withText, "対応する拡張子は[.txt] (テキスト)です。"},
      {&noComment, "対応する拡張子は[.txt]です。"}, {&keepName, "対応する拡張子は[無し] (そのまま)です。"},
  };
  for (const auto& [match, line] : rows) {
    std::string report;
    AppendMacBinaryInfo(report, Info("n.txt", 1234567, 0, "TEXT", "ttxt"), match);
    EXPECT_NE(report.find("\r\nデータフォーク    :1,234,567 Byte\r\n"), std::string::npos) << report;
    EXPECT_TRUE(report.ends_with(line + "\r\nオリジナルのファイル名は[n.txt]です。\r\n")) << report;
  }
}

struct Decoded {
  BinHexStatus status = BinHexStatus::Ok;
  BinHexInfo info;
  std::string data, resource;
};

Decoded Decode(const std::string& text) {
  std::istringstream in(text);
  BinHexDecoder decoder(in);
  Decoded d;
  d.status = decoder.ReadHeader(d.info);
  if (d.status != BinHexStatus::Ok) return d;
  auto into = [](std::string& s) {
    return [&s](std::span<const std::uint8_t> b) {
      s.append(reinterpret_cast<const char*>(b.data()), b.size());
      return true;
    };
  };
  d.status = decoder.ReadForks(into(d.data), into(d.resource));
  return d;
}

std::string Mixed(std::size_t n) {
  std::string s;
  for (std::size_t i = 0; s.size() < n; ++i) {
    s += static_cast<char>((i * 7919) >> 3);
    if (i % 97 == 0) s.append(i % 400, static_cast<char>(i % 3 == 0 ? 0x90 : 0x20));
  }
  s.resize(n);
  return s;
}

TEST(BinHexDecoder, DecodesWhatWasEncoded) {
  // Plain runs: the macutils rows below; a Shift JIS name: the survey report test.
  const BinHexFile rows[] = {
      {"empty forks", "TEXT", "ttxt", "", ""},
      {"literal 0x90 and runs of it", "BINA", "????", "\x90\x90\x90\x90" "a\x90" "b", "\x90"},
      {std::string(63, 'n'), "PDF ", "CARO", Mixed(300'000), Mixed(70'000)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const Decoded d = Decode(EncodeBinHex(row));
    ASSERT_EQ(d.status, BinHexStatus::Ok) << BinHexMessage(d.status);
    EXPECT_EQ(d.data, row.data);
    EXPECT_EQ(d.resource, row.resource);
    EXPECT_EQ(d.info.DataLength, static_cast<std::int64_t>(row.data.size()));
    EXPECT_EQ(d.info.ResourceLength, static_cast<std::int64_t>(row.resource.size()));
    EXPECT_EQ(d.info.FileType + "|" + d.info.Creator,
              row.type.substr(0, row.type.find_last_not_of(' ') + 1) + "|" + row.creator);
  }
}

// The fork CRCs and a cut in the data fork, end to end with their messages: cli_mac_files_test.
TEST(BinHexDecoder, RefusesDamagedInput) {
  const BinHexFile good{"memo", "TEXT", "ttxt", Mixed(5000), Mixed(3000)};
  const std::string text = EncodeBinHex(good);
  auto spoiled = [&](int which) {
    BinHexFile f = good;
    f.crcXor[which] = 1;
    return EncodeBinHex(f);
  };
  std::string badChar = text;
  badChar[badChar.size() / 2] = 'o';  // not in the alphabet
  const struct { const char* name; std::string text; BinHexStatus expected; } rows[] = {
      {"plain text", "hello\nworld\n", BinHexStatus::NotBinHex},
      {"colon line of other text", ":hello world, this is no BinHex header at all\n", BinHexStatus::NotBinHex},
      {"cut inside the header", text.substr(0, 60), BinHexStatus::Truncated},
      {"cut before the last CRC", text.substr(0, text.size() - 4), BinHexStatus::Truncated},
      {"closing colon early", text.substr(0, text.size() / 2) + ":", BinHexStatus::Truncated},
      {"header CRC", spoiled(0), BinHexStatus::HeaderCrc},
      {"bad character", badChar, BinHexStatus::BadCharacter},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Decode(row.text).status, row.expected);
    EXPECT_FALSE(BinHexMessage(row.expected).empty());
  }
  EXPECT_TRUE(LooksLikeBinHex(text.substr(0, 200)));
  EXPECT_FALSE(LooksLikeBinHex(spoiled(0).substr(0, 200)));
}

// Only a file that says it is BinHex is refused as a damaged one.
TEST(ProbeMacWrapper, DamagedHeaderOnlyWhereTheFileClaimsBinHex) {
  BinHexFile spoiled{"memo", "TEXT", "ttxt", "data", ""};
  spoiled.crcXor[0] = 1;
  const std::string claims = EncodeBinHex(spoiled);
  const std::string bare = claims.substr(claims.find('\n') + 1);  // no "(This file must be converted" line
  const struct { const char* name; std::string bytes; MacWrapper kind; bool damaged; } rows[] = {
      {"notes.txt", "a line\n" + bare, MacWrapper::None, false},
      {"notes.hqx", "a line\n" + bare, MacWrapper::BinHex, true},
      {"claims.txt", claims, MacWrapper::BinHex, true},
      {"good.txt", EncodeBinHex({"memo", "TEXT", "ttxt", "data", ""}), MacWrapper::BinHex, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const testing::ScratchDir dir;
    WrappedMacFile info;
    std::string error;
    EXPECT_EQ(ProbeMacWrapper(dir.Write(row.name, row.bytes), info, error), row.kind);
    EXPECT_EQ(!error.empty(), row.damaged) << error;
  }
}

// macutils encodes and decodes; the forks must come out as hexbin gives them.
TEST(BinHexDecoder, AgreesWithMacutils) {
  if (std::system("command -v binhex >/dev/null && command -v hexbin >/dev/null") != 0) {
    GTEST_SKIP() << "macutils not installed (scripts/install-deps.sh)";
  }
  const struct { std::string name, type, creator, data, resource; } rows[] = {
      {"ReadMe", "TEXT", "ttxt", "line\r" + std::string(600, '-') + "\r", ""},
      {"Photo", "JPEG", "8BIM", Mixed(40'000), Mixed(9'000)},
      {"Runs", "BINA", "mdos", std::string(70'000, '\x90') + std::string(5, '\0'), std::string(300, 'r')},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const testing::ScratchDir dir;
    const auto bin = dir.Write("in.bin", testing::MacBinaryFile({row.name, row.type, row.creator}, row.data, row.resource));
    const auto d = dir.Path();
    ASSERT_EQ(std::system(("cd '" + d.string() + "' && binhex in.bin > made.hqx && mkdir theirs ours && "
                           "cd theirs && hexbin -3 ../made.hqx").c_str()), 0);
    const Decoded mine = Decode(testing::ReadAll(d / "made.hqx"));
    ASSERT_EQ(mine.status, BinHexStatus::Ok) << BinHexMessage(mine.status);
    EXPECT_EQ(mine.info.FileName, row.name);
    EXPECT_EQ(mine.info.FileType, row.type);
    EXPECT_EQ(mine.info.Creator, row.creator);
    EXPECT_EQ(mine.data, testing::ReadAll(d / "theirs" / (row.name + ".data")));
    EXPECT_EQ(mine.resource, testing::ReadAll(d / "theirs" / (row.name + ".rsrc")));
    EXPECT_EQ(mine.data, row.data);
    // And hexbin reads what the test encoder writes, so the tables above test real BinHex.
    dir.Write("ours.hqx", EncodeBinHex({row.name, row.type, row.creator, row.data, row.resource}));
    ASSERT_EQ(std::system(("cd '" + (d / "ours").string() + "' && hexbin -3 ../ours.hqx").c_str()), 0);
    EXPECT_EQ(testing::ReadAll(d / "ours" / (row.name + ".data")), row.data);
    EXPECT_EQ(testing::ReadAll(d / "ours" / (row.name + ".rsrc")), row.resource);
  }
}

std::string Range(const std::string& file, const std::optional<AppleForkRange>& r) {
  return r ? file.substr(static_cast<std::size_t>(r->Offset), static_cast<std::size_t>(r->Length)) : "<none>";
}

// Runs the independent script in `folder`.
int Script(const std::filesystem::path& folder, const std::string& args) {
  return std::system(("cd '" + folder.string() + "' && python3 '" FERROX_SOURCE_DIR "/tools/apple_double.py' " + args).c_str());
}

TEST(ReadAppleFile, ReadsWhatTheScriptWrites) {
  const struct { const char* name; std::string args; AppleFileKind kind; std::string fileName, type, creator;
                 bool dates; bool data; } rows[] = {
      {"AppleSingle, every entry", "single f --name 'メモ.txt' --type TEXT --creator ttxt --dates 0 86400 "
       "--data d --rsrc r", AppleFileKind::Single, "メモ.txt", "TEXT", "ttxt", true, true},
      {"AppleSingle, CP932 name, no Finder info", "single f --name-encoding cp932 --name '表示' --data d",
       AppleFileKind::Single, "表示", "", "", false, true},
      {"AppleDouble as macOS writes it", "double f --type 'PDF ' --creator CARO --rsrc r --macos",
       AppleFileKind::Double, "", "PDF", "CARO", false, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const testing::ScratchDir dir;
    dir.Write("d", "data fork\r\x90\x00");
    dir.Write("r", std::string(700, '\x7F') + "resource");
    ASSERT_EQ(Script(dir.Path(), row.args), 0);
    AppleFileInfo info;
    ASSERT_EQ(ReadAppleFile(dir.Path() / "f", info), AppleFileStatus::Ok);
    const std::string file = testing::ReadAll(dir.Path() / "f");
    EXPECT_EQ(info.Kind, row.kind);
    EXPECT_EQ(info.FileName, row.fileName);
    EXPECT_EQ(info.FileType + "|" + info.Creator, row.type + "|" + row.creator);
    EXPECT_EQ(info.HasDates, row.dates);
    EXPECT_EQ(Range(file, info.DataFork), row.data ? testing::ReadAll(dir.Path() / "d") : "<none>");
    EXPECT_EQ(Range(file, info.ResourceFork), row.kind == AppleFileKind::Double || row.args.find("--rsrc") != std::string::npos
                                                  ? testing::ReadAll(dir.Path() / "r") : "<none>");
    if (row.dates) {  // seconds from 2000-01-01 00:00 UTC; shown without a zone shift
      EXPECT_EQ(info.Created, (DateTime{2000, 1, 1, 0, 0, 0, 0, 6}));
      EXPECT_EQ(info.Modified, (DateTime{2000, 1, 2, 0, 0, 0, 0, 0}));
    }
  }
}

// A fork past the end and a name of 1,000 bytes, end to end with their messages: cli_mac_files_test.
TEST(ReadAppleFile, RefusesDamagedFiles) {
  auto file = [](std::uint32_t magic, std::uint32_t version,
                 std::initializer_list<std::array<std::uint32_t, 3>> entries, std::size_t bodyLength) {
    return testing::AppleFileBytes(entries, std::string(bodyLength, 'x'), magic, version);
  };
  const struct { const char* name; std::string bytes; AppleFileStatus expected; } rows[] = {
      {"offset near 4 GiB", file(0x51607, 0x20000, {{2, 0xFFFFFFF0u, 0x20}}, 10), AppleFileStatus::EntryPastEnd},
      {"entry table cut short", file(0x51600, 0x20000, {{1, 0, 0}, {2, 0, 0}}, 0).substr(0, 40),
       AppleFileStatus::Truncated},
      {"Finder info of 4 bytes", file(0x51607, 0x20000, {{9, 38, 4}}, 4), AppleFileStatus::BadEntry},
      {"dates entry of 4 bytes", file(0x51600, 0x20000, {{8, 38, 4}}, 4), AppleFileStatus::BadEntry},
      {"version 1", file(0x51600, 0x10000, {}, 0), AppleFileStatus::NotAppleFile},
      {"other magic", file(0x51601, 0x20000, {}, 0), AppleFileStatus::NotAppleFile},
      {"four bytes", std::string("\0\x05\x16\0", 4), AppleFileStatus::NotAppleFile},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    std::istringstream in(row.bytes);
    AppleFileInfo info;
    info.FileName = "unchanged";
    EXPECT_EQ(ReadAppleFile(in, static_cast<std::int64_t>(row.bytes.size()), info), row.expected);
    EXPECT_EQ(info.FileName, "unchanged");
    EXPECT_FALSE(AppleFileMessage(row.expected).empty());
  }
}

TEST(AppleDoubleHeader, ScriptReadsWhatFerroxWrites) {
  const testing::ScratchDir dir;
  const std::string fork = std::string(5000, '\x90') + "end";
  dir.Write("._out.txt", AppleDoubleHeader(MakeFinderInfo("GIF", "8BIM"), 5003) + fork);
  ASSERT_EQ(Script(dir.Path(), "read ._out.txt > said"), 0);
  EXPECT_EQ(testing::ReadAll(dir.Path() / "said"), "GIF  8BIM\n");
  EXPECT_EQ(testing::ReadAll(dir.Path() / "._out.txt.rsrc"), fork);
}

}  // namespace
}  // namespace ferrox
