#pragma once

#include "platform/files.h"

#include <string>

namespace tavu {

/// The names of everything that the emulated device keeps on disk. One folder per device holds the
/// device's records, a folder below it per port the recordings.
struct EmulatorFolder
{
    EmulatorFolder(const std::string &deviceName, const std::string &portName);

    /// Makes the folders; false when they aren't there afterwards.
    bool create() const { return createFolders(portFolder); }

    /// A finished recording's frames and record; \a stem is its file id in decimal.
    std::string frameFile(const std::string &port, const std::string &stem) const;
    std::string fileRecord(const std::string &port, const std::string &stem) const;

    /// What the catalogue calls a recording that isn't finished.
    static constexpr const char *kIncompleteName = ".incomplete";

    const std::string deviceFolder;
    const std::string portFolder;
    /// The port's configuration and pairing; its record type is "config" whatever its name says.
    const std::string portConfig;
    const std::string catalogue;      ///< the record of all recordings
    const std::string incompleteFile; ///< the frames of the recording that runs or was cut off
};

} // namespace tavu
