#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace simulator {

/// What recorder.conf says of a port and the camera on it. See README.md for the keys.
struct PortDescription
{
    std::string name;
    uint32_t linkMode = 1;
    bool hasCamera = true;
    bool silent = false;
    uint32_t acquisitionStart = 0x8000;
    double frameRate = 30;
    uint32_t frameWidth = 0;  ///< pixels; 0: as the port's data descriptor says
    uint32_t frameHeight = 0; ///< pixels
    uint32_t bitDepth = 16;
    bool hasBitDepthSetting = false;
    bool hasPackingSetting = false;
    bool hasSerial = true;
    uint32_t memorySize = 1 << 20;
    std::map<uint32_t, uint32_t> registers;
    bool noFile = false;

    bool operator==(const PortDescription &) const = default;
};

/// What recorder.conf says.
struct RecorderDescription
{
    std::string name;
    std::string alternativeName;
    uint32_t deviceType = 1;
    bool isVirtual = false;
    bool connected = true;
    uint32_t interfaceBit = 4;
    std::vector<uint32_t> driveGroups = {2}; ///< count of drives in each group
    uint64_t driveSize = uint64_t(4) << 30;  ///< bytes
    uint32_t clusterSize = 256 << 10;        ///< bytes
    uint32_t metadataSize = 64 << 10;        ///< bytes
    uint32_t initialDriveSets = 0;
    bool sharedFile = false;
    uint32_t recoveryMilliseconds = 500;
    std::string recoveryError;
    bool externalInputHigh = false;
    std::vector<PortDescription> ports;

    bool operator==(const RecorderDescription &) const = default;
};

/// Reads a recorder.conf. Raises std::runtime_error that names file and line.
RecorderDescription readRecorderDescription(const std::filesystem::path &file);

} // namespace simulator
