#pragma once

#include "client/connection.h"

#include <cstdint>

namespace tavu::bench {

/// Pairs a port of device 0 and gives it a frame size.
void configure(client::Connection &client, uint16_t width, uint16_t height, uint8_t port = 0);
/// Records frames on the first port of device 0.
client::RecordingTarget recordFrames(client::Connection &client, int frames);

} // namespace tavu::bench
