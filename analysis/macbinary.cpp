// MacBinary header: recognise, read and rewrite the 128-byte header, and the
// Macintosh information block of the survey report.

#include "analysis/macbinary.h"

// ferrox
#include "analysis/binhex.h"
#include "analysis/report_format.h"
#include "text/ascii_text.h"
#include "text/cp932.h"

// system
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// std
#include <array>
#include <fstream>
#include <system_error>

namespace ferrox {
namespace {

constexpr std::size_t kNameLength = 1;
constexpr std::size_t kName = 2;
constexpr std::size_t kType = 65;
constexpr std::size_t kCreator = 69;
constexpr std::size_t kDataLength = 83;
constexpr std::size_t kResourceLength = 87;
constexpr std::size_t kCreated = 91;
constexpr std::size_t kModified = 95;
constexpr std::size_t kCrc = 124;       // MacBinary II: CRC of bytes 0..123
constexpr std::size_t kCrcCovers = 124;

// The low three bytes of a four-byte length: the top byte is ignored on reading.
std::int32_t Read24(std::span<const std::uint8_t, 128> h, std::size_t at) {
  return (h[at + 1] << 16) | (h[at + 2] << 8) | h[at + 3];
}

double Read32(std::span<const std::uint8_t, 128> h, std::size_t at) {
  return ((static_cast<double>(h[at]) * 256 + h[at + 1]) * 256 + h[at + 2]) * 256 + h[at + 3];
}

std::string TrimBlanks(std::string s) { return std::string(ascii::Trim(s)); }

// A Macintosh name in CP932. Bytes that do not decode still show as U+FFFD,
// so a name never comes back empty.
std::string DecodeName(std::string_view bytes) {
  std::string name = cp932::ToUtf8(bytes);
  if (!name.empty()) {
    return name;
  }
  for (const char c : bytes) {
    const auto b = static_cast<unsigned char>(c);
    name += b < 0x80 ? std::string(1, c) : std::string("\xEF\xBF\xBD");
  }
  return name;
}

}  // namespace

std::optional<MacBinaryInfo> ParseMacBinaryHeader(std::span<const std::uint8_t, 128> h,
                                                   std::int64_t fileLength) {
  if (fileLength < kMacBinaryHeaderSize || h[0] != 0) {
    return std::nullopt;
  }
  const std::size_t n = h[kNameLength];
  if (n < 1 || n >= 32) {
    return std::nullopt;
  }
  std::int64_t dataLength = static_cast<std::int64_t>(Read32(h, kDataLength));
  if (fileLength < dataLength + kMacBinaryHeaderSize) dataLength = Read24(h, kDataLength);
  if (fileLength < dataLength + kMacBinaryHeaderSize) {
    return std::nullopt;
  }
  for (std::size_t i = kType; i < kCreator + 4; ++i) {
    if (h[i] < 0x20 || h[i] > 0x7E) {
      return std::nullopt;
    }
  }
  MacBinaryInfo info;
  info.FileName = DecodeName({reinterpret_cast<const char*>(&h[kName]), n});
  info.DataLength = dataLength;
  info.ResourceLength = static_cast<std::int64_t>(Read32(h, kResourceLength));
  if (fileLength < kMacBinaryHeaderSize + dataLength + info.ResourceLength) {
    info.ResourceLength = Read24(h, kResourceLength);
  }
  info.FileType = TrimBlanks({reinterpret_cast<const char*>(&h[kType]), 4});
  info.Creator = TrimBlanks({reinterpret_cast<const char*>(&h[kCreator]), 4});
  info.Created = MacTimeToDate(Read32(h, kCreated));
  info.Modified = MacTimeToDate(Read32(h, kModified));
  return info;
}

int MBInfGet(const std::filesystem::path& path, MacBinaryInfo& info) {
  std::error_code ec;
  const auto size = std::filesystem::file_size(path, ec);
  if (ec) return 1;
  std::ifstream in(path, std::ios::binary);
  return MBInfGet(in, static_cast<std::int64_t>(size), info);
}

int MBInfGet(std::istream& in, std::int64_t fileLength, MacBinaryInfo& info) {
  if (fileLength < kMacBinaryHeaderSize) return 1;
  std::array<std::uint8_t, 128> header{};
  in.clear();
  in.seekg(0);
  if (!in.read(reinterpret_cast<char*>(header.data()), kMacBinaryHeaderSize)) return 1;
  auto parsed = ParseMacBinaryHeader(header, fileLength);
  if (!parsed) return 1;
  info = std::move(*parsed);
  return 0;
}

int MBInfPut(int fd, std::int64_t dataLength) {
  std::array<std::uint8_t, 128> header{};
  if (::pread(fd, header.data(), header.size(), 0) != static_cast<ssize_t>(header.size())) return 1;
  // A MacBinary II header whose CRC was right gets a right one again, and its
  // data fork the padding to 128 bytes that readers of that form expect.
  const auto crcOf = [&header] { return BinHexCrc(0, std::span(header).first(kCrcCovers)); };
  const bool hadCrc = crcOf() == ((header[kCrc] << 8) | header[kCrc + 1]);
  const std::uint32_t n = dataLength < 0            ? 0
                          : dataLength > 0xFFFFFFFF ? 0xFFFFFFFFu
                                                    : static_cast<std::uint32_t>(dataLength);
  for (std::size_t i = 0; i < 4; ++i) {
    header[kDataLength + i] = static_cast<std::uint8_t>((n >> (24 - 8 * i)) & 0xFF);
    header[kResourceLength + i] = 0;  // the converted file keeps no resource fork
  }
  if (hadCrc) {
    const std::uint16_t crc = crcOf();
    header[kCrc] = static_cast<std::uint8_t>(crc >> 8);
    header[kCrc + 1] = static_cast<std::uint8_t>(crc & 0xFF);
    struct stat st {};
    if (::fstat(fd, &st) != 0) return 1;
    const std::int64_t pad = (kMacBinaryHeaderSize - st.st_size % kMacBinaryHeaderSize) % kMacBinaryHeaderSize;
    const std::array<std::uint8_t, 128> zeros{};
    if (pad > 0 && ::pwrite(fd, zeros.data(), static_cast<std::size_t>(pad), st.st_size) != pad) return 1;
  }
  return ::pwrite(fd, header.data(), header.size(), 0) == static_cast<ssize_t>(header.size()) ? 0 : 1;
}

int MBInfPut(const std::filesystem::path& path, std::int64_t dataLength) {
  const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0) return 1;
  const int rc = MBInfPut(fd, dataLength);
  return ::close(fd) == 0 ? rc : 1;
}

void AppendMacBinaryInfo(std::string& report, const MacBinaryInfo& info,
                         const SuffixEntry* match) {
  auto line = [&report](const std::string& text) { report += text + "\r\n"; };
  report += "\r\n";
  line("このファイルにはMacBinaryが付加されています。");
  line("以下は Macintosh での情報です。");
  line("作成日時          :" + FormatDateTime(info.Created));
  line("更新日時          :" + FormatDateTime(info.Modified));
  line("データフォーク    :" + FormatThousands(info.DataLength) + " Byte");
  line("リソースフォーク  :" + FormatThousands(info.ResourceLength) + " Byte");
  line("ファイルタイプ    :[" + info.FileType + "]");
  line("ファイルクリエータ:[" + info.Creator + "]");
  if (match == nullptr) {
    line("対応する拡張子は登録されていません。");
  } else {
    std::string text = "対応する拡張子は[";
    text += match->Extension.empty() ? std::string("無し") : "." + match->Extension;
    text += "]";
    if (!match->Description.empty()) {
      text += " (" + match->Description + ")";
    }
    line(text + "です。");
  }
  line("オリジナルのファイル名は[" + info.FileName + "]です。");
}

}  // namespace ferrox
