#pragma once
// BinHex 4.0: recognise a `.hqx` stream and decode it (6-bit text, run-length
// 0x90, header and the three CRCs) without holding more than a block of it.

#include <cstdint>
#include <functional>
#include <istream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ferrox {

struct BinHexInfo {
  std::string FileName;              // Macintosh name, UTF-8 (decoded from CP932)
  std::string FileType;              // blanks trimmed, as for MacBinary
  std::string Creator;
  std::uint16_t FinderFlags = 0;
  std::int64_t DataLength = 0;       // 32-bit fields
  std::int64_t ResourceLength = 0;

  friend bool operator==(const BinHexInfo&, const BinHexInfo&) = default;
};

enum class BinHexStatus {
  Ok,
  NotBinHex,    // no ':' line, or the first bytes are not a BinHex header
  BadCharacter, // a character outside the BinHex alphabet inside the data
  Truncated,    // the text ends before both forks and their CRCs
  HeaderCrc,
  DataCrc,
  ResourceCrc,
  ReadError,
  SinkError,    // the receiver of a fork refused its bytes
};

// A user-facing sentence for a status that is not Ok (Japanese, like every
// message the program shows).
[[nodiscard]] std::string_view BinHexMessage(BinHexStatus status);

// CRC-16 with polynomial 0x1021 and start 0, as BinHex computes it.
[[nodiscard]] std::uint16_t BinHexCrc(std::uint16_t crc, std::span<const std::uint8_t> bytes) noexcept;

// Reads one BinHex stream. The text before the first line that starts with
// ':' (the "(This file must be converted with BinHex 4.0)" line, mail headers)
// is skipped; at most kBinHexPreamble bytes of it are looked through.
class BinHexDecoder {
 public:
  static constexpr std::int64_t kBinHexPreamble = 64 * 1024;
  using Sink = std::function<bool(std::span<const std::uint8_t>)>;

  explicit BinHexDecoder(std::istream& in);

  // Finds the data and reads the header; Ok only when its CRC matches.
  [[nodiscard]] BinHexStatus ReadHeader(BinHexInfo& info);

  // After ReadHeader: hands the data fork to `data` and then the resource fork
  // to `resource` in blocks (an empty function drops that fork), checking each
  // fork's CRC. The receivers may already have had bytes when a CRC fails.
  [[nodiscard]] BinHexStatus ReadForks(const Sink& data, const Sink& resource);

 private:
  enum class Fill { Ok, End, BadCharacter, ReadError };
  Fill FillDecoded();
  std::size_t DecodeCharacters(std::size_t got) noexcept;
  void ExpandRuns(std::size_t n);
  BinHexStatus Take(std::int64_t count, std::uint16_t& crc, const Sink& sink);
  BinHexStatus TakeCrc(std::uint16_t expected, BinHexStatus onMismatch);

  std::istream& in_;
  std::vector<char> raw_;
  std::vector<std::uint8_t> bytes_;  // one block of raw_ after the 6-bit step
  std::vector<std::uint8_t> out_;  // decoded bytes not yet taken
  std::size_t outPos_ = 0;
  std::uint32_t bits_ = 0;
  int bitCount_ = 0;
  std::uint8_t last_ = 0;
  bool marker_ = false;  // a 0x90 waits for its count
  bool ended_ = false;   // the closing ':' or the end of the input was seen
  bool badCharacter_ = false;
  BinHexInfo info_;
};

// True when `head` (the first bytes of a file) holds a ':' line whose first
// bytes decode to a BinHex header with a matching CRC.
[[nodiscard]] bool LooksLikeBinHex(std::string_view head);

}  // namespace ferrox
