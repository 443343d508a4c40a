#pragma once

#include <cstdint>

namespace tavu {

// Numbers that parameters and replies carry. Any other number may arrive too.

/// The state of a recovery, in the reply to recoveryStatus.
enum class RecoveryStatus : uint32_t
{
    None = 0, ///< no recovery has run
    Running = 1,
    Failed = 2, ///< recoveryError has the text
    Done = 3,   ///< waits for finishRecovery
    Cancelled = 4,
};

/// What ends a recording by itself: "type" of startRecording.
enum class StopCondition : uint8_t
{
    None = 0, ///< and any other number
    FrameCount = 1,
    Time = 2,
};

/// Bits of "externalTrigger" of startRecording.
namespace trigger {
inline constexpr uint8_t kStart = 1 << 0; ///< the external input starts the recording
inline constexpr uint8_t kStop = 1 << 1;  ///< the external input stops it
inline constexpr uint8_t kStartVariant = 1
                                         << 4; ///< goes to the recorder's start input as its switch
inline constexpr uint8_t kStopVariant = 1 << 5; ///< the same for its stop input
} // namespace trigger

/// The reply to hardwareType: 0 for an unknown recorder, others for the families of recorders.
inline constexpr uint8_t kUnknownDevice = 0;
inline constexpr uint8_t kEmulatedDevice = 1;

} // namespace tavu
