#pragma once
// One row of the suffix table: a Mac type and creator pattern and the
// extension that files matching it get.

#include <string>

namespace ferrox {

struct SuffixEntry {
  std::string Extension;    // without the dot; empty = keep the name as it is
  std::string FileType;     // pattern; may hold wildcards; empty = any
  std::string Creator;      // pattern; same rules as FileType
  std::string Description;  // free text, never matched

  friend bool operator==(const SuffixEntry&, const SuffixEntry&) = default;
};

}  // namespace ferrox
