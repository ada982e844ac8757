#pragma once
// The account of what the pass changes beyond line ends and code conversion:
// every byte it drops and every character it replaces, by kind, with the
// input offset where it happened.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "analysis/char_type.h"

namespace ferrox {

enum class ChangeKind : std::uint8_t {
  kJunk,           // a control or stray byte dropped
  kEof,            // an end-of-file byte 0x1A dropped
  kGaijiDropped,   // a gaiji byte dropped
  kGaijiReplaced,  // a gaiji replaced through the gaiji table
  kMacSame,        // a Mac Japanese code written as the CP932 code of the same character
  kMacFallback,    // a Mac Japanese code CP932 lacks, written as its fallback
  kUtf8Replaced,   // a UTF-8 character without a CP932 code, or a bad sequence
};
inline constexpr std::size_t kChangeKinds = 7;

// The name of a kind in the change list.
[[nodiscard]] std::string_view ChangeKindName(ChangeKind kind) noexcept;

struct ChangeCounts {
  std::array<std::int64_t, kChangeKinds> n{};

  [[nodiscard]] std::int64_t& operator[](ChangeKind k) noexcept {
    return n[static_cast<std::size_t>(k)];
  }
  [[nodiscard]] std::int64_t operator[](ChangeKind k) const noexcept {
    return n[static_cast<std::size_t>(k)];
  }
  [[nodiscard]] bool Any() const noexcept;
};

// The counts in one line for the user, kinds with none left out:
// "制御文字などを削除 3、Mac の文字を代替 1".
[[nodiscard]] std::string ChangeSummary(const ChangeCounts& counts);

// Receives each change as it happens, for a change list.
class ChangeSink {
 public:
  virtual ~ChangeSink() = default;
  // The changes that follow are in the file `path`.
  virtual void BeginFile(const std::string& path) = 0;
  virtual void Change(std::int64_t offset, ChangeKind kind, std::string_view in,
                      std::string_view out) = 0;
};

// Counts changes and hands them to an optional sink. The converters report
// positions within the block; SetBlockStart makes them file offsets.
class ChangeAccount {
 public:
  explicit ChangeAccount(ChangeSink* sink = nullptr) noexcept : sink_(sink) {}

  void SetBlockStart(std::int64_t offset) noexcept { blockStart_ = offset; }

  // n bytes from in[at] dropped.
  void Dropped(ChangeKind kind, const std::uint8_t* in, BufIndex at, BufIndex n = 1);
  // in[at .. at + n) written as out[0 .. m).
  void Replaced(ChangeKind kind, const std::uint8_t* in, BufIndex at, BufIndex n,
                const std::uint8_t* out, std::size_t m);
  // A change at a file offset the caller knows (the UTF-8 converter).
  void Record(std::int64_t offset, ChangeKind kind, std::string_view in, std::string_view out);

  [[nodiscard]] const ChangeCounts& Counts() const noexcept { return counts_; }
  [[nodiscard]] std::int64_t BlockStart() const noexcept { return blockStart_; }

 private:
  ChangeSink* sink_;
  std::int64_t blockStart_ = 0;
  ChangeCounts counts_;
};

// What dropping the byte at p means: an end-of-file byte, the lead of a
// Shift JIS or EUC gaiji pair, or junk.
[[nodiscard]] ChangeKind DropKindAt(const std::uint8_t* p) noexcept;

// Drops n bytes at in[at] into the account, if there is one.
inline void NoteDrop(ChangeAccount* account, ChangeKind kind, const std::uint8_t* in, BufIndex at,
                     BufIndex n = 1) {
  if (account != nullptr) account->Dropped(kind, in, at, n);
}

}  // namespace ferrox
