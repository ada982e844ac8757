// Times the whole conversion (survey, pass, write) of three large Japanese
// texts into Shift JIS with CR LF, and the same work by nkf and by iconv piped
// into unix2dos, measured in the same run.
//
// Usage: ferrox_bench [work folder] [size in MiB] [runs]

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "analysis/file_survey.h"
#include "analysis/survey_flags.h"
#include "convert/ferrox_conv.h"
#include "text_generator.h"

namespace fs = std::filesystem;
using ferrox::bench::Encoding;

namespace {

struct Input {
  const char* name;
  const char* file;
  Encoding encoding;
  const char* lineEnd;
  const char* iconvName;
};

const Input kInputs[] = {
    {"Shift JIS, CR", "sjis_cr.txt", Encoding::kSjis, "\r", "CP932"},
    {"EUC-JP, LF", "euc_lf.txt", Encoding::kEuc, "\n", "EUC-JP"},
    {"ISO-2022-JP, LF", "jis_lf.txt", Encoding::kJis, "\n", "ISO-2022-JP"},
};

void WriteFile(const fs::path& path, const std::string& data) {
  std::ofstream f(path, std::ios::binary);
  f.write(data.data(), static_cast<std::streamsize>(data.size()));
  if (!f) {
    std::fprintf(stderr, "ferrox_bench: cannot write %s\n", path.c_str());
    std::exit(1);
  }
}

bool SameContents(const fs::path& a, const fs::path& b) {
  std::error_code ec;
  if (fs::file_size(a, ec) != fs::file_size(b, ec) || ec) return false;
  std::ifstream fa(a, std::ios::binary);
  std::ifstream fb(b, std::ios::binary);
  std::vector<char> ba(1 << 20);
  std::vector<char> bb(1 << 20);
  while (fa && fb) {
    fa.read(ba.data(), static_cast<std::streamsize>(ba.size()));
    fb.read(bb.data(), static_cast<std::streamsize>(bb.size()));
    if (fa.gcount() != fb.gcount() || !std::equal(ba.begin(), ba.begin() + fa.gcount(), bb.begin())) {
      return false;
    }
  }
  return true;
}

// Best wall time of `runs` runs of `work`, in seconds; negative when it failed.
double Best(int runs, const std::function<bool()>& work) {
  double best = -1;
  for (int r = 0; r < runs; ++r) {
    const auto start = std::chrono::steady_clock::now();
    const bool ok = work();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    if (!ok) return -1;
    if (best < 0 || took.count() < best) best = took.count();
  }
  return best;
}

bool Shell(const std::string& command) { return std::system(command.c_str()) == 0; }

// Survey and conversion pass, as the per-file job runs them.
bool FerroxConvert(const fs::path& in, const fs::path& out, std::uint16_t convMode) {
  fs::remove(out);
  ferrox::SilentProgress progress;
  ferrox::FileSurvey survey;
  ferrox::SurveySettings settings;
  settings.ConvMode = convMode;
  ferrox::MacBinaryInfo info;
  std::uint16_t flags = 0;
  if (survey.FileTypeChk(in.string(), settings, progress, info, flags) != 0) return false;
  if (flags == 0) flags = ferrox::survey::kForcedText;
  ferrox::ConvOptions options;
  options.convMode = convMode;
  const auto length = static_cast<std::int64_t>(fs::file_size(in));
  return ferrox::FerroxConv(out.string(), in.string(), 0, length, ferrox::kOpText, flags, false,
                            options, progress) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const fs::path work = fs::absolute(argc > 1 ? argv[1] : "/tmp/ferrox-bench");
  const std::size_t mib = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 100;
  const int runs = argc > 3 ? std::atoi(argv[3]) : 3;
  fs::create_directories(work);

  std::printf("%-16s %9s %12s %12s %12s %8s %8s\n", "input", "MB", "ferrox MB/s", "nkf MB/s",
              "iconv|u2d", "x nkf", "x iconv");
  for (const Input& input : kInputs) {
    const fs::path in = work / input.file;
    const fs::path expected = work / (std::string("expected_") + input.file);
    if (!fs::exists(in) || !fs::exists(expected) || fs::file_size(in) < mib << 20) {
      const auto sample = ferrox::bench::MakeSample(input.encoding, input.lineEnd, mib << 20, 2024);
      WriteFile(in, sample.input);
      WriteFile(expected, sample.expected);
    }
    const double mb = static_cast<double>(fs::file_size(in)) / 1e6;
    const fs::path out = work / "out_ferrox.txt";

    const double ferroxTime = Best(runs, [&] { return FerroxConvert(in, out, 12); });
    if (ferroxTime < 0 || !SameContents(out, expected)) {
      std::fprintf(stderr, "ferrox_bench: %s: the output differs from the expected text\n",
                   input.name);
      return 1;
    }
    const std::string q = "'" + in.string() + "'";
    const std::string o = "'" + (work / "out_peer.txt").string() + "'";
    const double nkfTime = Best(runs, [&] { return Shell("nkf -s -Lw < " + q + " > " + o); });
    const double iconvTime = Best(runs, [&] {
      return Shell(std::string("set -o pipefail; iconv -f ") + input.iconvName + " -t CP932 " + q +
                   " | unix2dos -q > " + o);
    });
    const auto rate = [mb](double t) { return t > 0 ? mb / t : 0.0; };
    std::printf("%-16s %9.1f %12.1f %12.1f %12.1f %8.1f %8.1f\n", input.name, mb, rate(ferroxTime),
                rate(nkfTime), rate(iconvTime), nkfTime / ferroxTime, iconvTime / ferroxTime);
    if (input.encoding == Encoding::kSjis) {
      const double lite = Best(runs, [&] { return FerroxConvert(in, out, 8); });
      std::printf("%-16s %9.1f %12.1f   (light converter, ConvMode 8)\n", "  light", mb, rate(lite));
    }
    std::fflush(stdout);
  }
  fs::remove(work / "out_ferrox.txt");
  fs::remove(work / "out_peer.txt");
  return 0;
}
