// Surveys every file of a corpus folder (bench/make_survey_corpus.py) with a
// given ConvMode and counts, per group and code, how the survey called them:
// right, UTF-8 when the file is not, another code, or no code at all.
//
// Usage: survey_corpus CORPUS [ConvMode ...]
// With FERROX_LIST_MISSES set, every file not called right is listed with its flags.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "analysis/file_survey.h"
#include "analysis/survey_flags.h"

namespace fs = std::filesystem;
namespace survey = ferrox::survey;

namespace {

// The flag bits a file of this code must show, and no other code bit.
std::uint16_t Expected(const std::string& code) {
  if (code == "utf8") return survey::kUtf8;
  if (code == "sjis") return survey::kSjis;
  if (code == "euc") return survey::kEuc;
  return survey::kJis;
}

struct Counts {
  int files = 0;
  int right = 0;
  int utf8 = 0;   // called UTF-8 when it is not
  int other = 0;  // another legacy code
  int none = 0;   // no code (or binary)
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: survey_corpus CORPUS [ConvMode ...]\n");
    return 64;
  }
  std::vector<std::uint16_t> modes;
  for (int a = 2; a < argc; ++a) modes.push_back(static_cast<std::uint16_t>(std::atoi(argv[a])));
  if (modes.empty()) modes.push_back(12);
  const fs::path root = fs::absolute(argv[1]);
  ferrox::SilentProgress progress;

  std::printf("%-6s %-6s %-5s %6s %6s %6s %6s %6s\n", "mode", "group", "code", "files", "right",
              "utf8", "other", "none");
  for (const std::uint16_t mode : modes) {
    std::map<std::pair<std::string, std::string>, Counts> table;
    std::vector<fs::path> files;
    for (const auto& e : fs::recursive_directory_iterator(root)) {
      if (e.is_regular_file()) files.push_back(e.path());
    }
    for (const fs::path& file : files) {
      const std::string code = file.parent_path().filename();
      const std::string group = file.parent_path().parent_path().filename();
      ferrox::FileSurvey s;
      ferrox::SurveySettings settings;
      settings.ConvMode = mode;
      ferrox::MacBinaryInfo info;
      std::uint16_t flags = 0;
      if (!ferrox::Surveyed(s.FileTypeChk(file.string(), settings, progress, info, flags))) continue;
      Counts& c = table[{group, code}];
      ++c.files;
      const std::uint16_t codes = flags & (survey::kUtf8 | survey::kSjis | survey::kJis | survey::kEuc);
      if (codes == Expected(code)) {
        ++c.right;
        continue;
      }
      if (std::getenv("FERROX_LIST_MISSES") != nullptr) {
        std::printf("miss %u 0x%04X %s\n", mode, flags, file.c_str());
      }
      if ((codes & survey::kUtf8) != 0) {
        ++c.utf8;
      } else if (codes != 0) {
        ++c.other;
      } else {
        ++c.none;
      }
    }
    for (const auto& [key, c] : table) {
      std::printf("%-6u %-6s %-5s %6d %6d %6d %6d %6d\n", mode, key.first.c_str(),
                  key.second.c_str(), c.files, c.right, c.utf8, c.other, c.none);
    }
  }
  return 0;
}
