#include "convert/mac_japanese.h"

#include <cstring>

#include "convert/change_account.h"
#include "convert/gaiji_table.h"
#include "convert/transcoders.h"

namespace ferrox {

std::size_t TakeMacCode(const std::uint8_t* in, std::ptrdiff_t at, std::uint8_t* q,
                        std::size_t& written, const GaijiPolicy& policy) noexcept {
  const MacCode* mac = MacCodeAt(in + at);
  if (mac == nullptr) return 0;
  const std::size_t n = mac->code < 0x100 ? 1 : 2;
  const GaijiTable* table = policy.table;
  ChangeKind kind = mac->kind == 0 ? ChangeKind::kMacSame : ChangeKind::kMacFallback;
  std::size_t record = 0;
  if (n == 2 && table != nullptr && policy.mode == GaijiPolicy::Mode::kReplace) {
    record = table->GaijiTableSearch(in[at], in[at + 1]);
  }
  if (record != 0 || mac->kind == 2) {
    if (record != 0) kind = ChangeKind::kGaijiReplaced;
    if (table != nullptr) {
      written = table->GaijiSet(record, q, 0);
    } else {
      q[0] = 0x81;  // 〓
      q[1] = 0xAC;
      written = 2;
    }
  } else {
    std::memcpy(q, mac->cp932.data(), mac->cp932.size());
    written = mac->cp932.size();
  }
  if (policy.account != nullptr) policy.account->Replaced(kind, in, at, n, q, written);
  return n;
}

}  // namespace ferrox
