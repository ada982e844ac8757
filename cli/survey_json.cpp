#include "cli/survey_json.h"

#include "analysis/mac_codes.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <ctime>

#include "analysis/mac_wrapper.h"
#include "analysis/survey_flags.h"
#include "platform/file_times.h"
#include "suffix/utf8_chars.h"

namespace ferrox::cli {

namespace {

// A JSON string. Bytes that are not UTF-8 become U+FFFD: JSON text is UTF-8.
std::string Quote(const std::string& text) {
  std::string out = "\"";
  for (const char32_t c : utf8::Decode(text)) {
    switch (c) {
      case U'"': out += "\\\""; break;
      case U'\\': out += "\\\\"; break;
      case U'\n': out += "\\n"; break;
      case U'\r': out += "\\r"; break;
      case U'\t': out += "\\t"; break;
      default:
        if (c < 0x20 || c == 0x7F) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
          out += escaped;
        } else {
          utf8::Append(out, c);
        }
    }
  }
  return out + "\"";
}

std::string LocalIso(std::time_t seconds) {
  std::tm tm {};
  if (::localtime_r(&seconds, &tm) == nullptr) return "null";
  char text[64];
  const int minutes = static_cast<int>(tm.tm_gmtoff / 60);
  const int east = minutes < 0 ? -minutes : minutes;
  std::snprintf(text, sizeof text, "\"%04d-%02d-%02dT%02d:%02d:%02d%c%02d:%02d\"", tm.tm_year + 1900, tm.tm_mon + 1,
                tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, minutes < 0 ? '-' : '+', east / 60, east % 60);
  return text;
}

std::string MacIso(const DateTime& d) {
  char text[32];
  std::snprintf(text, sizeof text, "\"%04d-%02d-%02dT%02d:%02d:%02d\"", d.Year, d.Month, d.Day, d.Hour, d.Minute,
                d.Second);
  return text;
}

std::string List(std::initializer_list<std::pair<bool, const char*>> items) {
  std::string out = "[";
  for (const auto& [on, name] : items) {
    if (!on) continue;
    if (out.size() > 1) out += ",";
    out += std::string("\"") + name + "\"";
  }
  return out + "]";
}

}  // namespace

namespace {

// The code, line end and gaiji fields of a text file's flag word `f`, of
// which `length` bytes were surveyed.
std::string TextFields(const SurveyJsonInput& in, std::uint16_t f, std::int64_t length) {
  using namespace survey;
  std::string out;
  if ((f & kUtf8) != 0) {
    // The code bits are free in UTF-8 text; two of them say BOM and NFD.
    out += std::string(",\"codes\":[\"UTF-8\"],\"first_code\":\"UTF-8\",\"bom\":") +
           ((f & kUtf8Bom) != 0 ? "true" : "false") +
           ",\"decomposed\":" + ((f & kUtf8Decomposed) != 0 ? "true" : "false") +
           ",\"line_ends\":" + List({{(f & kCrLf) != 0, "CRLF"}, {(f & kCr) != 0, "CR"}, {(f & kLf) != 0, "LF"}}) +
           ",\"ends_with_eof\":" + ((f & kEndsWithEof) != 0 ? "true" : "false");
  } else if (f != 0) {
    const std::uint16_t mark = f & kMarkMask;
    out += ",\"codes\":" + List({{(f & (kSjis | kJis | kEuc)) == 0, "ASCII"},
                                 {(f & kSjis) != 0, "Shift_JIS"},
                                 {(f & kJis) != 0, "ISO-2022-JP"},
                                 {(f & kEuc) != 0, "EUC-JP"}}) +
           ",\"first_code\":\"" +
           (mark == kMarkEuc ? "EUC-JP" : mark == kMarkJisKanji ? "JIS kanji" : mark == kMarkJisKana ? "JIS kana"
                                                                                                    : "Shift_JIS") +
           "\",\"line_ends\":" + List({{(f & kCrLf) != 0, "CRLF"}, {(f & kCr) != 0, "CR"}, {(f & kLf) != 0, "LF"}}) +
           ",\"gaiji\":" + List({{(f & kSjisGaiji) != 0, "Shift_JIS"},
                                 {(f & kJisGaiji) != 0, "ISO-2022-JP"},
                                 {(f & kEucGaiji) != 0, "EUC-JP"}}) +
           ",\"ends_with_eof\":" + ((f & kEndsWithEof) != 0 ? "true" : "false");
    // Apple's extension codes in the surveyed bytes, read as Shift JIS.
    const bool appleCodes = ReadsAsShiftJis(f) && in.wrapped == nullptr &&
                            FileHoldsMacCodes(in.filePath, in.macBinary != nullptr ? 128 : 0, length);
    out += std::string(",\"apple_codes\":") + (appleCodes ? "true" : "false");
  }
  return out;
}

// The Mac block of a MacBinary or wrapped file.
std::string MacFields(const SurveyJsonInput& in) {
  std::string out;
  if (in.macBinary != nullptr) {
    const MacBinaryInfo& m = *in.macBinary;
    out += ",\"macbinary\":{\"name\":" + Quote(m.FileName) + ",\"type\":" + Quote(m.FileType) +
           ",\"creator\":" + Quote(m.Creator) + ",\"data_fork\":" + std::to_string(m.DataLength) +
           ",\"resource_fork\":" + std::to_string(m.ResourceLength) + ",\"created\":" + MacIso(m.Created) +
           ",\"modified\":" + MacIso(m.Modified) + "}";
  }
  if (in.wrapped != nullptr && in.wrapped->Kind != MacWrapper::None) {
    const WrappedMacFile& w = *in.wrapped;
    out += std::string(",\"") + (w.Kind == MacWrapper::BinHex ? "binhex" : "applesingle") +
           "\":{\"name\":" + Quote(w.FileName) + ",\"type\":" + Quote(w.FileType) +
           ",\"creator\":" + Quote(w.Creator) + ",\"data_fork\":" + std::to_string(w.DataLength) +
           ",\"resource_fork\":" + std::to_string(w.ResourceLength);
    if (w.HasDates) out += ",\"created\":" + MacIso(w.Created) + ",\"modified\":" + MacIso(w.Modified);
    out += "}";
  }
  return out;
}

}  // namespace

std::string SurveyJson(const SurveyJsonInput& in) {
  using namespace survey;
  std::string out = "{\"path\":" + Quote(in.path) + ",\"result\":\"" + SurveyKindText(in.result) +
                    "\",\"result_code\":" + std::to_string(static_cast<int>(in.result));
  struct stat st {};
  const bool surveyed = Surveyed(in.result);
  if (!surveyed || ::stat(in.filePath.c_str(), &st) != 0) return out + "}";

  const std::uint16_t f = in.flags;
  char hex[8];
  std::snprintf(hex, sizeof hex, "0x%04X", static_cast<unsigned>(f));
  const std::int64_t data = in.macBinary != nullptr ? in.macBinary->DataLength
                            : in.wrapped != nullptr ? in.wrapped->DataLength
                                                    : st.st_size;
  const std::int64_t length = in.chkSize >= 1 && data > in.chkSize ? in.chkSize : data;
  out += std::string(",\"text\":") + (f != 0 ? "true" : "false") + ",\"flags\":" + std::to_string(f) +
         ",\"flags_hex\":\"" + hex + "\"";
  out += TextFields(in, f, length);
  out += ",\"binary_bytes_seen\":" + std::string((f & kBinTolerated) != 0 ? "true" : "false") +
         ",\"binary_allowance\":" + std::to_string(BinaryAllowance(length, in.binRate)) +
         ",\"bin_rate\":" + std::to_string(in.binRate) + ",\"size\":" + std::to_string(st.st_size) +
         ",\"surveyed_bytes\":" + std::to_string(length) + ",\"whole_file_surveyed\":" +
         (length == data ? "true" : "false") + ",\"modified\":" + LocalIso(st.st_mtim.tv_sec);
  struct statx sx {};
  if (::statx(AT_FDCWD, in.filePath.c_str(), 0, STATX_BTIME, &sx) == 0 && (sx.stx_mask & STATX_BTIME) != 0) {
    out += ",\"created\":" + LocalIso(static_cast<std::time_t>(sx.stx_btime.tv_sec));
  }
  out += MacFields(in);
  return out + "}";
}

}  // namespace ferrox::cli
