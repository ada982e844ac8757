// AppleSingle/AppleDouble: files written by an independent script to the
// published layout, damaged files, and the AppleDouble header Ferrox writes,
// read back by that script. (A zip with __MACOSX: cli_mac_files_test.)

#include "analysis/apple_single.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "helpers/scratch_dir.h"

namespace ferrox {
namespace {

std::string Slurp(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

std::string Range(const std::string& file, const std::optional<AppleForkRange>& r) {
  return r ? file.substr(static_cast<std::size_t>(r->Offset), static_cast<std::size_t>(r->Length)) : "<none>";
}

int Script(const std::string& args) {
  return std::system(("python3 '" FERROX_SOURCE_DIR "/tools/apple_double.py' " + args).c_str());
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
    ASSERT_EQ(std::system(("cd '" + dir.Path().string() + "' && python3 '" FERROX_SOURCE_DIR
                           "/tools/apple_double.py' " + row.args).c_str()), 0);
    AppleFileInfo info;
    ASSERT_EQ(ReadAppleFile(dir.Path() / "f", info), AppleFileStatus::Ok);
    const std::string file = Slurp(dir.Path() / "f");
    EXPECT_EQ(info.Kind, row.kind);
    EXPECT_EQ(info.FileName, row.fileName);
    EXPECT_EQ(info.FileType + "|" + info.Creator, row.type + "|" + row.creator);
    EXPECT_EQ(info.HasDates, row.dates);
    EXPECT_EQ(Range(file, info.DataFork), row.data ? Slurp(dir.Path() / "d") : "<none>");
    EXPECT_EQ(Range(file, info.ResourceFork), row.kind == AppleFileKind::Double || row.args.find("--rsrc") != std::string::npos
                                                  ? Slurp(dir.Path() / "r") : "<none>");
    if (row.dates) {  // seconds from 2000-01-01 00:00 UTC; shown without a zone shift
      EXPECT_EQ(info.Created, (DateTime{2000, 1, 1, 0, 0, 0, 0, 6}));
      EXPECT_EQ(info.Modified, (DateTime{2000, 1, 2, 0, 0, 0, 0, 0}));
    }
  }
}

TEST(ReadAppleFile, RefusesDamagedFiles) {
  auto file = [](std::uint32_t magic, std::uint32_t version,
                 std::initializer_list<std::array<std::uint32_t, 3>> entries, std::size_t bodyLength) {
    std::string s;
    auto be32 = [&s](std::uint32_t v) { for (int k = 24; k >= 0; k -= 8) s += static_cast<char>(v >> k); };
    be32(magic);
    be32(version);
    s.append(16, '\0');
    s += static_cast<char>(entries.size() >> 8);
    s += static_cast<char>(entries.size());
    for (const auto& e : entries) for (const auto v : e) be32(v);
    return s + std::string(bodyLength, 'x');
  };
  const struct { const char* name; std::string bytes; AppleFileStatus expected; } rows[] = {
      {"data fork past the end", file(0x51600, 0x20000, {{1, 38, 11}}, 10), AppleFileStatus::EntryPastEnd},
      {"offset near 4 GiB", file(0x51607, 0x20000, {{2, 0xFFFFFFF0u, 0x20}}, 10), AppleFileStatus::EntryPastEnd},
      {"name entry of 1,000 bytes", file(0x51600, 0x20000, {{3, 38, 1000}}, 1000), AppleFileStatus::NameTooLong},
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
  const std::string d = dir.Path().string();
  ASSERT_EQ(Script("read '" + d + "/._out.txt' > '" + d + "/said'"), 0);
  EXPECT_EQ(Slurp(dir.Path() / "said"), "GIF  8BIM\n");
  EXPECT_EQ(Slurp(dir.Path() / "._out.txt.rsrc"), fork);
}

}  // namespace
}  // namespace ferrox
