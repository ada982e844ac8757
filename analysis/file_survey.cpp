// The file survey: chunk surveyors, the chunked read of a byte range, and the
// survey of a named file with its one-entry memory.

#include "analysis/file_survey.h"

#include <sys/stat.h>

// ferrox
#include "analysis/char_type.h"
#include "analysis/mac_wrapper.h"
#include "analysis/survey_flags.h"
#include "analysis/tie_break.h"
#include "analysis/utf8_reading.h"
#include "text/conv_mode.h"

// std
#include <algorithm>
#include <cmath>
#include <fstream>
#include <optional>
#include <sstream>
#include <system_error>
#include <vector>

namespace ferrox {
namespace {

namespace ct = char_type;

// Sets the first-code mark when none is set yet.
void Mark(std::uint16_t& mark, std::uint16_t value) noexcept {
  if (mark == 0) {
    mark = value;
  }
}

// A binary byte: tolerated while the allowance lasts. False when it makes the
// range binary.
bool TolerateBinary(ChunkSurveyState& state) noexcept {
  if (state.Allowance < 1) {
    state.Verdict = -1;
    return false;
  }
  state.Flags |= survey::kBinTolerated;
  --state.Allowance;
  return true;
}

// Where to go on after SjisOrEuc: the index of the last byte taken.
BufIndex AfterSjisOrEuc(const SjisOrEucResult& r, BufIndex i, std::uint16_t& mark,
                        std::uint16_t& flags) noexcept {
  const BufIndex s = i + r.sjisLength;
  const BufIndex e = i + r.eucLength;
  BufIndex next = 0;
  if (r.verdict == 1) {
    Mark(mark, survey::kMarkSjis);
    flags |= survey::kSjis;
    if (r.sjisGaiji > 0) {
      flags |= survey::kSjisGaiji;
    }
    next = s;
  } else if (r.verdict == 2) {
    Mark(mark, survey::kMarkEuc);
    flags |= survey::kEuc;
    if (r.eucGaiji > 0) {
      flags |= survey::kEucGaiji;
    }
    next = e;
  } else if (s == e || mark == survey::kMarkSjis) {
    next = s;
  } else if (mark == survey::kMarkEuc) {
    next = e;
  } else if ((flags & survey::kSjis) != 0 && (flags & survey::kEuc) == 0) {
    next = s;
  } else if ((flags & survey::kEuc) != 0 && (flags & survey::kSjis) == 0) {
    next = e;
  } else {
    next = std::max(s, e);
  }
  // A stretch always holds at least one byte; never stand still on it.
  return std::max(next, i + 1) - 1;
}

// The loop both chunk surveyors share. `examine` looks at position i with the
// first-code mark so far, moves i to the last byte it took and returns false
// when the range turned out binary. Positions up to the chunk's last index
// minus 2 are examined; the rest is carried into the next chunk.
template <typename Examine>
void SurveyChunk(std::span<const std::uint8_t> chunk, ChunkSurveyState& state,
                 Examine examine) noexcept {
  const std::uint8_t* b = chunk.data();
  const auto last = static_cast<BufIndex>(chunk.size()) - 1;
  const BufIndex stop = last - 2;
  std::uint16_t mark = state.Flags & survey::kMarkMask;
  BufIndex i = 0;
  for (; i <= stop; ++i) {
    if (!examine(b, i, stop, mark)) return;
  }
  state.Carry = static_cast<std::size_t>(last - i + 1);
  if ((state.Flags & survey::kMarkMask) == 0) {
    state.Flags |= mark;
  }
  state.Verdict = 0;
}

bool IsSjisDouble(std::uint8_t b0, std::uint8_t b1, bool gaijiAsChar,
                  bool& gaiji) noexcept {
  if (b0 <= 0x80) {
    return false;
  }
  const std::uint16_t type = GetCharType(b0, b1, 0, gaijiAsChar);
  gaiji = (type & ct::kSjisGaiji) != 0;
  return (type & ct::kSjisDouble) != 0;
}

}  // namespace

std::int64_t BinaryAllowance(std::int64_t length, std::int16_t binRate) noexcept {
  // Round half to even (the default floating-point rounding mode).
  return static_cast<std::int64_t>(
      std::nearbyint(static_cast<double>(length) / 100.0 * static_cast<double>(binRate)));
}

void TextBinaryChk3(std::span<const std::uint8_t> chunk, ChunkSurveyState& state,
                    bool gaijiAsChar, bool breakTies) noexcept {
  std::uint16_t& flags = state.Flags;
  SurveyChunk(chunk, state, [&](const std::uint8_t* b, BufIndex& i, BufIndex stop,
                                std::uint16_t& mark) {
    const std::uint16_t type = GetCharType(b[i], b[i + 1], b[i + 2], gaijiAsChar);
    BufIndex count = 0;
    if (type == ct::kAscii) {
      AsciiCheck(b, i, stop, flags);
    } else if (type == ct::kCrLf) {
      flags |= survey::kCrLf;
      ++i;
    } else if (type == ct::kCr) {
      flags |= survey::kCr;
    } else if (type == ct::kLf) {
      flags |= survey::kLf;
    } else if (type == ct::kNeutral) {
      // tab, form feed, 0x1A
    } else if (type == ct::kJisKanjiIn) {
      flags |= survey::kJis;
      Mark(mark, survey::kMarkSjis);
      if (i + 3 < stop) {
        i += 3;
        JisZenCheck(b, i, stop, flags, count, gaijiAsChar);
      } else {
        i += 2;
      }
    } else if (type == ct::kJisKanjiOut) {
      flags |= survey::kJis;
      Mark(mark, survey::kMarkJisKanji);
      i += 2;
    } else if (type == ct::kJisKanaIn) {
      flags |= survey::kJis;
      Mark(mark, survey::kMarkJisKana);
      if (b[i] == 0x1B) {
        i += 2;
      }
    } else if (type == ct::kJisKanaOut) {
      flags |= survey::kJis;
      Mark(mark, survey::kMarkSjis);
    } else if ((type & ct::kEucBits) != 0 && (type & ct::kSjisBits) == 0) {
      EucCheck(b, i, stop, flags, count, gaijiAsChar);
      Mark(mark, survey::kMarkEuc);
    } else if ((type & ct::kSjisBits) != 0 && (type & ct::kEucBits) == 0) {
      SjisCheck(b, i, stop, flags, count, gaijiAsChar);
      Mark(mark, survey::kMarkSjis);
    } else if ((type & ct::kSjisBits) != 0 && (type & ct::kEucBits) != 0) {
      SjisOrEucResult r = SjisOrEuc(b, i, stop, gaijiAsChar);
      if (r.verdict == 0 && breakTies) r.verdict = BreakTie(b, i, r, i == 0);
      i = AfterSjisOrEuc(r, i, mark, flags);
    } else {
      return TolerateBinary(state);
    }
    return true;
  });
}

void TextBinaryChk3Lite(std::span<const std::uint8_t> chunk, ChunkSurveyState& state,
                        bool gaijiAsChar) noexcept {
  std::uint16_t& flags = state.Flags;
  SurveyChunk(chunk, state, [&](const std::uint8_t* b, BufIndex& i, BufIndex /*stop*/,
                                std::uint16_t& mark) {
    const std::uint8_t c = b[i];
    bool gaiji = false;
    if ((c >= 0x20 && c <= 0x7E) || c == 0x09 || c == 0x0C) {
      return true;
    }
    if (c >= 0xA0 && c <= 0xDF) {
      flags |= survey::kSjis;
      Mark(mark, survey::kMarkSjis);
    } else if (c == 0x0D) {
      if (b[i + 1] == 0x0A) {
        flags |= survey::kCrLf;
        ++i;
      } else {
        flags |= survey::kCr;
      }
    } else if (c == 0x0A) {
      flags |= survey::kLf;
    } else if (IsSjisDouble(c, b[i + 1], gaijiAsChar, gaiji)) {
      flags |= survey::kSjis;
      if (gaiji) {
        flags |= survey::kSjisGaiji;
      }
      Mark(mark, survey::kMarkSjis);
      ++i;
    } else {
      return TolerateBinary(state);
    }
    return true;
  });
}

bool FileTypeChkSub(const std::filesystem::path& path, std::int64_t start, std::int64_t length,
                    const SurveySettings& settings, ProgressSink& sink, std::uint16_t& flags,
                    std::size_t chunkSize) {
  flags = 0;
  std::ifstream in(path, std::ios::binary);
  return in && FileTypeChkSub(in, start, length, settings, sink, flags, chunkSize);
}

namespace {

// The flag word of a text: the readings' flags, Shift JIS as the first code
// when no other was seen, and the EOF bit from the byte at `lastAt` (the end
// of the surveyed range, which is the cut when ChkSize shortened it, not
// necessarily the file's last byte).
bool FinishFlags(std::istream& in, std::int64_t lastAt, std::uint16_t result, std::uint16_t& flags) {
  if ((result & survey::kMarkMask) == 0) result |= survey::kMarkSjis;
  char lastByte = 0;
  in.clear();
  in.seekg(lastAt);
  if (!in.get(lastByte)) return false;
  if (static_cast<unsigned char>(lastByte) == 0x1A) result |= survey::kEndsWithEof;
  flags = result;
  return true;
}

}  // namespace

bool FileTypeChkSub(std::istream& in, std::int64_t start, std::int64_t length,
                    const SurveySettings& settings, ProgressSink& sink, std::uint16_t& flags,
                    std::size_t chunkSize) {
  flags = 0;
  if (length <= 0) {
    return true;
  }
  chunkSize = std::max<std::size_t>(chunkSize, 3);
  ChunkSurveyState state;
  state.Allowance = BinaryAllowance(length, settings.BinRate);
  const bool full = (settings.ConvMode & conv_mode::kFull) != 0;
  const bool gaijiAsChar = conv_mode::GaijiAsChar(settings.ConvMode);
  const bool breakTies = (settings.ConvMode & conv_mode::kOldTieRule) == 0;
  // The UTF-8 reading goes along with the other one over the same chunks.
  Utf8Reading utf8(start, state.Allowance);
  if ((settings.ConvMode & conv_mode::kNoUtf8) != 0) utf8 = Utf8Reading::Off();
  bool legacy = true;  // the Shift JIS/EUC/JIS reading still holds

  std::vector<std::uint8_t> buf;
  std::int64_t offset = start;
  std::int64_t remaining = length;
  while (remaining >= 3) {
    sink.PumpEvents();
    const auto size = static_cast<std::size_t>(
        std::min<std::int64_t>(remaining, static_cast<std::int64_t>(chunkSize)));
    buf.resize(size);
    in.seekg(offset);
    if (!in.read(reinterpret_cast<char*>(buf.data()), static_cast<std::streamsize>(size))) {
      return false;
    }
    utf8.Feed(buf, offset);
    if (legacy) {
      if (full) {
        TextBinaryChk3(buf, state, gaijiAsChar, breakTies);
      } else {
        TextBinaryChk3Lite(buf, state, gaijiAsChar);
      }
      legacy = state.Verdict != -1;
    }
    if (!legacy && !utf8.Alive()) {
      return true;  // binary: flags stay 0
    }
    // Once only the UTF-8 reading is left, chunks overlap by two bytes, as they do for the other.
    const auto consumed = static_cast<std::int64_t>(size - (legacy ? state.Carry : 2));
    offset += consumed;
    remaining -= consumed;
  }
  if (!legacy && utf8.Flags() == 0) {
    return true;  // binary to the other reading, and no UTF-8 character seen
  }
  return FinishFlags(in, start + length - 1, utf8.Flags() != 0 ? utf8.Flags() : state.Flags, flags);
}

namespace {

// The text before which an absolute path must start: leading blanks and, for
// a quoted list, one double quote.
bool NamesAbsolutePath(const std::string& path) {
  std::size_t i = path.find_first_not_of(' ');
  if (i == std::string::npos) {
    return false;
  }
  if (path[i] == '"') {
    ++i;
  }
  return i < path.size() && path[i] == '/';
}

}  // namespace

const char* SurveyKindText(SurveyKind kind) noexcept {
  switch (kind) {
    case SurveyKind::Ordinary: return "file";
    case SurveyKind::MacBinary: return "macbinary";
    case SurveyKind::Folder: return "folder";
    case SurveyKind::Wildcard: return "wildcard";
    case SurveyKind::Quoted: return "list";
    case SurveyKind::Unreadable: break;
  }
  return "unreadable";
}

SurveyKind FileSurvey::FileTypeChk(const std::string& path, const SurveySettings& settings,
                            ProgressSink& sink, MacBinaryInfo& info, std::uint16_t& flags) {
  namespace fs = std::filesystem;
  if (!NamesAbsolutePath(path)) {
    return SurveyKind::Unreadable;
  }
  if (path.find_first_of("*?") != std::string::npos) {
    return SurveyKind::Wildcard;
  }
  const std::size_t first = path.find_first_not_of(' ');
  if (path[first] == '"') {
    return SurveyKind::Quoted;
  }
  return SurveyFile(path, settings, sink, info, flags);
}

namespace {

// The state of the regular file `path`, or the kind that ends its survey.
std::optional<SurveyKind> IdentityOf(const std::string& path, FileIdentity& identity) {
  if (!NamesAbsolutePath(path)) return SurveyKind::Unreadable;
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return SurveyKind::Unreadable;
  if (S_ISDIR(st.st_mode)) return SurveyKind::Folder;
  // A pipe or a device could block or never end: only regular files are surveyed.
  if (!S_ISREG(st.st_mode)) return SurveyKind::Unreadable;
  const auto nanoseconds = [](const timespec& t) { return std::int64_t{t.tv_sec} * 1000000000 + t.tv_nsec; };
  identity = {st.st_dev, st.st_ino, st.st_size, nanoseconds(st.st_mtim), nanoseconds(st.st_ctim)};
  return std::nullopt;
}

// BinHex and AppleSingle: the verdict is the data fork's, as for MacBinary.
bool SurveyDataFork(std::istream& file, const std::filesystem::path& p, const WrappedMacFile& wrapped,
                    const SurveySettings& settings, ProgressSink& sink, std::uint16_t& found) {
  const std::int64_t limit = settings.ChkSize >= 1 ? settings.ChkSize : wrapped.DataLength;
  if (wrapped.Kind == MacWrapper::AppleSingle) {
    const std::int64_t start = wrapped.Apple.DataFork ? wrapped.Apple.DataFork->Offset : 0;
    return FileTypeChkSub(file, start, std::min(limit, wrapped.DataLength), settings, sink, found);
  }
  std::string sample;
  if (!SampleDataFork(p, wrapped, std::min(limit, kWrappedSampleLimit), sample)) return false;
  std::istringstream in(sample);
  return FileTypeChkSub(in, 0, static_cast<std::int64_t>(sample.size()), settings, sink, found);
}

}  // namespace

SurveyKind FileSurvey::SurveyFile(const std::string& path, const SurveySettings& settings, ProgressSink& sink,
                                  MacBinaryInfo& info, std::uint16_t& flags) {
  FileIdentity identity;
  if (const auto failure = IdentityOf(path, identity)) return *failure;
  if (valid_ && path_ == path && identity_ == identity && settings_ == settings) {
    if (result_ == SurveyKind::MacBinary) info = info_;
    flags = flags_;
    return result_;
  }
  valid_ = false;

  // One open file answers the header, the wrapper and the sample.
  const std::filesystem::path p(path);
  std::ifstream in(p, std::ios::binary);
  if (!in) return SurveyKind::Unreadable;
  MacBinaryInfo mac;
  SurveyKind result = SurveyKind::Ordinary;
  std::int64_t start = 0;
  std::int64_t range = identity.length;
  if (MBInfGet(in, identity.length, mac) == 0) {
    result = SurveyKind::MacBinary;
    start = kMacBinaryHeaderSize;
    range = mac.DataLength;
  }
  if (settings.ChkSize >= 1 && range > settings.ChkSize) range = settings.ChkSize;
  std::uint16_t found = 0;
  WrappedMacFile wrapped;
  std::string wrapError;
  const bool wrappedFile =
      result == SurveyKind::Ordinary && ProbeMacWrapper(in, identity.length, p, wrapped, wrapError) != MacWrapper::None;
  // A damaged wrapper: the job reports what is wrong with it.
  if (wrappedFile && !wrapError.empty()) return SurveyKind::Unreadable;
  in.clear();  // the probes may have read to the end
  const bool read = wrappedFile ? SurveyDataFork(in, p, wrapped, settings, sink, found)
                                : FileTypeChkSub(in, start, range, settings, sink, found);
  if (!read) return SurveyKind::Unreadable;

  valid_ = true;
  path_ = path;
  identity_ = identity;
  settings_ = settings;
  info_ = mac;
  flags_ = found;
  result_ = result;
  probed_ = result == SurveyKind::Ordinary;
  wrapped_ = std::move(wrapped);
  if (result == SurveyKind::MacBinary) info = mac;
  flags = found;
  return result;
}

MacWrapper FileSurvey::ProbeWrapper(const std::string& path, WrappedMacFile& info, std::string& error) const {
  FileIdentity identity;
  if (valid_ && probed_ && path_ == path && !IdentityOf(path, identity) && identity_ == identity) {
    error.clear();
    if (wrapped_.Kind != MacWrapper::None) info = wrapped_;
    return wrapped_.Kind;
  }
  return ProbeMacWrapper(path, info, error);
}

}  // namespace ferrox
