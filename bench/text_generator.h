#pragma once
// Japanese sample text for the benchmark: the project's own sentences, put
// together at random into lines and written as Shift JIS, EUC-JP or
// ISO-2022-JP with the line end of the format.

#include <cstddef>
#include <cstdint>
#include <string>

namespace ferrox::bench {

enum class Encoding { kSjis, kEuc, kJis };

struct Sample {
  std::string input;     // the text in the input encoding and line end
  std::string expected;  // the same text as Shift JIS with CR LF
};

// Lines of one to three sentences until the input holds at least `size` bytes.
// The same seed gives the same text.
[[nodiscard]] Sample MakeSample(Encoding encoding, const std::string& lineEnd, std::size_t size,
                                std::uint32_t seed);

}  // namespace ferrox::bench
