#pragma once

#include "encoding/stream.h"
#include "registry/file_record.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace tavu {

/// The geometry and the camera format that a port is configured for.
struct PortFormat
{
    uint16_t width = 0;  ///< pixels
    uint16_t height = 0; ///< pixels
    uint32_t pixelFormat = 0;
    uint32_t tapGeometry = 0;

    bool operator==(const PortFormat &) const = default;
    bool hasGeometry() const { return width != 0 && height != 0; }
};

/// One port as the configuration record keeps it.
struct PortConfig
{
    std::string name;     ///< by which a reader finds the port
    std::string pairedTo; ///< identity of the paired camera; empty when unpaired
    PortFormat format;
    uint16_t framesPerPacket = 0;
    ByteBlock info; ///< the pairing's block
};

/// A block limit that leaves no block out.
inline constexpr uint32_t kNoInfoLimit = 0xFFFFFFFFu;

/// Writes the configuration record of a device: its ports in their order. A block that is empty or
/// larger than \a infoLimit bytes is left out.
void writePortConfigs(std::span<const PortConfig *const> ports, Stream &stream,
                      uint32_t infoLimit = kNoInfoLimit);

/// Parses one configuration record and hands each port to \a found as soon as it is complete, so
/// that the ports before a fault are handed over. A pair that a port lacks leaves 0 or an empty
/// value. Raises std::runtime_error: "Inalid config file." or the reader's text.
void readPortConfigs(Stream &stream, const std::function<void(PortConfig &)> &found);

} // namespace tavu
