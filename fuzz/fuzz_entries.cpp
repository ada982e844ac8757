// CommaToDim and the path helpers on arbitrary box texts.

#include <cstdint>
#include <string>
#include <string_view>

#include "app/entry_list.h"
#include "app/path_helpers.h"
#include "fuzz/fuzz_input.h"

using namespace ferrox;

namespace {

bool StartsWith(std::string_view s, std::string_view prefix) { return s.substr(0, prefix.size()) == prefix; }

void CheckPath(const std::string& p) {
  const std::string parent = GetParentFolder(p);
  if (!parent.empty() && !StartsWith(p, parent)) fuzz::Fail("parent folder is not a prefix");
  if (GetPathRoot(p).empty() != parent.empty()) fuzz::Fail("a parent without a root, or a root without a parent");
  const std::string stem = GetNameWithoutExtension(p);
  if (!StartsWith(p, stem)) fuzz::Fail("name without extension is not a prefix");
  const std::string withSep = AddPathSeparator(p);
  if (!withSep.empty() && withSep.back() != '/') fuzz::Fail("separator missing");
  const std::string abs = MakeAbsolute(p, "/work/dir");
  if (!abs.empty() && abs.front() != '/') fuzz::Fail("absolute path not absolute");
  (void)NormalizeEntry(p);
  (void)HasWildcard(p);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::vector<std::string> names = CommaToDim(text);
  for (const std::string& name : names) CheckPath(name);
  CheckPath(std::string(text));

  // A list of names without quotes in them survives being quoted and split again.
  bool quotable = true;
  for (const std::string& name : names) quotable = quotable && name.find('"') == std::string::npos && !name.empty();
  if (quotable && !names.empty() && CommaToDim(QuotedList(names)) != names) fuzz::Fail("quoted list does not read back");
  return 0;
}
