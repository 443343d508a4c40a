#pragma once

#include <cstdint>
#include <string>

namespace tavu {

/// The names of everything that the emulated device keeps on disk. One folder per device holds the
/// device's records, a folder below it per port the recordings.
class EmulatorFolder
{
public:
    EmulatorFolder(const std::string &deviceName, const std::string &portName);

    /// Makes the folders; false when they aren't there afterwards.
    bool create() const;

    /// The port's configuration and pairing; its record type is "config" whatever its name says.
    std::string portConfig() const;
    /// The record of all recordings.
    std::string catalogue() const;
    /// The frames of the recording that runs or was cut off.
    std::string incompleteFile() const;
    /// A finished recording's frames and record; \a stem is the name of its catalogue entry.
    std::string frameFile(const std::string &port, const std::string &stem) const;
    std::string fileRecord(const std::string &port, const std::string &stem) const;

    /// What the catalogue calls a recording that isn't finished.
    static constexpr const char *kIncompleteName = ".incomplete";

private:
    std::string deviceFolder_;
    std::string portFolder_;
};

/// A file id as a recording's files and catalogue entry are named after it.
std::string fileStem(uint32_t fileId);

} // namespace tavu
