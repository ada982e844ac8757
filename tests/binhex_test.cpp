// BinHex 4.0 decoding: round trips through a test encoder, agreement with
// macutils' binhex and hexbin, and every kind of damaged input.

#include "analysis/binhex.h"
#include "analysis/mac_wrapper.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>

#include "helpers/binhex_encoder.h"
#include "helpers/macbinary_builder.h"
#include "helpers/scratch_dir.h"

namespace ferrox {
namespace {

using testing::BinHexFile;
using testing::EncodeBinHex;

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
  const BinHexFile rows[] = {
      {"empty forks", "TEXT", "ttxt", "", ""},
      {"runs", "TEXT", "ttxt", std::string(1000, 'x') + "ab" + std::string(3, 'y'), std::string(256, '\0')},
      {"literal 0x90 and runs of it", "BINA", "????", "\x90\x90\x90\x90" "a\x90" "b", "\x90"},
      {"\x95\x5C\x8E\xA6.txt", "TEXT", "MACA", "Shift JIS name", ""},
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
  EXPECT_EQ(Decode(EncodeBinHex({"\x95\x5C\x8E\xA6.txt", "TEXT", "ttxt", "", ""})).info.FileName, "表示.txt");
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

}  // namespace
}  // namespace ferrox
