// The shipped gaiji table for Macintosh files, read by the real loader.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "analysis/code_ranges.h"
#include "convert/cp932.h"
#include "convert/gaiji_table.h"
#include "convert/transcoders.h"

namespace ferrox {
namespace {

using namespace std::string_literals;

const std::string kPath = FERROX_SOURCE_DIR "/data/MacGaiji.txt";

TEST(MacGaiji, IsCp932WithCrLfAndACommentHeader) {
  std::ifstream in(kPath, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  ASSERT_FALSE(text.empty());
  EXPECT_EQ(text.front(), '/');
  EXPECT_EQ(text.substr(text.size() - 2), "\r\n");
  for (std::size_t p = 0; p < text.size(); ++p) {
    if (text[p] == '\n') {
      EXPECT_EQ(text[p - 1], '\r') << "lone LF at " << p;
    }
    if (text[p] == '\r') {
      EXPECT_EQ(text[p + 1], '\n') << "lone CR at " << p;
    }
  }
  EXPECT_EQ(cp932::ToUtf8(text).find("\xef\xbf\xbd"), std::string::npos) << "not CP932";
}

TEST(MacGaiji, MapsOnlyGaijiCodesEachOnce) {
  GaijiTable t;
  ASSERT_GT(t.LoadGaijiTable(kPath), 200u);
  std::set<int> seen;
  for (std::size_t k = 1; k < t.Records().size(); ++k) {
    const auto& r = t.Records()[k];
    EXPECT_EQ(code_ranges::SjisLead(r.first, r.second), code_ranges::Lead::kGaiji)
        << std::hex << int{r.first} << int{r.second};
    EXPECT_TRUE(seen.insert(r.first << 8 | r.second).second) << "twice: " << std::hex << int{r.first} << int{r.second};
    EXPECT_FALSE(r.replacement.empty());
  }
  EXPECT_EQ(t.Records()[0].replacement, "\x81\xac");  // the file leaves the default alone
}

TEST(MacGaiji, MacTextComesOutAsWindowsText) {
  GaijiTable t;
  t.LoadGaijiTable(kPath);
  // Mac ① (0x8540), (1) (0x855E, no CP932 form), a Mac code with neither, Ⅰ (0x859F).
  const std::string mac = "\x85\x40\x85\x5e\x85\x7c\x85\x9f"s "\0\0";
  std::uint8_t out[64];
  BufIndex o = 0, i = 0, consumed = 0;
  SjisCopy(out, reinterpret_cast<const std::uint8_t*>(mac.data()), o, i, 7, consumed,
           GaijiPolicy{GaijiPolicy::Mode::kReplace, &t});
  EXPECT_EQ(consumed, 8);
  EXPECT_EQ(cp932::ToUtf8(std::string(out, out + o)), "①(1)〓Ⅰ");
}

}  // namespace
}  // namespace ferrox
