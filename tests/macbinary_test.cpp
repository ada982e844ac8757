// MacBinary header: recognition, reading, rewriting and the report block.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>

#include "analysis/macbinary.h"
#include "helpers/macbinary_builder.h"
#include "helpers/scratch_dir.h"

namespace ferrox {
namespace {

using testing::MacBinaryFields;
using testing::MacBinaryHeader;

std::string Bytes(const std::array<std::uint8_t, 128>& h) {
  return {reinterpret_cast<const char*>(h.data()), h.size()};
}

struct AcceptRow {
  const char* name;
  MacBinaryFields fields;
  std::int64_t fileLength;
  MacBinaryInfo expected;  // Created/Modified from MacTimeToDate of the fields
};

MacBinaryInfo Info(std::string name, std::int32_t data, std::int32_t res, std::string type,
                   std::string creator, double created, double modified) {
  MacBinaryInfo i;
  i.FileName = std::move(name);
  i.DataLength = data;
  i.ResourceLength = res;
  i.FileType = std::move(type);
  i.Creator = std::move(creator);
  i.Created = MacTimeToDate(created);
  i.Modified = MacTimeToDate(modified);
  return i;
}

TEST(ParseMacBinaryHeader, ReadsValidHeaders) {
  const AcceptRow rows[] = {
      {"empty data fork, file of exactly 128 bytes",
       {"Read Me", "TEXT", "ttxt", 0, 0, 0, 0}, 128,
       Info("Read Me", 0, 0, "TEXT", "ttxt", 0, 0)},
      {"resource fork cut short is still MacBinary",
       {"doc", "WDBN", "MSWD", 10, 5000, 0, 0}, 128 + 10 + 100,
       Info("doc", 10, 5000, "WDBN", "MSWD", 0, 0)},
      {"dates past 2^31 seconds",
       {"x", "TEXT", "ttxt", 0, 0, 0x80000000u, 0xFFFFFFFFu}, 128,
       Info("x", 0, 0, "TEXT", "ttxt", 2147483648.0, 4294967295.0)},
      {"Shift JIS names whose trail byte is 0x5C",
       {"\x95\x5C\x83\x5C\x94\x5C.txt", "TEXT", "ttxt", 3, 0, 0, 0}, 131,
       Info("表ソ能.txt", 3, 0, "TEXT", "ttxt", 0, 0)},
      {"type and creator trimmed of blanks",
       {"a", "GIF ", " ab ", 0, 0, 0, 0}, 128, Info("a", 0, 0, "GIF", "ab", 0, 0)},
      {"fork lengths are 24 bits: the top byte is ignored",
       {"a", "TEXT", "ttxt", 0x01000010u, 0xFF000020u, 0, 0}, 128 + 16,
       Info("a", 16, 32, "TEXT", "ttxt", 0, 0)},
      {"largest 24-bit data fork", {"a", "TEXT", "ttxt", 0xFFFFFF, 0, 0, 0}, 128 + 0xFFFFFF,
       Info("a", 0xFFFFFF, 0, "TEXT", "ttxt", 0, 0)},
      {"name of 31 bytes", {std::string(31, 'n'), "TEXT", "ttxt", 0, 0, 0, 0}, 128,
       Info(std::string(31, 'n'), 0, 0, "TEXT", "ttxt", 0, 0)},
  };
  for (const AcceptRow& row : rows) {
    SCOPED_TRACE(row.name);
    const auto got = ParseMacBinaryHeader(MacBinaryHeader(row.fields), row.fileLength);
    ASSERT_TRUE(got.has_value());
    EXPECT_EQ(*got, row.expected);
  }
}

TEST(ParseMacBinaryHeader, RefusesWhatIsNotAHeader) {
  struct Row {
    const char* name;
    std::size_t offset;  // byte to overwrite in an otherwise valid header
    std::uint8_t value;
    std::int64_t fileLength;
  };
  const Row rows[] = {
      {"version byte 1", 0, 1, 200},
      {"name length 0", 1, 0, 200},
      {"name length 32", 1, 32, 200},
      {"name length 63", 1, 63, 200},
      {"type byte below blank", 65, 0x1F, 200},
      {"type byte DEL", 68, 0x7F, 200},
      {"creator byte 0 (unset creator)", 72, 0x00, 200},
      {"creator byte above 0x7E", 69, 0x80, 200},
      {"data fork longer than the file", 86, 73, 200},  // 128 + 73 > 200
      {"file shorter than a header", 1, 1, 127},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    auto h = MacBinaryHeader({"a", "TEXT", "ttxt", 72, 0, 0, 0});
    ASSERT_TRUE(ParseMacBinaryHeader(h, 200).has_value());
    h[row.offset] = row.value;
    EXPECT_FALSE(ParseMacBinaryHeader(h, row.fileLength).has_value());
  }
}

TEST(ParseMacBinaryHeader, UndecodableNameBytesStayVisible) {
  // A lead byte with nothing after it, and bytes CP932 leaves unassigned.
  for (const std::string raw : {"ab\x81", "\xA0", "\xFD\xFE\xFF"}) {
    const auto got = ParseMacBinaryHeader(MacBinaryHeader({raw, "TEXT", "ttxt"}), 128);
    ASSERT_TRUE(got.has_value());
    EXPECT_NE(got->FileName.find("\xEF\xBF\xBD"), std::string::npos) << got->FileName;
  }
}

TEST(MBInfGet, ReadsFilesAndLeavesTheRecordAloneOtherwise) {
  testing::ScratchDir dir;
  const auto mac = dir.Write(
      "mac.bin", Bytes(MacBinaryHeader({"Note", "TEXT", "ttxt", 2, 0, 0, 0})) + "hi");
  MacBinaryInfo info;
  EXPECT_EQ(MBInfGet(mac, info), 0);
  EXPECT_EQ(info.FileName, "Note");
  EXPECT_EQ(info.DataLength, 2);

  MacBinaryInfo untouched = info;
  const auto shortFile =
      dir.Write("short.bin", Bytes(MacBinaryHeader({"Note", "TEXT", "ttxt"})).substr(0, 127));
  EXPECT_EQ(MBInfGet(shortFile, untouched), 1);
  EXPECT_EQ(MBInfGet(dir.Path() / "missing", untouched), 1);
  EXPECT_EQ(MBInfGet(dir.Path(), untouched), 1);
  EXPECT_EQ(untouched, info);
}

TEST(MBInfPut, RewritesOnlyTheForkLengths) {
  testing::ScratchDir dir;
  auto h = MacBinaryHeader({"Note", "TEXT", "ttxt", 0x01020304, 0x05060708, 77, 88});
  for (std::size_t i = 101; i < 128; ++i) {
    h[i] = static_cast<std::uint8_t>(i);  // flags, CRC and the rest must survive
  }
  const std::string tail = "data that follows";
  const auto file = dir.Write("out.bin", Bytes(h) + tail);
  ASSERT_EQ(MBInfPut(file, 1000), 0);

  auto expected = h;
  const std::uint8_t lengths[8] = {0x00, 0x00, 0x03, 0xE8, 0, 0, 0, 0};
  std::copy(std::begin(lengths), std::end(lengths), expected.begin() + 83);
  EXPECT_EQ(testing::ReadAll(file), Bytes(expected) + tail);
}

TEST(MBInfPut, RefusesShortOrMissingFiles) {
  testing::ScratchDir dir;
  const std::string bytes(127, '\0');
  const auto file = dir.Write("short", bytes);
  EXPECT_EQ(MBInfPut(file, 5), 1);
  EXPECT_EQ(testing::ReadAll(file), bytes);
  EXPECT_EQ(MBInfPut(dir.Path() / "missing", 5), 1);
}

TEST(AppendMacBinaryInfo, WholeBlock) {
  MacBinaryInfo info = Info("表ソ能.txt", 1234567, 0, "TEXT", "ttxt", 3134883900.0, 0);
  const std::string common =
      "\r\n"
      "このファイルにはMacBinaryが付加されています。\r\n"
      "以下は Macintosh での情報です。\r\n"
      "作成日時          :2003/05/04(日) 09:05:00\r\n"
      "更新日時          :1904/01/01(金) 00:00:00\r\n"
      "データフォーク    :1,234,567 Byte\r\n"
      "リソースフォーク  :0 Byte\r\n"
      "ファイルタイプ    :[TEXT]\r\n"
      "ファイルクリエータ:[ttxt]\r\n";
  const std::string name = "オリジナルのファイル名は[表ソ能.txt]です。\r\n";

  struct Row {
    const char* name;
    const SuffixEntry* match;
    const char* line;
  };
  const SuffixEntry withText{"txt", "TEXT", "*", "テキスト"};
  const SuffixEntry noComment{"txt", "TEXT", "*", ""};
  const SuffixEntry keepName{"", "TEXT", "*", "そのまま"};
  const Row rows[] = {
      {"no entry", nullptr, "対応する拡張子は登録されていません。\r\n"},
      {"with comment", &withText, "対応する拡張子は[.txt] (テキスト)です。\r\n"},
      {"without comment", &noComment, "対応する拡張子は[.txt]です。\r\n"},
      {"empty extension", &keepName, "対応する拡張子は[無し] (そのまま)です。\r\n"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    std::string report = "before\r\n";
    AppendMacBinaryInfo(report, info, row.match);
    EXPECT_EQ(report, "before\r\n" + common + row.line + name);
  }
}

}  // namespace
}  // namespace ferrox
