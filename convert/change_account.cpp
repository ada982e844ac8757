#include "convert/change_account.h"

#include "text/code_ranges.h"

namespace ferrox {

namespace {
std::string_view Bytes(const std::uint8_t* p, std::size_t n) noexcept {
  return {reinterpret_cast<const char*>(p), n};
}
}  // namespace

std::string_view ChangeKindName(ChangeKind kind) noexcept {
  switch (kind) {
    case ChangeKind::kJunk: return "junk";
    case ChangeKind::kEof: return "eof";
    case ChangeKind::kGaijiDropped: return "gaiji-dropped";
    case ChangeKind::kGaijiReplaced: return "gaiji-replaced";
    case ChangeKind::kMacSame: return "mac";
    case ChangeKind::kMacFallback: return "mac-fallback";
    case ChangeKind::kUtf8Replaced: return "utf8-replaced";
  }
  return "?";
}

std::string ChangeSummary(const ChangeCounts& counts) {
  static constexpr const char* kLabels[kChangeKinds] = {
      "制御文字などを削除", "EOF を削除",          "外字を削除",          "外字を置換",
      "Mac の文字を変換",   "Mac の文字を代替",    "UTF-8 の文字を代替",
  };
  std::string line;
  for (std::size_t k = 0; k < kChangeKinds; ++k) {
    if (counts.n[k] == 0) continue;
    if (!line.empty()) line += "、";
    line += kLabels[k];
    line += ' ';
    line += std::to_string(counts.n[k]);
  }
  return line;
}

bool ChangeCounts::Any() const noexcept {
  for (const std::int64_t v : n) {
    if (v != 0) return true;
  }
  return false;
}

void ChangeAccount::Dropped(ChangeKind kind, const std::uint8_t* in, BufIndex at, BufIndex n) {
  counts_[kind] += n;
  if (sink_ == nullptr) return;
  for (BufIndex k = at; k < at + n; ++k) sink_->Change(blockStart_ + k, kind, Bytes(in + k, 1), {});
}

void ChangeAccount::Replaced(ChangeKind kind, const std::uint8_t* in, BufIndex at, BufIndex n,
                             const std::uint8_t* out, std::size_t m) {
  ++counts_[kind];
  if (sink_ != nullptr) {
    sink_->Change(blockStart_ + at, kind, Bytes(in + at, static_cast<std::size_t>(n)),
                  Bytes(out, m));
  }
}

void ChangeAccount::Record(std::int64_t offset, ChangeKind kind, std::string_view in,
                           std::string_view out) {
  ++counts_[kind];
  if (sink_ != nullptr) sink_->Change(offset, kind, in, out);
}

ChangeKind DropKindAt(const std::uint8_t* p) noexcept {
  using code_ranges::Lead;
  if (p[0] == 0x1A) return ChangeKind::kEof;
  if (p[0] >= 0x80 && code_ranges::IsSjisTrail(p[1]) &&
      code_ranges::SjisLead(p[0], p[1]) == Lead::kGaiji) {
    return ChangeKind::kGaijiDropped;
  }
  if (code_ranges::IsEucByte(p[1]) && code_ranges::EucLead(p[0]) == Lead::kGaiji) {
    return ChangeKind::kGaijiDropped;
  }
  return ChangeKind::kJunk;
}

}  // namespace ferrox
