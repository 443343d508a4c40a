#pragma once

#include "client/connection.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavu::tools {

/// What a person wants to be recorded.
struct RecordingPlan
{
    std::vector<uint32_t> ports = {0};
    std::optional<uint64_t> frames;     ///< stop after so many
    std::optional<uint64_t> time;       ///< microseconds; goes with no count of frames
    std::optional<uint64_t> pretrigger; ///< microseconds to keep from before the trigger
    bool externalStart = false;
    bool externalStop = false;
    bool startVariant = false;
    bool stopVariant = false;
};

client::RecordingSettings settingsOf(const RecordingPlan &plan);

/// The entries of what was just recorded, one per port.
std::vector<client::FileEntry> recordedFiles(client::Connection &service, uint32_t device,
                                             const RecordingPlan &plan);

/// Gives recordings a name; where there are several, with their port behind it.
void nameRecordings(client::Connection &service, uint32_t device, const std::string &name,
                    const std::vector<client::FileEntry> &files);

} // namespace tavu::tools
