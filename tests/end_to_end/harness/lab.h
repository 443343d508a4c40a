#pragma once

#include "service.h"

namespace tavu::test {

/// A folder that describes simulated recorders, for services that are given its path.
class Lab
{
public:
    /// Writes a recorder's description; it is new, or changes.
    void describe(const std::string &recorder, std::string_view text) const;
    /// Takes a recorder away.
    void remove(const std::string &recorder) const;
    /// The faults of a recorder that is device 0. When this returns DeviceCollection::device has
    /// been called once, and nothing else.
    void setFaults(Client &client, const std::string &recorder, std::string_view text);
    const std::string &path() const { return folder_.path; }
    /// A file of the folder, with / between its parts.
    std::string file(const std::string &name) const { return folder_.path + "/" + name; }

private:
    TemporaryFolder folder_;
    int marks_ = 0;
};

/// Pairs the first ports of device 0 with "Cam 0" and so on, with no block, and sets their
/// geometry.
void configurePorts(Client &client, uint32_t count, uint32_t width, uint32_t height);
/// Parameters of startRecording on device 0: plain, without a limit unless \a more names one.
std::string recordingOf(uint32_t portMask, std::string_view more = "type=0 count=0");
/// Records so many frames on the ports of a mask of device 0, and stops.
void recordFrames(Client &client, uint32_t portMask, uint64_t frameCount);
/// A frame of the simulated recorders; \a port counts from 0 here.
Bytes simulatedFrame(uint32_t port, uint64_t number, uint32_t width, uint32_t height);

} // namespace tavu::test
