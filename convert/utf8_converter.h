#pragma once
// The block converter for UTF-8 text: each block of the pass becomes Shift
// JIS (CP932) with CR LF. The byte order mark at the start of the data goes,
// the text is composed to NFC (か and a combining voiced mark become が), and
// a character CP932 lacks, or a byte sequence that is not UTF-8, becomes the
// gaiji table's default replacement. Line ends and the bytes below 0x20 are
// treated as in any text: CR, LF and CR LF become CR LF, TAB and form feed
// stay, every other control byte and 0x1A go.
//
// Unlike the Shift JIS/EUC/JIS converters it keeps what a block boundary cuts:
// the start of a character and a character that a following combining mark
// may still change wait in the converter for the next block.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "analysis/char_type.h"

namespace ferrox {

class ChangeAccount;
class GaijiTable;

class Utf8Converter {
 public:
  // `table` gives the default replacement (record 0); null means "〓".
  // `account`, if any, gets each replacement and dropped byte.
  explicit Utf8Converter(const GaijiTable* table, ChangeAccount* account = nullptr);

  // Converts block positions 0 .. length - 3 (a character that starts there
  // may use the two look-ahead bytes) into `out` from index 0 and returns the
  // bytes written; `carry` is set as by the other block converters. With
  // `last` the block is the file's last (its two look-ahead bytes are padding)
  // and whatever waits is written too. `out` must hold OutputBound(length).
  [[nodiscard]] BufIndex Convert(std::uint8_t* out, const std::uint8_t* in, BufIndex length,
                                 bool last, BufIndex& carry) noexcept;

  // The most bytes one call can write for a block of `length` bytes.
  [[nodiscard]] std::size_t OutputBound(std::size_t length) const noexcept;

 private:
  // `at` is the block index where the character starts, for the account.
  void Take(char32_t cp, std::uint8_t* out, BufIndex& o, BufIndex at) noexcept;
  void TakeBmp(char32_t cp, std::uint8_t* out, BufIndex& o, BufIndex at) noexcept;
  void Flush(std::uint8_t* out, BufIndex& o) noexcept;
  void Put(char32_t cp, std::uint8_t* out, BufIndex& o, BufIndex at) const noexcept;
  void PutReplacement(std::uint8_t* out, BufIndex& o, std::int64_t at,
                      std::string_view in) const noexcept;
  [[nodiscard]] std::int64_t FileOffset(BufIndex at) const noexcept;
  // The steps of Convert; each returns the next block position.
  BufIndex TakePartial(std::uint8_t* out, BufIndex& o, const std::uint8_t* in,
                       BufIndex readable) noexcept;
  BufIndex TakeAscii(std::uint8_t* out, BufIndex& o, const std::uint8_t* in, BufIndex i,
                     BufIndex end) noexcept;
  BufIndex TakeThreeByteRun(std::uint8_t* out, BufIndex& o, const std::uint8_t* in, BufIndex i,
                            BufIndex end) noexcept;
  BufIndex TakeSequence(std::uint8_t* out, BufIndex& o, const std::uint8_t* in, BufIndex i,
                        BufIndex lastIndex) noexcept;
  void FinishFile(std::uint8_t* out, BufIndex& o, BufIndex i) noexcept;

  static constexpr std::size_t kSegmentMax = 32;  // a longer run of marks is composed in parts

  const std::array<std::uint16_t, 0x10000>& cp932_;
  const std::uint64_t* attention_;  // nfc::AttentionBits()
  std::string replacement_;
  ChangeAccount* account_;
  std::array<char32_t, kSegmentMax + 8> segment_{};  // a starter and what may join it
  std::array<BufIndex, kSegmentMax + 8> segmentAt_{};  // block index of each (below 0: earlier)
  std::size_t segmentLength_ = 0;
  bool segmentPlain_ = false;  // one character that NFC leaves as it is
  std::array<std::uint8_t, 4> partial_{};  // the start of a character cut by the block's end
  std::size_t partialLength_ = 0;
  bool atStart_ = true;  // nothing taken yet: a byte order mark is dropped
};

}  // namespace ferrox
