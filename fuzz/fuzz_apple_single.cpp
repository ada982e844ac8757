// The AppleSingle/AppleDouble reader on arbitrary files: every range it
// accepts lies inside the file, and a header it writes reads back.

#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>

#include "analysis/apple_single.h"
#include "fuzz/fuzz_input.h"

using namespace ferrox;

namespace {

bool Inside(const std::optional<AppleForkRange>& r, std::int64_t length) {
  return !r || (r->Offset >= 0 && r->Length >= 0 && r->Offset + r->Length <= length);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const auto length = static_cast<std::int64_t>(size);
  std::istringstream in(input);
  AppleFileInfo info;
  const AppleFileStatus status = ReadAppleFile(in, length, info);
  if (AppleFileMessage(status).empty() != (status == AppleFileStatus::Ok)) fuzz::Fail("message missing");
  if (status == AppleFileStatus::Ok) {
    if (!Inside(info.DataFork, length) || !Inside(info.ResourceFork, length)) fuzz::Fail("fork past the end");
    if (info.FileName.size() > 3 * kAppleMaxNameLength) fuzz::Fail("name longer than the limit");
  }
  const std::string path = fuzz::WriteInputFile(data, size);
  AppleFileInfo fromFile;
  if (ReadAppleFile(path, fromFile) != status) fuzz::Fail("file and stream readers disagree");

  // A header written for the input's first 32 bytes as Finder info.
  std::array<std::uint8_t, 32> finder{};
  std::memcpy(finder.data(), data, std::min<std::size_t>(size, 32));
  const std::string rest = size > 32 ? input.substr(32) : std::string();
  const std::string written = AppleDoubleHeader(finder, static_cast<std::int64_t>(rest.size())) + rest;
  std::istringstream back(written);
  AppleFileInfo read;
  if (ReadAppleFile(back, static_cast<std::int64_t>(written.size()), read) != AppleFileStatus::Ok) {
    fuzz::Fail("written AppleDouble refused");
  }
  if (read.FinderInfo != finder || !read.ResourceFork ||
      written.substr(static_cast<std::size_t>(read.ResourceFork->Offset)) != rest) {
    fuzz::Fail("written AppleDouble reads back differently");
  }
  return 0;
}
