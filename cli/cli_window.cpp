#include "cli/cli_window.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "convert/change_account.h"

namespace ferrox::cli {

namespace {

volatile std::sig_atomic_t g_interrupted = 0;

extern "C" void OnInterrupt(int) { g_interrupted = 1; }

}  // namespace

std::string ShownText(std::string_view text) {
  std::string shown;
  shown.reserve(text.size());
  for (const char c : text) {
    const auto b = static_cast<unsigned char>(c);
    if (b < 0x20 || b == 0x7F) {
      char hex[5];
      std::snprintf(hex, sizeof hex, "\\x%02X", b);
      shown += hex;
    } else {
      shown += c;
    }
  }
  return shown;
}

CliWindow::CliWindow() : terminal_(::isatty(STDERR_FILENO) == 1) {}

void CliWindow::CatchInterrupt() {
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  // SA_RESETHAND is an unsigned constant; sa_flags is an int.
  action.sa_flags = static_cast<int>(SA_RESETHAND);  // a second Ctrl-C ends the program
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) ::sigaction(signal, &action, nullptr);
}

bool CliWindow::Interrupted() { return g_interrupted != 0; }

bool CliWindow::ConvBusy() const { return busy_ && g_interrupted == 0; }

void CliWindow::ShowProgress(std::int64_t done, std::int64_t total) {
  if (!terminal_) return;
  if (total < 0) {  // a stream of unknown length: the bytes so far, each MiB
    if (static_cast<int>(done >> 20) == lastPercent_) return;
    lastPercent_ = static_cast<int>(done >> 20);
    std::fprintf(stderr, "\r%d MiB", lastPercent_);
  } else {
    const int percent = total > 0 ? static_cast<int>(done * 100 / total) : 100;
    if (percent == lastPercent_) return;
    lastPercent_ = percent;
    std::fprintf(stderr, "\r%3d %%", percent);
  }
  if (filesDone_ > 0) std::fprintf(stderr, "  (%d files done)", filesDone_);
  std::fflush(stderr);
  lineShown_ = true;
}

void CliWindow::ProgressPanel(bool on) {
  lastPercent_ = -1;
  if (!on) ++filesDone_;
}

void CliWindow::ClearProgressLine() {
  if (!lineShown_) return;
  std::fputs("\r\033[K", stderr);
  lineShown_ = false;
}

std::string CliWindow::Shown(const std::string& path) const {
  for (const auto& [from, shown] : shownAs_) {
    if (path == from) return shown;
  }
  return path;
}

void CliWindow::Changes(const std::string& path, const ChangeCounts& counts) {
  ClearProgressLine();
  std::fprintf(stderr, "%s\n", ShownText(Shown(path) + ": " + ChangeSummary(counts)).c_str());
  std::fflush(stderr);
}

void CliWindow::Message(const std::string& text) {
  ClearProgressLine();
  std::string line = about_.empty() ? text : about_ + ": " + text;
  for (const auto& [path, shown] : shownAs_) {
    for (auto at = line.find(path); at != std::string::npos; at = line.find(path, at + shown.size())) {
      line.replace(at, path.size(), shown);
    }
  }
  std::fprintf(stderr, "%s\n", ShownText(line).c_str());
  std::fflush(stderr);
}

}  // namespace ferrox::cli
