#include "convert/result_code.h"

namespace ferrox {

const char* JobResultText(JobResult result) noexcept {
  switch (result) {
    case JobResult::Failed:
    case JobResult::OutputFailed: return "変換出来ませんでした";
    case JobResult::Settings: return "変換設定に誤りがあります";
    case JobResult::OutputEmpty: return "出力ﾌｧｲﾙが指定されていません";
    case JobResult::InputEmpty: return "入力ﾌｧｲﾙが指定されていません";
    case JobResult::Done:
    case JobResult::InputNotFound:
    case JobResult::Cancelled:
    case JobResult::DiskFull: break;
  }
  return "";
}

}  // namespace ferrox
