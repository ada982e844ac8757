#pragma once
// The files an input box names, for the survey report of several files: the
// names of a quoted list, the files a wildcard matches, or the files of a
// folder and (with FileMode bit 16) of its subfolders, in walk order.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ferrox {

[[nodiscard]] std::vector<std::string> ExpandEntry(std::string_view boxText, std::uint16_t fileMode);

}  // namespace ferrox
