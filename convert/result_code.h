#pragma once
// Failures travel as small negative result codes; only the procedure that owns
// the user interaction turns one into a message.

namespace ferrox::result {

// The job and the conversion pass.
inline constexpr int kDone = 0;
inline constexpr int kInputNotFound = -1;
inline constexpr int kInputEmpty = -2;
inline constexpr int kOutputEmpty = -3;
inline constexpr int kSettings = -4;
inline constexpr int kFailed = -5;
inline constexpr int kCancelled = -6;
inline constexpr int kDiskFull = -7;
inline constexpr int kOutputFailed = -8;  // the job: the new output could not be put in place

// The drivers.
inline constexpr int kInputSide = -1;
inline constexpr int kOutputSide = -2;
inline constexpr int kSettingsSide = -3;

}  // namespace ferrox::result
