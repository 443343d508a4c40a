#include "hardware/recording_control.h"

#include "encoding/mem_stream.h"
#include "hardware/binding/handles.h"
#include "hardware/camera_wake_up.h"
#include "hardware/device_types.h"
#include "hardware/drive_records.h"
#include "platform/clock.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tavu {

namespace {

constexpr const char *kVirtualText = "Virtual devices cannot record.";
/// Other operations have this text without the capital letter. Clients see both.
constexpr const char *kNoDriveSetText = "No drive set.";

constexpr uint32_t kFillingPretrigger = 2;

constexpr uint64_t kMaskBits = 32;       ///< ports beyond can't take part
constexpr uint32_t kFrameOverhead = 384; ///< bytes on the drives beside the pixels

bool selects(uint32_t portMask, uint64_t port)
{
    return port < kMaskBits && (portMask >> port & 1) != 0;
}

boost::shared_ptr<Quillon::DriveSet::CapacityInfo> capacityInfo(Quillon::DriveSet &set)
{
    return requireHandle(set.capacityInfo(true), "DriveSet::capacityInfo");
}

boost::shared_ptr<Quillon::Record::Status> recordStatus(Quillon::Device &recorder,
                                                        Quillon::Record &record, uint64_t port)
{
    return requireHandle(record.status(libraryPort(recorder, port)), "Record::status");
}

/// The low 8 bits of the percentage: an estimate can be above 100. What no 64-bit integer holds
/// counts as 0.
uint8_t percent(uint64_t used, uint64_t total)
{
    constexpr double kLimit = 9223372036854775808.0;
    const double quotient = static_cast<double>(used) / static_cast<double>(total) * 100;
    return quotient < kLimit ? static_cast<uint8_t>(static_cast<uint64_t>(quotient)) : 0;
}

} // namespace

void RecordingControl::start(uint32_t portMask, const RecordProgram &program)
{
    if (ports_.size() < kMaskBits && portMask >> ports_.size() != 0)
        throw std::runtime_error("Invalid port mask.");
    const auto recorder = library_.device();
    refuseVirtual(*recorder, kVirtualText);
    if (typeOf(*recorder).isCxp) {
        for (uint64_t i = 0; i < ports_.size(); ++i) {
            if (selects(portMask, i))
                wakeIfSilent(*libraryPort(*recorder, i));
        }
    }
    const auto record = libraryRecord(*recorder);
    const auto set = openFirstDriveSet(*driveSets(*recorder), kNoDriveSetText);
    const auto capacity = capacityInfo(*set);
    usedBytesAtStart_ = capacity->usedBytes();
    totalBytesAtStart_ = capacity->totalBytes();

    const std::vector<uint64_t> grabbing = preparePorts(*recorder, *record, portMask);
    RecordTrigger trigger(*recorder);
    trigger.program(program);
    recordingActive_ = true;
    record->start(0);

    for (const uint64_t i : grabbing) {
        libraryPort(*recorder, i)->interruptGrab();
        ports_[i].live.needRestart();
    }
    recordStartTime_ = utcTimestamp();
}

std::vector<uint64_t> RecordingControl::preparePorts(Quillon::Device &recorder,
                                                     Quillon::Record &record, uint32_t portMask)
{
    std::vector<uint64_t> grabbing;
    const uint64_t timestamp = Common::TimestampHelper::universalTime();
    for (uint64_t i = 0; i < ports_.size(); ++i) {
        if (!selects(portMask, i))
            continue;
        PortState &state = ports_[i];
        const PortFormat &format = state.config.format;
        const auto port = libraryPort(recorder, i);
        if (port->isGrabbing())
            grabbing.push_back(i);
        state.frameBytes = uint32_t(format.width) * format.height * 2 + kFrameOverhead;
        state.recording = true;
        state.streamId = record.addPort(port, timestamp, static_cast<uint32_t>(i + 1), std::nullopt,
                                        Quillon::String());
        state.numFrames = 0;
    }
    return grabbing;
}

// Describes the frames, which are on the drives already. A stop after one that failed goes on with
// the ports that are still recording.
void RecordingControl::stop()
{
    const auto recorder = library_.device();
    refuseVirtual(*recorder, kVirtualText);
    const auto record = libraryRecord(*recorder);
    const auto sets = driveSets(*recorder);
    // An empty list isn't looked for: the library raises for its first element.
    const auto set = openDriveSet(*sets, sets->ids()[0]);

    bool allFit = true;
    for (const FileGroup &group : stopPorts(*recorder, *record)) {
        // A port without a file stays marked as recording, until the next start.
        if (group.fileId != 0 && !finishFile(*set, group))
            allFit = false;
    }
    recordingActive_ = false;
    if (!allFit)
        MemStream::throwEnd();
}

// Groups stand in the order in which their file was first seen.
std::vector<RecordingControl::FileGroup> RecordingControl::stopPorts(Quillon::Device &recorder,
                                                                     Quillon::Record &record)
{
    std::vector<FileGroup> groups;
    for (uint64_t i = 0; i < ports_.size(); ++i) {
        PortState &state = ports_[i];
        if (!state.recording)
            continue;
        const auto port = libraryPort(recorder, i);
        const bool stillGrabbing = port->isGrabbing();
        state.fileId = record.stopPort(port, 0);
        auto group = std::find_if(groups.begin(), groups.end(), [&](const FileGroup &known) {
            return known.fileId == state.fileId;
        });
        if (group == groups.end())
            group = groups.insert(groups.end(), FileGroup{state.fileId, {}});
        group->ports.push_back({state, stillGrabbing});
    }
    return groups;
}

bool RecordingControl::finishFile(Quillon::DriveSet &set, const FileGroup &group)
{
    const auto file = openDriveFile(set, group.fileId);
    std::vector<FileRecord> list;
    for (const auto &[state, stillGrabbing] : group.ports) {
        const auto stream =
            requireHandle(file->streamById(state.streamId), "DriveFile::streamById");
        const auto frames = allFrames(*stream);
        state.numFrames = frames->frameCount();
        if (state.numFrames != 0) {
            FileRecord entry = newFileRecord(state.config, group.fileId, state.streamId,
                                             state.numFrames, recordStartTime_);
            entry.camera = state.config.pairedTo;
            catalogue_.add(entry);
            list.push_back(std::move(entry));
        }
        if (stillGrabbing)
            state.live.needRestart();
        state.recording = false;
        if (state.numFrames != 0 && state.config.info.size() > kInlineBlockLimit)
            writeInfoRecord(library_, group.fileId, state.streamId, state.config.info);
    }
    return catalogue_.storeMetaList(*file, group.fileId, std::move(list));
}

void RecordingControl::softwareTrigger()
{
    const auto recorder = library_.device();
    refuseVirtual(*recorder, kVirtualText);
    recorder->record();
    RecordTrigger(*recorder).fire();
}

bool RecordingControl::isDone()
{
    const auto recorder = library_.device();
    const auto record = libraryRecord(*recorder);
    bool done = true;
    for (uint64_t i = 0; i < ports_.size(); ++i) {
        if (ports_[i].recording && !recordStatus(*recorder, *record, i)->isRecordingFinished())
            done = false;
    }
    return done;
}

void RecordingControl::progress(uint8_t port, uint64_t &numFrames, bool &inPretrigger)
{
    ports_.at(port);
    const auto recorder = library_.device();
    refuseVirtual(*recorder, kVirtualText);
    numFrames = portProgress(*recorder, port, inPretrigger);
}

// Asks the library about a port that takes no part in the recording, too.
uint64_t RecordingControl::portProgress(Quillon::Device &recorder, uint64_t port,
                                        bool &inPretrigger)
{
    PortState &state = ports_[port];
    inPretrigger = false;
    if (recordingActive_) {
        const auto record = libraryRecord(recorder);
        const auto status = recordStatus(recorder, *record, port);
        state.numFrames = status->frames;
        inPretrigger = status->state == kFillingPretrigger;
    }
    return state.numFrames;
}

uint8_t RecordingControl::percentUsed()
{
    const auto recorder = library_.device();
    if (!recordingActive_) {
        const auto set = openFirstDriveSet(*driveSets(*recorder), kNoDriveSetText);
        const auto capacity = capacityInfo(*set);
        return percent(capacity->usedBytes(), capacity->totalBytes());
    }
    // The library's figures are from the start; what the recording added is estimated.
    uint64_t recorded = 0;
    for (uint64_t i = 0; i < ports_.size(); ++i) {
        bool inPretrigger = false;
        if (ports_[i].recording)
            recorded += portProgress(*recorder, i, inPretrigger) * ports_[i].frameBytes;
    }
    return percent(usedBytesAtStart_ + recorded, totalBytesAtStart_);
}

} // namespace tavu
