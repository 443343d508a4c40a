#pragma once

#include "client.h"
#include "support/lab.h"
#include "support/wait.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tavu::test {

/// The parameters that name a recording of device 0, out of an entry of its list for example.
std::string idsOf(const Value &file);

/// Pairs port 0 of device 0 with the camera "Cam" and the block 01 02, and sets its geometry.
void configure(Client &client, uint32_t width, uint32_t height);
/// Pairs the first ports of device 0 with "Cam 0" and so on, with no block, and sets their
/// geometry.
void configurePorts(Client &client, uint32_t count, uint32_t width, uint32_t height);
/// Parameters of startRecording on device 0: plain, without a limit unless \a more names one.
std::string recordingOf(uint32_t portMask, std::string_view more = "type=0 count=0");
/// Starts a recording that runs until it is stopped, and waits until each port has so many frames.
void startRecording(Client &client, uint32_t portMask = 1, uint64_t frameCount = 4);
/// Records so many frames and returns the id of port 0's file.
uint64_t record(Client &client, uint64_t frameCount, uint32_t portMask = 1);

/// Sets the faults of a simulated recorder that is device 0. By the end the faults hold, and the
/// service has called DeviceCollection::device once, and nothing else of the library.
void setFaults(const Lab &lab, Client &client, const std::string &recorder, std::string_view text);

} // namespace tavu::test
