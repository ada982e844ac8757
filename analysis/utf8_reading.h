#pragma once
// The UTF-8 reading of a surveyed range, tried before the Shift JIS/EUC/JIS
// reading. The range is UTF-8 when it starts with a byte order mark, or when
// it holds at least one multi-byte character and every sequence is well
// formed UTF-8 (a sequence cut by the end of the range is no fault). Control
// bytes count against the binary allowance as in any text. C1 controls
// (U+0080..U+009F) and the noncharacters U+FFFE/U+FFFF never occur in real
// UTF-8 text, while Shift JIS half-width katakana before a kanji often form
// them, so they end the reading as a faulty sequence does.

#include <cstddef>
#include <cstdint>
#include <span>

namespace ferrox {

class Utf8Reading {
 public:
  // A range that starts at file offset `start`, with `allowance` binary bytes tolerated.
  Utf8Reading(std::int64_t start, std::int64_t allowance) noexcept
      : next_(start), start_(start), allowance_(allowance) {}

  // A reading that is never UTF-8 (the recognition is switched off).
  [[nodiscard]] static Utf8Reading Off() noexcept {
    Utf8Reading r(0, 0);
    r.alive_ = false;
    return r;
  }

  // Reads the bytes of `chunk`, which starts at file offset `offset`, that it
  // has not read yet. Chunks come in order and may overlap.
  void Feed(std::span<const std::uint8_t> chunk, std::int64_t offset) noexcept;

  // False once the range cannot be UTF-8 text.
  [[nodiscard]] bool Alive() const noexcept { return alive_; }

  // The survey flag word when the range is UTF-8 (without the end-of-file
  // bit, which the caller adds), else 0.
  [[nodiscard]] std::uint16_t Flags() const noexcept;

 private:
  void Character(char32_t cp) noexcept;
  bool Binary() noexcept;  // a binary byte; false when it is one too many
  bool Fault() noexcept;   // a faulty sequence; false when it ends the reading
  bool TakePartial(const std::uint8_t* b, std::size_t n, std::size_t& i) noexcept;
  void TakeCr(const std::uint8_t* b, std::size_t n, std::size_t& i) noexcept;
  void Scan(const std::uint8_t* b, std::size_t n, std::size_t i) noexcept;

  std::int64_t next_;   // file offset of the next byte to read
  std::int64_t start_;
  std::int64_t allowance_;
  bool alive_ = true;
  bool bom_ = false;
  bool multiByte_ = false;
  bool pendingCr_ = false;   // a CR ended the last chunk
  std::uint16_t flags_ = 0;  // line ends, tolerated binary, decomposed characters
  char32_t previous_ = 0;
  std::uint8_t partial_[4] = {};  // a sequence cut by the end of the last chunk
  std::size_t partialLength_ = 0;
};

}  // namespace ferrox
