// The UTF-8 reading of the survey.

#include "analysis/utf8_reading.h"

// ferrox
#include "analysis/survey_flags.h"
#include "analysis/utf8_sequence.h"
#include "text/nfc.h"

// std
#include <algorithm>

namespace ferrox {

bool Utf8Reading::Binary() noexcept {
  if (allowance_ < 1) {
    alive_ = false;
    return false;
  }
  --allowance_;
  flags_ |= survey::kBinTolerated;
  return true;
}

bool Utf8Reading::Fault() noexcept {
  // After a byte order mark the text is UTF-8 whatever follows: a faulty
  // sequence is one binary byte. Without one, it is no UTF-8 at all.
  if (!bom_) {
    alive_ = false;
    return false;
  }
  return Binary();
}

void Utf8Reading::Character(char32_t cp) noexcept {
  if (cp >= 0x80) {
    multiByte_ = true;
    if (nfc::Composite(previous_, cp) != 0) flags_ |= survey::kUtf8Decomposed;
  }
  previous_ = cp;
}

// Completes the sequence that the last chunk cut, from the bytes at i on;
// false when the reading stops (still cut, or no UTF-8).
bool Utf8Reading::TakePartial(const std::uint8_t* b, std::size_t n, std::size_t& i) noexcept {
  std::uint8_t bytes[4];
  std::size_t k = std::copy_n(partial_, partialLength_, bytes) - bytes;
  for (std::size_t j = i; k < 4 && j < n; ++j) bytes[k++] = b[j];
  const utf8::Sequence s = utf8::ReadSequence(bytes, k);
  if (s.read == utf8::Read::kShort) {
    // Still cut: keep what there is and wait for more.
    std::copy_n(bytes, k, partial_);
    partialLength_ = k;
    return false;
  }
  i += static_cast<std::size_t>(std::max<int>(0, s.length - static_cast<int>(partialLength_)));
  partialLength_ = 0;
  if (s.read == utf8::Read::kChar) {
    Character(s.cp);
    return true;
  }
  return Fault();
}

// The line end of a CR at i (a CR LF moves i to the LF); a CR that ends the
// chunk waits for the next one.
[[gnu::always_inline]] inline void Utf8Reading::TakeCr(const std::uint8_t* b, std::size_t n,
                                                       std::size_t& i) noexcept {
  if (i + 1 == n) {
    pendingCr_ = true;
  } else if (b[i + 1] == 0x0A) {
    flags_ |= survey::kCrLf;
    ++i;
  } else {
    flags_ |= survey::kCr;
  }
}

// Reads the chunk's bytes from i on, until the reading stops.
void Utf8Reading::Scan(const std::uint8_t* b, std::size_t n, std::size_t i) noexcept {
  while (i < n) {
    const std::uint8_t c = b[i];
    if (c < 0x80) {
      previous_ = c;
      if (c == 0x0D) {
        TakeCr(b, n, i);
      } else if (c == 0x0A) {
        flags_ |= survey::kLf;
      } else if ((c < 0x20 && c != 0x09 && c != 0x0C && c != 0x1A) || c == 0x7F) {
        if (!Binary()) return;
      }
      ++i;
      continue;
    }
    const utf8::Sequence s = utf8::ReadSequence(b + i, n - i);
    if (s.read == utf8::Read::kShort) {
      std::copy_n(b + i, s.length, partial_);
      partialLength_ = s.length;
      return;
    }
    const bool c1OrNonchar = s.read == utf8::Read::kChar &&
                             (s.cp <= 0x9F || s.cp == 0xFFFE || s.cp == 0xFFFF);
    if (s.read == utf8::Read::kChar && !c1OrNonchar) {
      Character(s.cp);
    } else if (!Fault()) {
      return;
    }
    i += s.length;
  }
}

void Utf8Reading::Feed(std::span<const std::uint8_t> chunk, std::int64_t offset) noexcept {
  const auto size = static_cast<std::int64_t>(chunk.size());
  if (!alive_ || offset + size <= next_) return;
  const std::uint8_t* b = chunk.data();
  auto i = static_cast<std::size_t>(next_ - offset);
  const auto n = chunk.size();
  if (next_ == start_ && offset == start_ && n >= 3 && b[0] == 0xEF && b[1] == 0xBB &&
      b[2] == 0xBF) {
    bom_ = true;
    i = 3;
  }
  next_ = offset + size;
  if (partialLength_ > 0 && !TakePartial(b, n, i)) return;
  if (pendingCr_ && i < n) {
    // The CR that ended the last chunk.
    pendingCr_ = false;
    if (b[i] == 0x0A) {
      flags_ |= survey::kCrLf;
      ++i;
    } else {
      flags_ |= survey::kCr;
    }
  }
  Scan(b, n, i);
}

std::uint16_t Utf8Reading::Flags() const noexcept {
  if (!alive_ || (!bom_ && !multiByte_)) return 0;
  std::uint16_t f = flags_ | survey::kUtf8 | survey::kMarkSjis;
  if (bom_) f |= survey::kUtf8Bom;
  if (pendingCr_) f |= survey::kCr;
  return f;
}

}  // namespace ferrox
