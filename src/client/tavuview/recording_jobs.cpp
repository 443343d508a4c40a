#include "client/tavuview/recording_jobs.h"

namespace tavu::view {

void RecordingJobs::start(client::Connection &service, uint32_t device, RecordingJob job)
{
    service.startRecording(device, tools::settingsOf(job.plan));
    job.start = RecordingJob::Clock::now();
    job.triggered = !job.triggerAfter;
    const std::lock_guard lock(mutex_);
    jobs_[device] = std::move(job);
}

std::vector<client::FileEntry> RecordingJobs::finish(client::Connection &service, uint32_t device)
{
    const std::optional<RecordingJob> job = take(device);
    if (!job) {
        service.stopRecording(device);
        return {};
    }
    try {
        return finish(service, device, *job);
    } catch (...) {
        // Another try is to have the name.
        const std::lock_guard lock(mutex_);
        jobs_.emplace(device, *job);
        throw;
    }
}

std::vector<client::FileEntry> RecordingJobs::finish(client::Connection &service, uint32_t device,
                                                     const RecordingJob &job)
{
    service.stopRecording(device);
    std::vector<client::FileEntry> files = tools::recordedFiles(service, device, job.plan);
    if (!job.name.empty()) {
        tools::nameRecordings(service, device, job.name, files);
        files = tools::recordedFiles(service, device, job.plan);
    }
    return files;
}

std::optional<RecordingJob> RecordingJobs::take(uint32_t device)
{
    const std::lock_guard lock(mutex_);
    const auto node = jobs_.extract(device);
    return node ? std::optional(node.mapped()) : std::nullopt;
}

std::optional<RecordingJob> RecordingJobs::find(uint32_t device) const
{
    const std::lock_guard lock(mutex_);
    const auto found = jobs_.find(device);
    return found == jobs_.end() ? std::nullopt : std::optional(found->second);
}

bool RecordingJobs::takeTrigger(uint32_t device)
{
    const std::lock_guard lock(mutex_);
    const auto found = jobs_.find(device);
    if (found == jobs_.end() || found->second.triggered)
        return false;
    const auto due = found->second.start + std::chrono::microseconds(*found->second.triggerAfter);
    return found->second.triggered = RecordingJob::Clock::now() >= due;
}

} // namespace tavu::view
