// The conversion pass on a sparse file of 5 GiB: sizes and offsets past 4 GiB,
// in a copy and in a text conversion. Labelled "large" (ctest -LE large skips it).

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "convert/ferrox_conv.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kSize = 5LL << 30;

class SparseInput : public testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("ferrox-large-" + std::to_string(::getpid()));
    fs::create_directories(dir_);
    in_ = dir_ / "in";
    {
      std::ofstream f(in_, std::ios::binary);
      f << "head";
    }
    fs::resize_file(in_, static_cast<std::uintmax_t>(kSize));
    std::fstream f(in_, std::ios::binary | std::ios::in | std::ios::out);
    f.seekp(kSize - 4);
    f << "tail";
  }
  void TearDown() override {
    std::error_code ec;
    fs::remove_all(dir_, ec);
  }

  fs::path dir_;
  fs::path in_;
};

std::string ReadAt(const fs::path& path, std::int64_t offset, std::size_t n) {
  std::ifstream f(path, std::ios::binary);
  f.seekg(offset);
  std::string s(n, '\0');
  f.read(s.data(), static_cast<std::streamsize>(n));
  return s;
}

TEST_F(SparseInput, CopiesFiveGiBToTheRightSize) {
  const fs::path out = dir_ / "out";
  ConvOptions options;
  SilentProgress progress;
  ASSERT_EQ(FerroxConv(out.string(), in_.string(), 0, kSize, 0, 0, false, options, progress), 0);
  ASSERT_EQ(static_cast<std::int64_t>(fs::file_size(out)), kSize);
  EXPECT_EQ(ReadAt(out, 0, 4), "head");
  EXPECT_EQ(ReadAt(out, kSize - 4, 4), "tail");
  EXPECT_EQ(ReadAt(out, (4LL << 30) + 7, 4), std::string(4, '\0'));
}

TEST_F(SparseInput, ConvertsFiveGiBOfTextWithBothConverters) {
  for (std::uint16_t convMode : {std::uint16_t{13}, std::uint16_t{9}}) {
    SCOPED_TRACE(convMode);
    const fs::path out = dir_ / ("out" + std::to_string(convMode));
    ConvOptions options;
    options.convMode = convMode;
    SilentProgress progress;
    ASSERT_EQ(FerroxConv(out.string(), in_.string(), 0, kSize, kOpText, 0x0113, false, options,
                         progress),
              0);
    std::ifstream f(out, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>()),
              "headtail\x1A");
  }
}

}  // namespace
}  // namespace ferrox
