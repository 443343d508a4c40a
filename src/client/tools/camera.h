#pragma once

#include "client/connection.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace tavu::tools {

struct CameraPort
{
    uint32_t device = 0;
    uint8_t port = 0;
};

/// Tells whether the one who waits has given up.
using GivenUp = std::function<bool()>;

/// Reads \a size bytes from a camera's open serial channel, until \a deadline.
client::Bytes receiveSerial(client::Connection &service, CameraPort port, uint32_t size,
                            std::chrono::steady_clock::time_point deadline, const GivenUp &givenUp);

/// Sends a line to a camera and returns the one that comes back, without its end. A channel that is
/// closed is opened for that time.
std::string askCamera(client::Connection &service, CameraPort port,
                      const client::SerialSettings &settings, const std::string &line,
                      std::chrono::microseconds timeout, const GivenUp &givenUp);

} // namespace tavu::tools
