#pragma once

#include "hardware/library_access.h"
#include "hardware/port_table.h"

#include <string>
#include <vector>

namespace tavu {

/// Configuration and pairing of a device's ports: in their states, on the drive set, and in what
/// the recorder is told. Wants the device's mutex.
class PortSetup
{
public:
    PortSetup(const LibraryAccess &library, PortTable &ports) : library_(library), ports_(ports) {}

    /// A connection begins: what the drives store hasn't been read yet.
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
    void unpair(uint8_t port);
    /// The pairing's block, which may have to be read from the drives.
    const ByteBlock &identity(uint8_t port);
    void setFormat(uint8_t port, const PortFormat &format);

    /// Puts a new drive set in the place of all there are. Configuration and pairing of the ports
    /// stay in memory.
    void wipeDrives();

private:
    /// Whether the ports have what the stored configuration says.
    enum class ConfigState
    {
        Unread,     ///< in this connection it wasn't looked for
        Unreadable, ///< the library failed in reading it
        Read,       ///< it was read, or there is none, or what is there is none
    };

    /// Describes a port to the recorder and ties it to the drive set, which is made if there is
    /// none.
    void configurePort(uint64_t port, PortFormat format);
    void setPairing(PortState &state, ByteBlock info, uint16_t numFramesPerPacket);
    void writeConfigRecord();
    /// Raises "no config file." when there is none.
    void readConfigRecord();
    /// To be called before ports are changed whose configuration will then be written, or the
    /// drives wiped. Raises what the library raises, and has changed nothing then.
    void ensureConfigRead();
    /// Gives the ports what was found under their names.
    void adoptConfig(std::vector<PortConfig> &found);

    const LibraryAccess &library_;
    PortTable &ports_;
    ConfigState configState_ = ConfigState::Unread;
};

} // namespace tavu
