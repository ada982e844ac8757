// MacBinary header: recognise, read and rewrite the 128-byte header, and the
// Macintosh information block of the survey report.

#include "analysis/macbinary.h"

// ferrox
#include "analysis/binhex.h"
#include "analysis/report_format.h"
#include "convert/cp932.h"

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

std::string TrimBlanks(std::string s) {
  const auto first = s.find_first_not_of(' ');
  if (first == std::string::npos) {
    return {};
  }
  const auto last = s.find_last_not_of(' ');
  return s.substr(first, last - first + 1);
}

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
  const std::int32_t dataLength = Read24(h, kDataLength);
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
  info.ResourceLength = Read24(h, kResourceLength);
  info.FileType = TrimBlanks({reinterpret_cast<const char*>(&h[kType]), 4});
  info.Creator = TrimBlanks({reinterpret_cast<const char*>(&h[kCreator]), 4});
  info.Created = MacTimeToDate(Read32(h, kCreated));
  info.Modified = MacTimeToDate(Read32(h, kModified));
  return info;
}

int MBInfGet(const std::filesystem::path& path, MacBinaryInfo& info) {
  std::error_code ec;
  const auto size = std::filesystem::file_size(path, ec);
  if (ec || size < static_cast<std::uintmax_t>(kMacBinaryHeaderSize)) {
    return 1;
  }
  std::array<std::uint8_t, 128> header{};
  std::ifstream in(path, std::ios::binary);
  if (!in.read(reinterpret_cast<char*>(header.data()), kMacBinaryHeaderSize)) {
    return 1;
  }
  auto parsed = ParseMacBinaryHeader(header, static_cast<std::int64_t>(size));
  if (!parsed) {
    return 1;
  }
  info = std::move(*parsed);
  return 0;
}

int MBInfPut(const std::filesystem::path& path, std::int64_t dataLength) {
  std::error_code ec;
  const auto size = std::filesystem::file_size(path, ec);
  if (ec || size < static_cast<std::uintmax_t>(kMacBinaryHeaderSize)) {
    return 1;
  }
  std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
  std::array<char, 128> header{};
  if (!file.read(header.data(), kMacBinaryHeaderSize)) {
    return 1;
  }
  // A MacBinary II header whose CRC was right gets a right one again, and its
  // data fork the padding to 128 bytes that readers of that form expect.
  const auto crcOf = [&header] {
    return BinHexCrc(0, {reinterpret_cast<const std::uint8_t*>(header.data()), kCrcCovers});
  };
  const bool hadCrc = crcOf() == ((static_cast<std::uint8_t>(header[kCrc]) << 8) |
                                  static_cast<std::uint8_t>(header[kCrc + 1]));
  const std::uint32_t n = dataLength < 0            ? 0
                          : dataLength > 0xFFFFFFFF ? 0xFFFFFFFFu
                                                    : static_cast<std::uint32_t>(dataLength);
  for (std::size_t i = 0; i < 4; ++i) {
    header[kDataLength + i] = static_cast<char>((n >> (24 - 8 * i)) & 0xFF);
    // The converted file keeps no resource fork.
    header[kResourceLength + i] = 0;
  }
  if (hadCrc) {
    const std::uint16_t crc = crcOf();
    header[kCrc] = static_cast<char>(crc >> 8);
    header[kCrc + 1] = static_cast<char>(crc & 0xFF);
    const auto pad = static_cast<std::streamsize>((kMacBinaryHeaderSize - static_cast<std::int64_t>(size) % kMacBinaryHeaderSize) %
                                                  kMacBinaryHeaderSize);
    file.seekp(0, std::ios::end);
    if (pad > 0 && !file.write(std::string(static_cast<std::size_t>(pad), '\0').data(), pad)) {
      return 1;
    }
  }
  file.seekp(0);
  if (!file.write(header.data(), kMacBinaryHeaderSize) || !file.flush()) {
    return 1;
  }
  return 0;
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
