// Mac files in BinHex 4.0 or AppleSingle: what wraps a file, a sample of its
// data fork for the survey, and the unwrapping of its forks into files.

#include "analysis/mac_wrapper.h"

// ferrox
#include "analysis/binhex.h"
#include "analysis/macbinary.h"

// std
#include <cctype>
#include <climits>
#include <fstream>
#include <system_error>
#include <vector>

namespace ferrox {
namespace {

using Sink = BinHexDecoder::Sink;

Sink AppendTo(std::ofstream& out) {
  return [&out](std::span<const std::uint8_t> b) {
    return static_cast<bool>(out.write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size())));
  };
}

bool CopyRange(std::ifstream& in, std::int64_t offset, std::int64_t length, std::ofstream& out) {
  std::vector<char> buf(64 * 1024);
  in.clear();
  in.seekg(offset);
  while (length > 0) {
    const auto n = static_cast<std::streamsize>(std::min<std::int64_t>(length, static_cast<std::int64_t>(buf.size())));
    if (!in.read(buf.data(), n) || !out.write(buf.data(), n)) return false;
    length -= n;
  }
  return true;
}

// Any text with a line that starts with ':' can look like BinHex for a while;
// only a file that says it is one is called a damaged one.
bool ClaimsBinHex(const std::filesystem::path& path) {
  std::string ext = path.extension().string();
  for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (ext == ".hqx") return true;
  std::ifstream in(path, std::ios::binary);
  std::string head(static_cast<std::size_t>(BinHexDecoder::kBinHexPreamble), '\0');
  in.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<std::size_t>(in.gcount()));
  return head.find("(This file must be converted with BinHex") != std::string::npos;
}

}  // namespace

namespace {

MacWrapper ProbeAppleSingle(std::istream& in, std::int64_t length, WrappedMacFile& info, std::string& error) {
  AppleFileInfo apple;
  in.clear();
  in.seekg(0);
  const AppleFileStatus status = ReadAppleFile(in, length, apple);
  if (status == AppleFileStatus::NotAppleFile) return MacWrapper::None;
  if (status == AppleFileStatus::Ok && apple.Kind == AppleFileKind::Double) return MacWrapper::None;
  info = {};
  info.Kind = MacWrapper::AppleSingle;
  if (status != AppleFileStatus::Ok) {
    error = AppleFileMessage(status);
    return info.Kind;
  }
  info.FileName = apple.FileName;
  info.FileType = apple.FileType;
  info.Creator = apple.Creator;
  info.DataLength = apple.DataFork ? apple.DataFork->Length : 0;
  info.ResourceLength = apple.ResourceFork ? apple.ResourceFork->Length : 0;
  info.HasDates = apple.HasDates;
  info.Created = apple.Created;
  info.Modified = apple.Modified;
  info.FinderInfo = apple.FinderInfo;
  info.Apple = std::move(apple);
  return info.Kind;
}

MacWrapper ProbeBinHex(std::istream& in, const std::filesystem::path& path, WrappedMacFile& info,
                       std::string& error) {
  // Most files have no line that starts with ':' in the part the decoder
  // would look through: one block read settles that, where the decoder's
  // search goes a byte at a time.
  in.clear();
  in.seekg(0);
  std::string preamble(static_cast<std::size_t>(BinHexDecoder::kBinHexPreamble), '\0');
  in.read(preamble.data(), static_cast<std::streamsize>(preamble.size()));
  preamble.resize(static_cast<std::size_t>(in.gcount()));
  bool colonStartsALine = false;
  for (auto at = preamble.find(':'); at != std::string::npos && !colonStartsALine; at = preamble.find(':', at + 1)) {
    colonStartsALine = at == 0 || preamble[at - 1] == '\n' || preamble[at - 1] == '\r';
  }
  if (!colonStartsALine) return MacWrapper::None;
  in.clear();
  in.seekg(0);
  BinHexDecoder decoder(in);
  BinHexInfo hqx;
  const BinHexStatus status = decoder.ReadHeader(hqx);
  if (status != BinHexStatus::Ok && !(status == BinHexStatus::HeaderCrc && ClaimsBinHex(path))) {
    return MacWrapper::None;
  }
  info = {};
  info.Kind = MacWrapper::BinHex;
  if (status != BinHexStatus::Ok) {
    error = BinHexMessage(status);
    return info.Kind;
  }
  info.FileName = hqx.FileName;
  info.FileType = hqx.FileType;
  info.Creator = hqx.Creator;
  info.DataLength = hqx.DataLength;
  info.ResourceLength = hqx.ResourceLength;
  info.FinderInfo = MakeFinderInfo(hqx.FileType, hqx.Creator, hqx.FinderFlags);
  return info.Kind;
}

}  // namespace

MacWrapper ProbeMacWrapper(const std::filesystem::path& path, WrappedMacFile& info, std::string& error) {
  error.clear();
  std::error_code ec;
  const auto size = std::filesystem::file_size(path, ec);
  std::ifstream in(path, std::ios::binary);
  if (ec || !in) return MacWrapper::None;
  return ProbeMacWrapper(in, static_cast<std::int64_t>(size), path, info, error);
}

MacWrapper ProbeMacWrapper(std::istream& in, std::int64_t length, const std::filesystem::path& path,
                           WrappedMacFile& info, std::string& error) {
  error.clear();
  in.clear();
  in.seekg(0);
  char head[4] = {};
  in.read(head, 4);
  if (HasAppleFileMagic({head, static_cast<std::size_t>(in.gcount())})) {
    return ProbeAppleSingle(in, length, info, error);
  }
  return ProbeBinHex(in, path, info, error);
}

bool SampleDataFork(const std::filesystem::path& path, const WrappedMacFile& info, std::int64_t limit,
                    std::string& sample) {
  sample.clear();
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  const std::int64_t want = std::min(limit, info.DataLength);
  if (info.Kind == MacWrapper::AppleSingle) {
    sample.resize(static_cast<std::size_t>(want));
    in.seekg(info.Apple.DataFork ? info.Apple.DataFork->Offset : 0);
    return want == 0 || static_cast<bool>(in.read(sample.data(), want));
  }
  BinHexDecoder decoder(in);
  BinHexInfo hqx;
  if (decoder.ReadHeader(hqx) != BinHexStatus::Ok) return false;
  // The receiver refuses once it has enough, which ends the decoding early.
  const BinHexStatus status = decoder.ReadForks(
      [&](std::span<const std::uint8_t> b) {
        const auto take = std::min<std::size_t>(b.size(), static_cast<std::size_t>(want) - sample.size());
        sample.append(reinterpret_cast<const char*>(b.data()), take);
        return static_cast<std::int64_t>(sample.size()) < want;
      },
      {});
  return static_cast<std::int64_t>(sample.size()) == want || status == BinHexStatus::Ok;
}

bool UnwrapMacFile(const std::filesystem::path& path, const WrappedMacFile& info,
                   const std::filesystem::path& dataPath, const std::filesystem::path& appleDoublePath,
                   std::string& error) {
  const bool keepResource = !appleDoublePath.empty() && info.ResourceLength > 0;
  std::ifstream in(path, std::ios::binary);
  std::ofstream data(dataPath, std::ios::binary | std::ios::trunc);
  std::ofstream resource;
  if (keepResource) {
    resource.open(appleDoublePath, std::ios::binary | std::ios::trunc);
    const std::string header = AppleDoubleHeader(info.FinderInfo, info.ResourceLength);
    resource.write(header.data(), static_cast<std::streamsize>(header.size()));
  }
  if (!in || !data || (keepResource && !resource)) {
    error = "Macintoshﾌｧｲﾙを取り出せません";
    return false;
  }
  if (info.Kind == MacWrapper::BinHex) {
    BinHexDecoder decoder(in);
    BinHexInfo hqx;
    BinHexStatus status = decoder.ReadHeader(hqx);
    if (status == BinHexStatus::Ok) status = decoder.ReadForks(AppendTo(data), keepResource ? AppendTo(resource) : Sink{});
    if (status != BinHexStatus::Ok) {
      error = BinHexMessage(status);
      return false;
    }
  } else {
    const auto& a = info.Apple;
    if ((a.DataFork && !CopyRange(in, a.DataFork->Offset, a.DataFork->Length, data)) ||
        (keepResource && !CopyRange(in, a.ResourceFork->Offset, a.ResourceFork->Length, resource))) {
      error = AppleFileMessage(AppleFileStatus::ReadError);
      return false;
    }
  }
  data.flush();
  resource.flush();
  if (!data || (keepResource && !resource)) {
    error = "Macintoshﾌｧｲﾙを取り出せません";
    return false;
  }
  return true;
}

namespace {

// The MacBinary block with `first` as its first line and, without dates, no date lines.
void AppendMacBlock(std::string& report, const WrappedMacFile& info, const SuffixEntry* match,
                    const std::string& first) {
  MacBinaryInfo mac;
  mac.FileName = info.FileName;
  mac.DataLength = static_cast<std::int32_t>(std::min<std::int64_t>(info.DataLength, INT32_MAX));
  mac.ResourceLength = static_cast<std::int32_t>(std::min<std::int64_t>(info.ResourceLength, INT32_MAX));
  mac.FileType = info.FileType;
  mac.Creator = info.Creator;
  mac.Created = info.Created;
  mac.Modified = info.Modified;
  std::string block;
  AppendMacBinaryInfo(block, mac, match);
  const std::string_view macBinary = "このファイルにはMacBinaryが付加されています。";
  block.replace(block.find(macBinary), macBinary.size(), first);
  if (!info.HasDates) {
    for (const std::string_view label : {"作成日時          :", "更新日時          :"}) {
      const auto at = block.find(label);
      block.erase(at, block.find("\r\n", at) + 2 - at);
    }
  }
  report += block;
}

}  // namespace

void AppendWrappedMacInfo(std::string& report, const WrappedMacFile& info, const SuffixEntry* match) {
  AppendMacBlock(report, info, match,
                 info.Kind == MacWrapper::BinHex ? "このファイルはBinHex 4.0形式です。" : "このファイルはAppleSingle形式です。");
}

void AppendSidecarMacInfo(std::string& report, const SidecarOf& file, const SuffixEntry* match) {
  WrappedMacFile info;
  info.FileName = file.name;
  info.DataLength = file.dataLength;
  info.ResourceLength = file.side.ResourceFork ? file.side.ResourceFork->Length : 0;
  info.FileType = file.side.FileType;
  info.Creator = file.side.Creator;
  info.HasDates = file.side.HasDates;
  info.Created = file.side.Created;
  info.Modified = file.side.Modified;
  AppendMacBlock(report, info, match, "このファイルにはAppleDoubleﾌｧｲﾙ [" + file.sidecarName + "] が付いています。");
}

bool WriteAppleDoubleFrom(const std::filesystem::path& source, std::int64_t offset, std::int64_t length,
                          const std::array<std::uint8_t, 32>& finderInfo, const std::filesystem::path& out) {
  std::ifstream in(source, std::ios::binary);
  std::ofstream file(out, std::ios::binary | std::ios::trunc);
  const std::string header = AppleDoubleHeader(finderInfo, length);
  return in && file.write(header.data(), static_cast<std::streamsize>(header.size())) &&
         CopyRange(in, offset, length, file) && file.flush();
}

}  // namespace ferrox
