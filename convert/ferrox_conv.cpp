// The conversion pass: block loop, progress, cancel and failure handling.

#include "convert/ferrox_conv.h"

// ferrox
#include "analysis/survey_flags.h"
#include "convert/block_converter.h"
#include "convert/block_reader.h"
#include "convert/change_account.h"
#include "convert/gaiji_table.h"
#include "convert/keta_soroe.h"
#include "convert/mac_japanese.h"
#include "convert/output_file.h"
#include "convert/result_code.h"
#include "convert/utf8_converter.h"
#include "text/conv_mode.h"

// std
#include <algorithm>
#include <cerrno>
#include <limits>
#include <new>
#include <optional>
#include <vector>

namespace ferrox {

namespace {

// Reads and writes of a megabyte: on real text the pass spends as much time in
// the kernel as in its own loops, and a quarter of that time goes per call
// (page cache look-ups, write-back set-up) rather than per byte.
constexpr std::size_t kReadChunk = 1024 * 1024;
constexpr std::size_t kFlushAt = 1024 * 1024;

// A small file gets buffers of its own size: a batch of small files then
// spends its time on the files, not on setting up memory it never uses.
std::size_t SizedFor(std::int64_t bytes, std::size_t most) noexcept {
  constexpr std::int64_t kPage = 4096;
  const std::int64_t rounded = (std::max<std::int64_t>(bytes, 1) + kPage - 1) / kPage * kPage;
  return static_cast<std::size_t>(std::min<std::int64_t>(rounded, static_cast<std::int64_t>(most)));
}

JobResult FailureCode() noexcept {
  return (errno == ENOSPC || errno == EDQUOT) ? JobResult::DiskFull : JobResult::Failed;
}

// Converted bytes one block can give at most: a lone line end doubles, and a
// gaiji pair may be replaced by a longer string of the table.
std::size_t ConvertedBound(std::size_t blockBytes, const BlockSettings& settings) {
  std::size_t perPair = settings.policy.mac ? std::max<std::size_t>(4, kMacLongest) : 4;
  if ((settings.policy.mode == GaijiPolicy::Mode::kReplace || settings.policy.mac) &&
      settings.policy.table != nullptr) {
    for (const auto& record : settings.policy.table->Records()) {
      perPair = std::max(perPair, record.replacement.size());
    }
  }
  return (blockBytes / 2 + 1) * perPair + 8;
}

std::optional<Utf8Converter> MakeUtf8(std::uint16_t typeFlags, const GaijiTable* gaiji,
                                      ChangeAccount* account) {
  if ((typeFlags & survey::kUtf8) == 0) return std::nullopt;
  return std::optional<Utf8Converter>(std::in_place, gaiji, account);
}

class Pass {
 public:
  Pass(const ConvOptions& options, ProgressSink& progress, std::int32_t blockSize,
       std::uint16_t typeFlags, bool text, std::int64_t inputBytes)
      : options_(options),
        progress_(progress),
        blockSize_(static_cast<std::size_t>(blockSize)),
        text_(text),
        full_((options.convMode & conv_mode::kFull) != 0),
        lineSize_(options.lineSize),
        settings_(BlockSettings::Make(typeFlags, options.convMode, options.gaiji,
                                      MacJapaneseFor(options), options.account)),
        utf8_(MakeUtf8(typeFlags, options.gaiji, options.account)),
        convertedMax_(utf8_ ? utf8_->OutputBound(blockSize_ + 2)
                            : ConvertedBound(blockSize_ + 2, settings_)),
        outputMax_(lineSize_ > 0 ? 3 * convertedMax_ + 8 : convertedMax_),
        reader_(SizedFor(inputBytes, kReadChunk), blockSize_),
        out_(SizedFor(2 * inputBytes, kFlushAt), std::max(outputMax_, blockSize_)) {
    if (text_ && lineSize_ > 0) converted_.resize(convertedMax_ + 2);
  }

  JobResult Run(PassOutput& out, const PassInput& in, std::int64_t dataStart, std::int64_t dataLength,
          bool keepHeader, std::uint16_t typeFlags);

 private:
  JobResult Open(PassOutput& out, const PassInput& in, std::int64_t dataStart,
                 std::int64_t dataLength, bool keepHeader);
  JobResult Blocks(PassOutput& out, std::int64_t dataStart, std::int64_t dataLength, bool streamed);
  JobResult Failure(PassOutput& out) const noexcept;
  bool CopyHeader(std::int64_t length);
  bool TextBlock(const std::uint8_t* in, std::size_t length, bool last);

  const ConvOptions& options_;
  ProgressSink& progress_;
  std::size_t blockSize_;
  bool text_;
  bool full_;
  std::int32_t lineSize_;
  BlockSettings settings_;
  std::optional<Utf8Converter> utf8_;  // for text the survey found to be UTF-8
  std::size_t convertedMax_;
  std::size_t outputMax_;
  BlockReader reader_;
  OutputFile out_;
  std::vector<std::uint8_t> converted_;  // folding input: converted block + two zeros
  BufIndex carry_ = 0;
  std::uint16_t codeState_ = 0;
  std::int32_t column_ = 0;
  bool sendFailed_ = false;  // a flush while following a stream failed
};

bool Pass::CopyHeader(std::int64_t length) {
  for (std::int64_t at = 0; at < length;) {
    const auto n = static_cast<std::size_t>(
        std::min<std::int64_t>(length - at, static_cast<std::int64_t>(blockSize_)));
    const std::uint8_t* p = reader_.Block(at, n, 0);
    if (p == nullptr || !out_.Append(p, n)) return false;
    at += static_cast<std::int64_t>(n);
  }
  return true;
}

bool Pass::TextBlock(const std::uint8_t* in, std::size_t length, bool last) {
  const auto inLength = static_cast<BufIndex>(length);
  const bool fold = lineSize_ > 0;
  std::uint8_t* dst = fold ? converted_.data() : out_.Space(outputMax_);
  if (dst == nullptr) return false;
  BufIndex n = utf8_  ? utf8_->Convert(dst, in, inLength, last, carry_)
               : full_ ? FerroxConvSub(dst, in, inLength, settings_, carry_, codeState_)
                       : FerroxConvSubLite(dst, in, inLength, settings_, carry_);
  if (last) carry_ = 0;
  if (fold) {
    converted_[static_cast<std::size_t>(n)] = 0;
    converted_[static_cast<std::size_t>(n) + 1] = 0;
    std::uint8_t* folded = out_.Space(outputMax_);
    if (folded == nullptr) return false;
    n = KetaSoroe(folded, converted_.data(), n + 2, column_, lineSize_);
  }
  out_.Commit(static_cast<std::size_t>(n));
  return true;
}

// A failed write to a descriptor is the output's failure; a signal that
// stopped a wait on a stream, or a write, is a cancel.
JobResult Pass::Failure(PassOutput& out) const noexcept {
  const int written = out_.WriteError();
  if (written == EINTR || (written == 0 && errno == EINTR)) return JobResult::Cancelled;
  if (written != 0 && out.fd >= 0) {
    out.fdError = written;
    return JobResult::OutputFailed;
  }
  if (written != 0) errno = written;
  return FailureCode();
}

// Opens the input (following a stream that is still being written) and the
// output, and copies the header that goes before the data when it is kept.
JobResult Pass::Open(PassOutput& out, const PassInput& in, std::int64_t dataStart,
                     std::int64_t dataLength, bool keepHeader) {
  if (!reader_.Open(in.path, dataStart + dataLength)) return JobResult::Failed;
  if (in.follow >= 0) {
    reader_.Follow(in.follow, [this] {
      sendFailed_ = sendFailed_ || !out_.Flush();
      return !sendFailed_ && progress_.ConvBusy();
    });
  }
  if (out.fd >= 0) {
    out_.Attach(out.fd);
  } else if (!out_.Create(out.path, !text_)) {  // copies of binary data keep the holes of a sparse input
    return FailureCode();
  }
  if (keepHeader && !CopyHeader(dataStart)) return Failure(out);
  return JobResult::Done;
}

// Converts or copies the data block by block, showing progress and stopping
// on a cancel.
JobResult Pass::Blocks(PassOutput& out, std::int64_t dataStart, std::int64_t dataLength,
                       bool streamed) {
  const auto blockOf = [this](std::int64_t left) {
    return static_cast<std::size_t>(std::min<std::int64_t>(left, static_cast<std::int64_t>(blockSize_)));
  };
  std::int64_t readPos = dataStart;
  std::int64_t remaining = dataLength;
  while (remaining >= 1) {
    progress_.ShowProgress(readPos - dataStart, streamed ? -1 : dataLength);
    progress_.PumpEvents();
    if (!progress_.ConvBusy()) {
      out_.Discard();
      return JobResult::Cancelled;
    }
    std::size_t blockLength = blockOf(remaining);
    if (streamed) {
      // The last block is the one the stream ends in: a byte past it, or the
      // end, must have come before the block is converted.
      const bool ready = reader_.Ahead(readPos, blockLength + 1);
      if (sendFailed_) return Failure(out);
      if (!ready) {
        if (errno == EINTR) continue;  // the loop's check tells a cancel
        return Failure(out);
      }
      remaining = reader_.Limit() - readPos;
      if (remaining < 1) break;
      blockLength = blockOf(remaining);
    }
    const bool last = static_cast<std::int64_t>(blockLength) == remaining;
    const std::uint8_t* block = reader_.Block(readPos, blockLength, text_ && last ? 2 : 0);
    if (block == nullptr) return Failure(out);
    if (options_.account != nullptr) options_.account->SetBlockStart(readPos - dataStart);
    if (!text_) {
      if (!out_.Append(block, blockLength)) return Failure(out);
    } else if (!TextBlock(block, last ? blockLength + 2 : blockLength, last)) {
      return Failure(out);
    }
    const std::int64_t consumed = static_cast<std::int64_t>(blockLength) - carry_;
    remaining -= consumed;
    readPos += consumed;
  }
  return JobResult::Done;
}

JobResult Pass::Run(PassOutput& out, const PassInput& in, std::int64_t dataStart, std::int64_t dataLength,
              bool keepHeader, std::uint16_t typeFlags) {
  if (text_) codeState_ = typeFlags & survey::kMarkMask;
  const bool streamed = in.follow >= 0;
  if (streamed) dataLength = std::numeric_limits<std::int64_t>::max() - dataStart;
  JobResult result = Open(out, in, dataStart, dataLength, keepHeader);
  if (result != JobResult::Done) return result;
  result = Blocks(out, dataStart, dataLength, streamed);
  if (result != JobResult::Done) return result;
  if (text_ && (options_.convMode & conv_mode::kAppendEof) != 0) {
    const std::uint8_t eof = 0x1A;
    if (!out_.Append(&eof, 1)) return Failure(out);
  }
  if (!out_.Finish(out.keep && out.fd < 0 ? &out.kept : nullptr)) return Failure(out);
  return JobResult::Done;
}

}  // namespace

bool MacJapaneseFor(const ConvOptions& options) noexcept {
  if ((options.convMode & conv_mode::kNoMacJapanese) != 0) return false;
  return options.macOrigin || (options.convMode & conv_mode::kMacJapaneseAny) != 0;
}

namespace detail {

JobResult FerroxConvBlocks(const std::string& outPath, const std::string& inPath,
                     std::int64_t dataStart, std::int64_t dataLength, std::uint16_t opFlags,
                     std::uint16_t typeFlags, bool keepHeader, const ConvOptions& options,
                     ProgressSink& progress, std::int32_t blockSize) {
  PassOutput out{outPath};
  return FerroxConvBlocks(out, PassInput{inPath}, dataStart, dataLength, opFlags, typeFlags, keepHeader, options,
                          progress, blockSize);
}

JobResult FerroxConvBlocks(PassOutput& out, const PassInput& in, std::int64_t dataStart, std::int64_t dataLength,
                     std::uint16_t opFlags, std::uint16_t typeFlags, bool keepHeader, const ConvOptions& options,
                     ProgressSink& progress, std::int32_t blockSize) {
  if (in.follow >= 0) dataLength = 0;  // the stream's end tells
  if (dataStart < 0 || dataLength < 0 || blockSize < 3 ||
      dataLength > std::numeric_limits<std::int64_t>::max() - dataStart) {
    return JobResult::Failed;
  }
  try {
    // A stream of unknown length gets the largest buffers.
    Pass pass(options, progress, blockSize, typeFlags, (opFlags & kOpText) != 0,
              in.follow >= 0 ? std::int64_t{1} << 40 : dataStart + dataLength);
    return pass.Run(out, in, dataStart, dataLength, keepHeader, typeFlags);
  } catch (const std::bad_alloc&) {
    return JobResult::Failed;  // the pass's destructor has removed its output
  }
}

}  // namespace detail

JobResult FerroxConv(PassOutput& out, const PassInput& in, std::int64_t dataStart, std::int64_t dataLength,
               std::uint16_t opFlags, std::uint16_t typeFlags, bool keepHeader, const ConvOptions& options,
               ProgressSink& progress) {
  return detail::FerroxConvBlocks(out, in, dataStart, dataLength, opFlags, typeFlags, keepHeader, options, progress,
                                  kConvBlockSize);
}

JobResult FerroxConv(const std::string& outPath, const std::string& inPath, std::int64_t dataStart,
               std::int64_t dataLength, std::uint16_t opFlags, std::uint16_t typeFlags,
               bool keepHeader, const ConvOptions& options, ProgressSink& progress) {
  return detail::FerroxConvBlocks(outPath, inPath, dataStart, dataLength, opFlags, typeFlags,
                                  keepHeader, options, progress, kConvBlockSize);
}

}  // namespace ferrox
