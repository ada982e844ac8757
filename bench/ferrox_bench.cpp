// Times the whole conversion (survey, pass, write) of three large Japanese
// texts into Shift JIS with CR LF, and the same work by nkf and by iconv piped
// into unix2dos, measured in the same run.
//
// Usage: ferrox_bench [work folder] [size in MiB] [runs] [ferrox]
// With the fourth argument "ferrox" the peers are not run (for profiling).

#include <sys/resource.h>

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

// Processor time (user + system) of this process and of its waited-for children.
double CpuSeconds() {
  double total = 0;
  for (int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage u{};
    getrusage(who, &u);
    total += static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
             static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
  }
  return total;
}

struct Timing {
  double wall = -1;  // best wall-clock seconds of the runs; negative when one failed
  double cpu = -1;   // best processor seconds of the runs
};

// On a shared machine the wall clock depends on the load; the processor time
// of the work (its children included) does much less.
Timing Best(int runs, const std::function<bool()>& work) {
  Timing best;
  for (int r = 0; r < runs; ++r) {
    const double cpuStart = CpuSeconds();
    const auto start = std::chrono::steady_clock::now();
    const bool ok = work();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    const double cpu = CpuSeconds() - cpuStart;
    if (!ok) return Timing{};
    if (best.wall < 0 || took.count() < best.wall) best.wall = took.count();
    if (best.cpu < 0 || cpu < best.cpu) best.cpu = cpu;
  }
  return best;
}

std::string Quoted(const fs::path& path) {
  std::string s = path.string();
  s.insert(s.begin(), '\'');
  s.push_back('\'');
  return s;
}

bool Shell(const std::string& command) {
  const std::string quoted = "bash -c \"" + command + "\"";
  return std::system(quoted.c_str()) == 0;
}

// Survey and conversion pass, as the per-file job runs them.
bool FerroxConvert(const fs::path& in, const fs::path& out, std::uint16_t convMode) {
  fs::remove(out);
  ferrox::SilentProgress progress;
  ferrox::FileSurvey survey;
  ferrox::SurveySettings settings;
  settings.ConvMode = convMode;
  ferrox::MacBinaryInfo info;
  std::uint16_t flags = 0;
  if (survey.FileTypeChk(in.string(), settings, progress, info, flags) != ferrox::SurveyKind::Ordinary) return false;
  if (flags == 0) flags = ferrox::survey::kForcedText;
  ferrox::ConvOptions options;
  options.convMode = convMode;
  const auto length = static_cast<std::int64_t>(fs::file_size(in));
  return ferrox::FerroxConv(out.string(), in.string(), 0, length, ferrox::kOpText, flags, false,
                            options, progress) == ferrox::JobResult::Done;
}

}  // namespace

int main(int argc, char** argv) {
  const fs::path work = fs::absolute(argc > 1 ? argv[1] : "/tmp/ferrox-bench");
  const std::size_t mib = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 100;
  const int runs = argc > 3 ? std::atoi(argv[3]) : 3;
  const bool peers = !(argc > 4 && std::string(argv[4]) == "ferrox");
  fs::create_directories(work);

  std::printf("MB/s of the whole conversion into Shift JIS CR LF; 'wall' by the clock, 'cpu' by\n"
              "processor time (user + system, pipes and children included). Best of %d runs.\n\n",
              runs);
  std::printf("%-16s %6s | %14s | %14s | %14s | %11s | %11s\n", "", "", "ferrox", "nkf -s -Lw",
              "iconv|unix2dos", "x nkf", "x iconv");
  std::printf("%-16s %6s | %6s %7s | %6s %7s | %6s %7s | %5s %5s | %5s %5s\n", "input", "MB",
              "wall", "cpu", "wall", "cpu", "wall", "cpu", "wall", "cpu", "wall", "cpu");
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

    const Timing ferrox = Best(runs, [&] { return FerroxConvert(in, out, 12); });
    if (ferrox.wall < 0 || !SameContents(out, expected)) {
      std::fprintf(stderr, "ferrox_bench: %s: the output differs from the expected text\n",
                   input.name);
      return 1;
    }
    const std::string q = Quoted(in);
    const std::string o = Quoted(work / "out_peer.txt");
    const Timing nkf = peers ? Best(runs, [&] { return Shell("nkf -s -Lw < " + q + " > " + o); })
                             : Timing{};
    const Timing iconv = !peers ? Timing{} : Best(runs, [&] {
      return Shell(std::string("set -o pipefail; iconv -f ") + input.iconvName + " -t CP932 " + q +
                   " | unix2dos -q > " + o);
    });
    const auto rate = [mb](double t) { return t > 0 ? mb / t : 0.0; };
    const auto ratio = [](double peer, double own) { return peer > 0 ? peer / own : 0.0; };
    std::printf("%-16s %6.1f | %6.1f %7.1f | %6.1f %7.1f | %6.1f %7.1f | %5.1f %5.1f | %5.1f %5.1f\n",
                input.name, mb, rate(ferrox.wall), rate(ferrox.cpu), rate(nkf.wall), rate(nkf.cpu),
                rate(iconv.wall), rate(iconv.cpu), ratio(nkf.wall, ferrox.wall),
                ratio(nkf.cpu, ferrox.cpu), ratio(iconv.wall, ferrox.wall),
                ratio(iconv.cpu, ferrox.cpu));
    if (input.encoding == Encoding::kSjis) {
      const Timing lite = Best(runs, [&] { return FerroxConvert(in, out, 8); });
      std::printf("%-16s %6.1f | %6.1f %7.1f | (light converter, ConvMode 8)\n", "  light", mb,
                  rate(lite.wall), rate(lite.cpu));
    }
    std::fflush(stdout);
  }
  fs::remove(work / "out_ferrox.txt");
  fs::remove(work / "out_peer.txt");
  return 0;
}
