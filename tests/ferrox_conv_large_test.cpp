// The conversion pass on a sparse file of 5 GiB: sizes and offsets past 4 GiB,
// in a copy and in a text conversion. Labelled "large" (ctest -LE large skips it).

#include "convert/ferrox_conv.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "helpers/scratch_dir.h"

namespace ferrox {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kSize = 5LL << 30;

TEST(FerroxConvLarge, SparseFiveGiBFileCopiesAndConverts) {
  const testing::ScratchDir dir;
  const fs::path in = dir.Write("in", "head");
  fs::resize_file(in, static_cast<std::uintmax_t>(kSize));
  std::fstream(in, std::ios::binary | std::ios::in | std::ios::out).seekp(kSize - 4) << "tail";
  ConvOptions options;
  SilentProgress progress;

  const fs::path copy = dir.Path() / "copy";
  const auto readAt = [&](std::int64_t offset) {
    std::ifstream f(copy, std::ios::binary);
    std::string s(4, '\0');
    f.seekg(offset).read(s.data(), 4);
    return s;
  };
  ASSERT_EQ(FerroxConv(copy, in, 0, kSize, 0, 0, false, options, progress), JobResult::Done);
  ASSERT_EQ(static_cast<std::int64_t>(fs::file_size(copy)), kSize);
  EXPECT_EQ(readAt(0), "head");
  EXPECT_EQ(readAt(kSize - 4), "tail");
  EXPECT_EQ(readAt((4LL << 30) + 7), std::string(4, '\0'));
  fs::remove(copy);

  // The zeros are dropped as junk by both converters.
  for (const std::uint16_t convMode : {std::uint16_t{13}, std::uint16_t{9}}) {
    options.convMode = convMode;
    const fs::path out = dir.Path() / ("out" + std::to_string(convMode));
    ASSERT_EQ(FerroxConv(out, in, 0, kSize, kOpText, 0x0113, false, options, progress), JobResult::Done);
    EXPECT_EQ(testing::ReadAll(out), "headtail\x1A") << convMode;
  }
}

}  // namespace
}  // namespace ferrox
