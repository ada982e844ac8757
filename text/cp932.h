#pragma once
// CP932 (Windows Shift JIS) text through iconv. Ferrox's own texts are UTF-8;
// the files it reads and writes as text (tables, reports, Mac names) are CP932.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ferrox::cp932 {

// True when iconv on this machine converts CP932 both ways.
[[nodiscard]] bool Available();

// CP932 bytes to UTF-8. A byte sequence that CP932 cannot decode becomes
// U+FFFD, so the result is never shorter than needed to show something.
[[nodiscard]] std::string ToUtf8(std::string_view cp932);

// UTF-8 to CP932 bytes; nullopt when some character has no CP932 form.
[[nodiscard]] std::optional<std::string> FromUtf8(std::string_view utf8);

// UTF-8 to CP932, with characters that have no CP932 form written as "?".
[[nodiscard]] std::string FromUtf8Lossy(std::string_view utf8);

// Width of a UTF-8 text in Shift JIS bytes (a full-width character counts 2).
[[nodiscard]] std::size_t SjisWidth(std::string_view utf8);

// The CP932 code of every BMP character, as this machine's iconv encodes it:
// a double-byte code as lead << 8 | trail, a single byte as itself, 0 when
// CP932 has none. A character CP932 lacks whose canonical equivalent (NFC
// turns the Angstrom sign into Å) it has takes that code. Built on first use.
using UnicodeTable = std::array<std::uint16_t, 0x10000>;
[[nodiscard]] const UnicodeTable& FromUnicodeTable();

}  // namespace ferrox::cp932
