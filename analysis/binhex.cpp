// BinHex 4.0: recognise a `.hqx` stream and decode it (6-bit text, run-length
// 0x90, header and the three CRCs) without holding more than a block of it.

#include "analysis/binhex.h"

// ferrox
#include "text/cp932.h"

// std
#include <array>
#include <cstring>
#include <sstream>

namespace ferrox {
namespace {

constexpr std::string_view kAlphabet =
    "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
constexpr std::uint8_t kSkip = 64;   // line ends and blanks between the characters
constexpr std::uint8_t kEnd = 65;    // the closing ':'
constexpr std::uint8_t kBad = 66;
constexpr std::uint8_t kRunMarker = 0x90;
constexpr std::size_t kBlock = 64 * 1024;

constexpr std::array<std::uint8_t, 256> MakeValues() {
  std::array<std::uint8_t, 256> v{};
  for (auto& x : v) x = kBad;
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) v[static_cast<std::uint8_t>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
  for (const char c : {' ', '\t', '\r', '\n'}) v[static_cast<std::uint8_t>(c)] = kSkip;
  v[':'] = kEnd;
  return v;
}
constexpr auto kValues = MakeValues();

constexpr std::array<std::uint16_t, 256> MakeCrcTable() {
  std::array<std::uint16_t, 256> t{};
  for (unsigned i = 0; i < 256; ++i) {
    unsigned crc = i << 8;
    for (int b = 0; b < 8; ++b) crc = (crc & 0x8000) ? (crc << 1) ^ 0x1021 : crc << 1;
    t[i] = static_cast<std::uint16_t>(crc);
  }
  return t;
}
constexpr auto kCrcTable = MakeCrcTable();

std::string TrimBlanks(std::string s) {
  const auto first = s.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return s.substr(first, s.find_last_not_of(' ') - first + 1);
}

std::uint32_t Be32(const std::uint8_t* p) {
  return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) | p[3];
}

}  // namespace

std::string_view BinHexMessage(BinHexStatus status) {
  switch (status) {
    case BinHexStatus::Ok: return "";
    case BinHexStatus::NotBinHex: return "BinHex 4.0の形式ではありません";
    case BinHexStatus::BadCharacter: return "BinHexのﾃﾞｰﾀに使えない文字があります";
    case BinHexStatus::Truncated: return "BinHexのﾃﾞｰﾀが途中で切れています";
    case BinHexStatus::HeaderCrc: return "BinHexのﾍｯﾀﾞのCRCが一致しません";
    case BinHexStatus::DataCrc: return "BinHexのﾃﾞｰﾀﾌｫｰｸのCRCが一致しません";
    case BinHexStatus::ResourceCrc: return "BinHexのﾘｿｰｽﾌｫｰｸのCRCが一致しません";
    case BinHexStatus::ReadError: return "BinHexﾌｧｲﾙを読めません";
    case BinHexStatus::SinkError: return "BinHexから取り出したﾃﾞｰﾀを書き込めません";
  }
  return "";
}

std::uint16_t BinHexCrc(std::uint16_t crc, std::span<const std::uint8_t> bytes) noexcept {
  for (const std::uint8_t b : bytes) {
    crc = static_cast<std::uint16_t>((crc << 8) ^ kCrcTable[((crc >> 8) ^ b) & 0xFF]);
  }
  return crc;
}

BinHexDecoder::BinHexDecoder(std::istream& in) : in_(in), raw_(kBlock), bytes_(kBlock) {}

// The first `got` characters read become bytes (six bits each) in bytes_;
// returns how many. A character that BinHex does not use ends the data.
std::size_t BinHexDecoder::DecodeCharacters(std::size_t got) noexcept {
  std::uint32_t bits = bits_;
  int count = bitCount_;
  std::size_t n = 0;
  std::uint8_t* bytes = bytes_.data();
  for (std::size_t i = 0; i < got; ++i) {
    const std::uint8_t v = kValues[static_cast<std::uint8_t>(raw_[i])];
    if (v < 64) {
      bits = (bits << 6) | v;
      count += 6;
      if (count >= 8) {
        count -= 8;
        bytes[n++] = static_cast<std::uint8_t>(bits >> count);
      }
    } else if (v != kSkip) {
      ended_ = true;
      badCharacter_ = v == kBad;
      break;
    }
  }
  bits_ = bits & 0xFF;
  bitCount_ = count;
  return n;
}

// Undoes the run-length coding of the first n bytes of bytes_ into out_,
// copying the spans between 0x90 markers whole.
void BinHexDecoder::ExpandRuns(std::size_t n) {
  const std::uint8_t* bytes = bytes_.data();
  for (std::size_t pos = 0; pos < n;) {
    if (marker_) {
      marker_ = false;
      const std::uint8_t repeat = bytes[pos++];
      if (repeat == 0) {
        out_.push_back(kRunMarker);
        last_ = kRunMarker;
      } else if (repeat > 1) {
        out_.insert(out_.end(), repeat - 1u, last_);
      }
      continue;
    }
    const auto* found = static_cast<const std::uint8_t*>(std::memchr(bytes + pos, kRunMarker, n - pos));
    const std::size_t stop = found != nullptr ? static_cast<std::size_t>(found - bytes) : n;
    if (stop > pos) {
      out_.insert(out_.end(), bytes + pos, bytes + stop);
      last_ = bytes[stop - 1];
    }
    pos = stop;
    if (found != nullptr) {
      marker_ = true;
      ++pos;
    }
  }
}

BinHexDecoder::Fill BinHexDecoder::FillDecoded() {
  if (outPos_ == out_.size()) {
    out_.clear();
    outPos_ = 0;
  }
  if (ended_) return badCharacter_ ? Fill::BadCharacter : Fill::End;
  in_.read(raw_.data(), static_cast<std::streamsize>(raw_.size()));
  const auto got = static_cast<std::size_t>(in_.gcount());
  if (got == 0) {
    ended_ = true;
    return in_.bad() ? Fill::ReadError : Fill::End;
  }
  ExpandRuns(DecodeCharacters(got));
  if (!in_ && in_.bad()) return Fill::ReadError;
  if (!in_) ended_ = true;
  return Fill::Ok;
}

BinHexStatus BinHexDecoder::Take(std::int64_t count, std::uint16_t& crc, const Sink& sink) {
  while (count > 0) {
    if (outPos_ == out_.size()) {
      switch (FillDecoded()) {
        case Fill::Ok: continue;
        case Fill::End: return BinHexStatus::Truncated;
        case Fill::BadCharacter: return BinHexStatus::BadCharacter;
        case Fill::ReadError: return BinHexStatus::ReadError;
      }
    }
    const auto n = static_cast<std::size_t>(
        std::min<std::int64_t>(count, static_cast<std::int64_t>(out_.size() - outPos_)));
    const std::span<const std::uint8_t> block(out_.data() + outPos_, n);
    crc = BinHexCrc(crc, block);
    if (sink && !sink(block)) return BinHexStatus::SinkError;
    outPos_ += n;
    count -= static_cast<std::int64_t>(n);
  }
  return BinHexStatus::Ok;
}

// Each section ends with the CRC of its bytes, high byte first.
BinHexStatus BinHexDecoder::TakeCrc(std::uint16_t expected, BinHexStatus onMismatch) {
  std::array<std::uint8_t, 2> stored{};
  std::uint16_t ignored = 0;
  std::size_t at = 0;
  const Sink keep = [&](std::span<const std::uint8_t> b) {
    for (const auto x : b) stored[at++] = x;
    return true;
  };
  if (const auto s = Take(2, ignored, keep); s != BinHexStatus::Ok) return s;
  return ((stored[0] << 8) | stored[1]) == expected ? BinHexStatus::Ok : onMismatch;
}

BinHexStatus BinHexDecoder::ReadHeader(BinHexInfo& info) {
  // Look for a line that starts with ':'.
  std::int64_t seen = 0;
  bool lineStart = true;
  for (;;) {
    const int c = in_.get();
    if (c == std::char_traits<char>::eof()) return in_.bad() ? BinHexStatus::ReadError : BinHexStatus::NotBinHex;
    if (++seen > kBinHexPreamble) return BinHexStatus::NotBinHex;
    if (c == ':' && lineStart) break;
    lineStart = c == '\n' || c == '\r';
  }
  std::uint16_t crc = 0;
  std::string bytes;
  const Sink keep = [&bytes](std::span<const std::uint8_t> b) {
    bytes.append(reinterpret_cast<const char*>(b.data()), b.size());
    return true;
  };
  const auto notHeader = [](BinHexStatus s) {
    return s == BinHexStatus::BadCharacter ? BinHexStatus::NotBinHex : s;
  };
  if (const auto s = Take(1, crc, keep); s != BinHexStatus::Ok) return notHeader(s);
  const auto nameLength = static_cast<std::uint8_t>(bytes[0]);
  if (nameLength < 1 || nameLength > 63) return BinHexStatus::NotBinHex;
  // name, version byte, type, creator, flags, two fork lengths
  if (const auto s = Take(nameLength + 1 + 4 + 4 + 2 + 4 + 4, crc, keep); s != BinHexStatus::Ok) {
    return notHeader(s);
  }
  if (const auto s = TakeCrc(crc, BinHexStatus::HeaderCrc); s != BinHexStatus::Ok) return s;
  const auto* p = reinterpret_cast<const std::uint8_t*>(bytes.data()) + 1 + nameLength + 1;
  BinHexInfo got;
  const std::string_view rawName(bytes.data() + 1, nameLength);
  got.FileName = cp932::ToUtf8(rawName);
  if (got.FileName.empty()) {
    for (const char c : rawName) got.FileName += static_cast<unsigned char>(c) < 0x80 ? std::string(1, c) : "\xEF\xBF\xBD";
  }
  got.FileType = TrimBlanks(std::string(reinterpret_cast<const char*>(p), 4));
  got.Creator = TrimBlanks(std::string(reinterpret_cast<const char*>(p + 4), 4));
  got.FinderFlags = static_cast<std::uint16_t>((p[8] << 8) | p[9]);
  got.DataLength = Be32(p + 10);
  got.ResourceLength = Be32(p + 14);
  info_ = got;
  info = std::move(got);
  return BinHexStatus::Ok;
}

BinHexStatus BinHexDecoder::ReadForks(const Sink& data, const Sink& resource) {
  std::uint16_t crc = 0;
  if (const auto s = Take(info_.DataLength, crc, data); s != BinHexStatus::Ok) return s;
  if (const auto s = TakeCrc(crc, BinHexStatus::DataCrc); s != BinHexStatus::Ok) return s;
  crc = 0;
  if (const auto s = Take(info_.ResourceLength, crc, resource); s != BinHexStatus::Ok) return s;
  return TakeCrc(crc, BinHexStatus::ResourceCrc);
}

bool LooksLikeBinHex(std::string_view head) {
  std::istringstream in{std::string(head)};
  BinHexDecoder decoder(in);
  BinHexInfo info;
  return decoder.ReadHeader(info) == BinHexStatus::Ok;
}

}  // namespace ferrox
