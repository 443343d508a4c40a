#pragma once

#include "hardware/library_access.h"
#include "hardware/port_table.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tavu {

/// Configuration and pairing of a device's ports, in memory, on the drives and in the recorder.
/// Wants the device's mutex.
class PortSetup
{
public:
    PortSetup(const LibraryAccess &library, PortTable &ports) : library_(library), ports_(ports) {}

    void beginConnection() { configState_ = ConfigState::Unread; }
    /// There is no drive set, and so nothing that could be read.
    void noteNothingStored() { configState_ = ConfigState::Read; }
    /// Reads the stored configurations and tells the recorder of them.
    void load();

    void pair(uint8_t port, const std::string &identity, ByteBlock info,
              uint16_t numFramesPerPacket);
    /// Raises "Not paired to this camera.".
    void repair(uint8_t port, const std::string &identity, ByteBlock info,
                uint16_t numFramesPerPacket);
    /// The pairing's own file stays on the drives; the next large block reuses it.
    void unpair(uint8_t port) { pair(port, std::string(), ByteBlock(), 0); }
    /// The pairing's block, which may have to be read from the drives.
    const ByteBlock &identity(uint8_t port);
    void setFormat(uint8_t port, const PortFormat &format);

    /// Replaces all drive sets by a new one. Configuration and pairing stay in memory.
    void wipeDrives();

private:
    /// Whether the ports have what the stored configuration says.
    enum class ConfigState
    {
        Unread,     ///< not looked for in this connection
        Unreadable, ///< the library failed in reading it
        Read,       ///< nothing more can be had from the drives
    };

    /// Describes a port to the recorder and ties it to the drive set; makes one if there is none.
    void configurePort(uint64_t port, PortFormat format);
    void writeConfigRecord();
    /// Raises "no config file." when there is none.
    void readConfigRecord();
    /// To be called before a configuration is changed and written, or the drives are wiped. Raises
    /// what the library raises; nothing has changed then.
    void ensureConfigRead();
    void adoptConfig(std::vector<PortConfig> &found);

    const LibraryAccess &library_;
    PortTable &ports_;
    ConfigState configState_ = ConfigState::Unread;
};

} // namespace tavu
