// The suffix table loader on arbitrary file bytes. It never fails; and a
// table it read, written out again, reads back to the same rows when every
// field can be written (CP932, no TAB or line end, no line that would read
// as a comment or a directive).

#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/fuzz_input.h"
#include "suffix/suffix_table.h"
#include "text/cp932.h"

using namespace ferrox;

namespace {

bool Writable(const SuffixEntry& e) {
  for (const std::string* f : {&e.Extension, &e.FileType, &e.Creator, &e.Description}) {
    if (f->find_first_of("\t\r\n") != std::string::npos) return false;
    if (f->find("\xEF\xBF\xBD") != std::string::npos) return false;  // undecodable input
    if (!cp932::FromUtf8(*f)) return false;
  }
  const std::string_view ext = e.Extension;
  if (ext.starts_with(".") || ext.starts_with("/")) return false;
  if (ext.size() >= 6 && (ext.substr(0, 6) == "Punct=" || ext.substr(0, 6) == "punct=")) return false;
  std::string lowered(ext.substr(0, 6));
  for (char& c : lowered) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
  return lowered != "punct=";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  SuffixTable table;
  const SuffixLoadStatus status = SuffixTableParse(table, text);
  if (status != SuffixLoadStatus::kLoaded) return 0;
  for (const SuffixEntry& row : table.Rows())
    if (!Writable(row)) return 0;

  const std::optional<std::string> written = cp932::FromUtf8(SuffixTableText(table, "2026/01/01"));
  if (!written) fuzz::Fail("a writable table could not be encoded");
  SuffixTable again;
  if (SuffixTableParse(again, *written) != SuffixLoadStatus::kLoaded) fuzz::Fail("written table does not load");
  if (!(again == table)) fuzz::Fail("written table reads back differently");
  return 0;
}
