// AppleSingle and AppleDouble (version 2): read the entry table of a file,
// bounds-checked against the file's length.

#include "analysis/apple_single.h"

// ferrox
#include "text/cp932.h"

// std
#include <fstream>
#include <system_error>
#include <vector>

namespace ferrox {
namespace {

constexpr std::uint32_t kSingleMagic = 0x00051600;
constexpr std::uint32_t kDoubleMagic = 0x00051607;
constexpr std::uint32_t kVersion2 = 0x00020000;
constexpr std::int64_t kHeaderSize = 26;  // magic, version, 16 filler bytes, entry count
constexpr std::int64_t kEntrySize = 12;

enum EntryId : std::uint32_t { kData = 1, kResource = 2, kRealName = 3, kDates = 8, kFinderInfo = 9 };

// The dates entry counts seconds from 2000-01-01 00:00 UTC; Macintosh
// seconds count from 1904-01-01, which is 3,029,529,600 seconds earlier.
constexpr double kSeconds1904To2000 = 3029529600.0;

std::uint32_t Be32(const std::uint8_t* p) {
  return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) | p[3];
}

void PutBe32(std::string& s, std::uint32_t v) {
  for (int shift = 24; shift >= 0; shift -= 8) s += static_cast<char>((v >> shift) & 0xFF);
}

std::string TrimBlanks(std::string s) {
  const auto first = s.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return s.substr(first, s.find_last_not_of(' ') - first + 1);
}

bool IsUtf8(std::string_view s) {
  for (std::size_t i = 0; i < s.size();) {
    const auto b = static_cast<unsigned char>(s[i]);
    const std::size_t n = b < 0x80 ? 1 : (b >> 5) == 6 ? 2 : (b >> 4) == 14 ? 3 : (b >> 3) == 30 ? 4 : 0;
    if (n == 0 || i + n > s.size()) return false;
    for (std::size_t k = 1; k < n; ++k) {
      if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) return false;
    }
    i += n;
  }
  return true;
}

// Names written on today's systems are UTF-8; older ones are in the Mac's own
// Japanese code, read as CP932 like a MacBinary name.
std::string DecodeName(std::string_view raw) {
  if (IsUtf8(raw)) return std::string(raw);
  std::string name = cp932::ToUtf8(raw);
  if (!name.empty()) return name;
  for (const char c : raw) name += static_cast<unsigned char>(c) < 0x80 ? std::string(1, c) : "\xEF\xBF\xBD";
  return name;
}

DateTime FromAppleSeconds(std::uint32_t raw) {
  return MacTimeToDate(static_cast<double>(static_cast<std::int32_t>(raw)) + kSeconds1904To2000);
}

bool ReadAt(std::istream& in, std::int64_t offset, std::size_t length, std::vector<std::uint8_t>& out) {
  out.resize(length);
  in.clear();
  in.seekg(offset);
  return static_cast<bool>(in.read(reinterpret_cast<char*>(out.data()), static_cast<std::streamsize>(length)));
}

}  // namespace

std::string_view AppleFileMessage(AppleFileStatus status) {
  switch (status) {
    case AppleFileStatus::Ok: return "";
    case AppleFileStatus::NotAppleFile: return "AppleSingle/AppleDoubleの形式ではありません";
    case AppleFileStatus::Truncated: return "AppleSingle/AppleDoubleのﾍｯﾀﾞが途中で切れています";
    case AppleFileStatus::EntryPastEnd: return "AppleSingle/AppleDoubleの項目がﾌｧｲﾙの終わりを越えています";
    case AppleFileStatus::BadEntry: return "AppleSingle/AppleDoubleの項目の長さが正しくありません";
    case AppleFileStatus::NameTooLong: return "AppleSingle/AppleDoubleのﾌｧｲﾙ名が長すぎます";
    case AppleFileStatus::ReadError: return "AppleSingle/AppleDoubleﾌｧｲﾙを読めません";
  }
  return "";
}

bool HasAppleFileMagic(std::string_view head) noexcept {
  if (head.size() < 4) return false;
  const auto magic = Be32(reinterpret_cast<const std::uint8_t*>(head.data()));
  return magic == kSingleMagic || magic == kDoubleMagic;
}

AppleFileStatus ReadAppleFile(std::istream& in, std::int64_t fileLength, AppleFileInfo& info) {
  std::vector<std::uint8_t> header;
  if (fileLength < 8) return AppleFileStatus::NotAppleFile;
  if (!ReadAt(in, 0, 8, header)) return AppleFileStatus::ReadError;
  const auto magic = Be32(header.data());
  if ((magic != kSingleMagic && magic != kDoubleMagic) || Be32(header.data() + 4) != kVersion2) {
    return AppleFileStatus::NotAppleFile;
  }
  if (fileLength < kHeaderSize) return AppleFileStatus::Truncated;
  if (!ReadAt(in, 0, kHeaderSize, header)) return AppleFileStatus::ReadError;
  const std::int64_t count = (header[24] << 8) | header[25];
  if (kHeaderSize + count * kEntrySize > fileLength) return AppleFileStatus::Truncated;
  std::vector<std::uint8_t> table;
  if (!ReadAt(in, kHeaderSize, static_cast<std::size_t>(count * kEntrySize), table)) {
    return AppleFileStatus::ReadError;
  }
  AppleFileInfo got;
  got.Kind = magic == kSingleMagic ? AppleFileKind::Single : AppleFileKind::Double;
  std::vector<std::uint8_t> bytes;
  for (std::int64_t i = 0; i < count; ++i) {
    const std::uint8_t* e = table.data() + i * kEntrySize;
    const std::uint32_t id = Be32(e);
    const AppleForkRange range{Be32(e + 4), Be32(e + 8)};
    if (range.Offset + range.Length > fileLength) return AppleFileStatus::EntryPastEnd;
    const auto length = static_cast<std::size_t>(range.Length);
    switch (id) {
      case kData: got.DataFork = range; break;
      case kResource: got.ResourceFork = range; break;
      case kRealName:
        if (range.Length > kAppleMaxNameLength) return AppleFileStatus::NameTooLong;
        if (!ReadAt(in, range.Offset, length, bytes)) return AppleFileStatus::ReadError;
        got.FileName = DecodeName({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        break;
      case kDates:
        if (range.Length < 8) return AppleFileStatus::BadEntry;
        if (!ReadAt(in, range.Offset, 8, bytes)) return AppleFileStatus::ReadError;
        got.HasDates = true;
        got.Created = FromAppleSeconds(Be32(bytes.data()));
        got.Modified = FromAppleSeconds(Be32(bytes.data() + 4));
        break;
      case kFinderInfo:
        // macOS writes a longer entry (extended attributes follow the 32 bytes).
        if (range.Length < 16) return AppleFileStatus::BadEntry;
        if (!ReadAt(in, range.Offset, std::min<std::size_t>(length, 32), bytes)) return AppleFileStatus::ReadError;
        std::copy(bytes.begin(), bytes.end(), got.FinderInfo.begin());
        got.HasFinderInfo = true;
        got.FileType = TrimBlanks(std::string(reinterpret_cast<const char*>(bytes.data()), 4));
        got.Creator = TrimBlanks(std::string(reinterpret_cast<const char*>(bytes.data() + 4), 4));
        break;
      default: break;  // comments, icons, access rights: nothing the converter uses
    }
  }
  info = std::move(got);
  return AppleFileStatus::Ok;
}

AppleFileStatus ReadAppleFile(const std::filesystem::path& path, AppleFileInfo& info) {
  std::error_code ec;
  const auto size = std::filesystem::file_size(path, ec);
  std::ifstream in(path, std::ios::binary);
  if (ec || !in) return AppleFileStatus::ReadError;
  return ReadAppleFile(in, static_cast<std::int64_t>(size), info);
}

std::string AppleDoubleHeader(const std::array<std::uint8_t, 32>& finderInfo, std::int64_t resourceLength) {
  constexpr std::uint32_t kFinderAt = kHeaderSize + 2 * kEntrySize;
  constexpr std::uint32_t kResourceAt = kFinderAt + 32;
  std::string h;
  PutBe32(h, kDoubleMagic);
  PutBe32(h, kVersion2);
  h.append(16, '\0');
  h += '\0';
  h += '\2';
  PutBe32(h, kFinderInfo);
  PutBe32(h, kFinderAt);
  PutBe32(h, 32);
  PutBe32(h, kResource);
  PutBe32(h, kResourceAt);
  PutBe32(h, static_cast<std::uint32_t>(resourceLength));
  h.append(reinterpret_cast<const char*>(finderInfo.data()), finderInfo.size());
  return h;
}

std::array<std::uint8_t, 32> MakeFinderInfo(std::string_view type, std::string_view creator,
                                            std::uint16_t flags) {
  std::array<std::uint8_t, 32> f{};
  for (std::size_t i = 0; i < 4; ++i) {
    f[i] = static_cast<std::uint8_t>(i < type.size() ? type[i] : ' ');
    f[4 + i] = static_cast<std::uint8_t>(i < creator.size() ? creator[i] : ' ');
  }
  f[8] = static_cast<std::uint8_t>(flags >> 8);
  f[9] = static_cast<std::uint8_t>(flags & 0xFF);
  return f;
}

}  // namespace ferrox
