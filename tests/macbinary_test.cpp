// MacBinary header: recognition, reading, rewriting and the report block.

#include "analysis/macbinary.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>

#include "helpers/macbinary_builder.h"
#include "helpers/scratch_dir.h"

namespace ferrox {
namespace {

using testing::MacBinaryHeader;
using testing::MacBinaryHeaderBytes;

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

TEST(ParseMacBinaryHeader, UndecodableNameBytesStayVisible) {
  // A lead byte with nothing after it, and bytes CP932 leaves unassigned.
  for (const std::string raw : {"ab\x81", "\xA0", "\xFD\xFE\xFF"}) {
    const auto got = ParseMacBinaryHeader(MacBinaryHeader({raw}), 128);
    ASSERT_TRUE(got.has_value());
    EXPECT_NE(got->FileName.find("\xEF\xBF\xBD"), std::string::npos) << got->FileName;
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

// The whole block is in the survey report test; here, the suffix line for each kind of match.
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

}  // namespace
}  // namespace ferrox
