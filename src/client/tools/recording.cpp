#include "client/tools/recording.h"

#include <algorithm>

namespace tavu::tools {

client::RecordingSettings settingsOf(const RecordingPlan &plan)
{
    client::RecordingSettings settings;
    settings.portMask = 0;
    for (const uint32_t port : plan.ports)
        settings.portMask |= 1u << port;
    settings.externalTrigger = static_cast<uint8_t>(
        (plan.externalStart ? trigger::kStart : 0) | (plan.externalStop ? trigger::kStop : 0) |
        (plan.startVariant ? trigger::kStartVariant : 0) |
        (plan.stopVariant ? trigger::kStopVariant : 0));
    if (plan.frames)
        settings.stopCondition = client::StopCondition::FrameCount;
    else if (plan.time)
        settings.stopCondition = client::StopCondition::Time;
    settings.count = plan.frames ? *plan.frames : plan.time.value_or(0);
    settings.usePretrigger = plan.pretrigger.has_value();
    settings.pretriggerCount = plan.pretrigger.value_or(0);
    return settings;
}

void nameRecordings(client::Connection &service, uint32_t device, const std::string &name,
                    const std::vector<client::FileEntry> &files)
{
    for (const client::FileEntry &file : files) {
        const std::string own = files.size() == 1 ? name : name + " " + file.port;
        service.renameFile(device, file.fileId, file.streamId, own);
    }
}

std::vector<client::FileEntry> recordedFiles(client::Connection &service, uint32_t device,
                                             const RecordingPlan &plan)
{
    const std::vector<client::FileEntry> files = service.listFiles(device);
    std::vector<client::FileEntry> recorded;
    for (const uint32_t port : plan.ports) {
        const client::RecordingTarget target =
            service.recordingFile(device, static_cast<uint8_t>(port));
        const auto entry = std::find_if(files.begin(), files.end(), [&](const auto &file) {
            return file.fileId == target.fileId && file.streamId == target.streamId;
        });
        if (entry != files.end())
            recorded.push_back(*entry);
    }
    return recorded;
}

} // namespace tavu::tools
