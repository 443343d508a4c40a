#pragma once

#include "client/connection.h"
#include "client/tools/json_values.h"
#include "client/tools/recording_state.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavu::tools {

/// A value that the service has, or the reason why it hasn't.
template <typename Value>
struct Answer
{
    std::optional<Value> value;
    std::string error;

    std::string text(auto format) const
    {
        return value ? format(*value) : "unknown (" + error + ")";
    }
    Json json() const { return value ? Json(*value) : Json(); }
};

struct PortStatus
{
    uint8_t number = 0;
    Answer<std::string> name;
    Answer<std::string> pairedTo;
    Answer<uint16_t> framesPerPacket;
    Answer<client::PortConfig> config;
};

struct DeviceStatus
{
    uint32_t number = 0;
    std::string name;
    bool connected = false;
    Answer<uint8_t> hardwareType;
    Answer<bool> isCxp;
    Answer<uint8_t> percentUsed;
    Answer<bool> incomplete;
    Answer<RecordingState> state;
    Answer<uint64_t> fileCount;
    std::vector<PortStatus> ports;
};

/// Asks the service for all that it knows of a device; what is out of reach has its reason. Raises
/// client::ServiceError when there is no such device.
DeviceStatus askDevice(client::Connection &service, uint32_t device);

/// What the reply to hardwareType means.
std::string hardwareTypeText(uint8_t type);

Json toJson(const DeviceStatus &status);

/// Prepares the storage of a device, so that it can record: its recordings are lost.
void prepareStorage(client::Connection &service, uint32_t device);

} // namespace tavu::tools
