#pragma once

#include "support/files.h"
#include "support/wire.h"

#include <cstdint>
#include <string>

namespace tavu::test {

/// A folder that describes simulated recorders.
class Lab
{
public:
    /// Writes a recorder's description: the recorder appears, or changes.
    void describe(const std::string &recorder, const std::string &text) const;
    /// Removes the description: the recorder is disconnected.
    void remove(const std::string &recorder) const;
    /// Writes a file of a recorder's folder or, where \a recorder is empty, of the whole lab's.
    void write(const std::string &recorder, const std::string &file, const std::string &text) const;
    std::string path() const { return folder.path.string(); }

    TemporaryFolder folder;
};

/// The bytes of a simulated recorder's frame; \a port counts from 0.
Bytes simulatedFrame(uint32_t port, uint64_t number, uint32_t width, uint32_t height);
/// The frame with this number of an emulated recording.
Bytes expectedFrame(uint64_t number, uint32_t width, uint32_t height);
/// So many 16-bit values that count up from \a first on, as bytes.
Bytes expectedRamp(uint64_t first, uint64_t count);

} // namespace tavu::test
