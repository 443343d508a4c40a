#pragma once

#include "service.h"

namespace tavu::test {

/// Pairs the emulated device's port with the camera "Cam" and the block 01 02, and sets its
/// geometry.
void configure(Client &client, uint32_t width, uint32_t height);

/// Starts a recording of so many frames; without a count it runs until it is stopped.
void startRecording(Client &client, std::optional<uint64_t> frameCount);

/// Records so many frames and returns the file's id.
uint64_t record(Client &client, uint64_t frameCount);

/// The frame with this number of an emulated recording.
Bytes expectedFrame(uint64_t number, uint32_t width, uint32_t height);

/// Ramp values from \a first on, as bytes.
Bytes expectedRamp(uint64_t first, uint64_t count);

} // namespace tavu::test
