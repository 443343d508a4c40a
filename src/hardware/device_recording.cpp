#include "hardware/stavu_device.h"

#include "encoding/bytes.h"
#include "hardware/binding/buffers.h"
#include "hardware/binding/handles.h"
#include "platform/clock.h"

#include <stdexcept>

namespace tavu {

namespace {

using Quillon::ParameterValue;
using Quillon::TriggerBank;
using Quillon::TriggerElement;

constexpr const char *kVirtualText = "Virtual devices cannot record.";

// The address register of CoaXPress cameras, as that standard lays it down: it holds the address
// of the camera's acquisition-start register.
constexpr uint32_t kAcquisitionStartAddress = 0x300C;
constexpr double kSilentFrameRate = 0.001;

constexpr uint32_t kRecordControl = 19;
constexpr uint32_t kExternalInput = 2;
constexpr uint32_t kSoftwareSource = 0;

constexpr uint32_t kStartInput = 0;
constexpr uint32_t kStopInput = 1;

// Bits of the external trigger's flags.
constexpr uint8_t kExternalStart = 1 << 0;
constexpr uint8_t kExternalStop = 1 << 1;
constexpr uint8_t kStartVariant = 1 << 4;
constexpr uint8_t kStopVariant = 1 << 5;

constexpr uint8_t kStopByCount = 1;
constexpr uint8_t kStopByTime = 2;

constexpr uint32_t kFillingPretrigger = 2;

/// Only so many ports can be addressed.
constexpr uint64_t kMaskBits = 32;

/// What a frame takes on the drives beside its pixels, in bytes.
constexpr uint32_t kFrameOverhead = 384;

bool selects(uint32_t portMask, uint64_t port)
{
    return port < kMaskBits && (portMask >> port & 1) != 0;
}

boost::shared_ptr<TriggerElement> element(TriggerBank &bank, uint32_t kind)
{
    return given(bank.element(kind, 0), "TriggerBank::element");
}

boost::shared_ptr<TriggerBank> triggerBank(Quillon::Device &device)
{
    return given(device.triggerBank(), "Device::triggerBank");
}

/// The number in a buffer of four bytes; camera memory is big-endian.
uint32_t loadRegister(Common::Buffer &buffer)
{
    const auto *bytes = static_cast<const unsigned char *>(buffer.data());
    return uint32_t(bytes[0]) << 24 | uint32_t(bytes[1]) << 16 | uint32_t(bytes[2]) << 8 | bytes[3];
}

void set(TriggerElement &control, const char *name, const ParameterValue &value)
{
    given(control.parameter(name), "TriggerElement::parameter")->set(value);
}

void setFlag(TriggerElement &control, const char *name, bool value)
{
    set(control, name, ParameterValue::boolean(value));
}

void setNumber(TriggerElement &control, const char *name, uint64_t value)
{
    set(control, name, ParameterValue::uint64(value));
}

/// Lets the external input act as one of the two inputs of the record control, or not.
void programExternalInput(TriggerElement &control,
                          const boost::shared_ptr<TriggerElement> &external, uint32_t input,
                          const char *enableName, bool enabled, bool variant)
{
    if (enabled)
        control.connectInput(external, input, variant);
    setFlag(control, enableName, enabled);
}

void programStart(TriggerBank &bank, TriggerElement &control, uint8_t externalTrigger,
                  bool usePretrigger, uint64_t pretriggerCount)
{
    if (externalTrigger != 0) {
        const auto external = element(bank, kExternalInput);
        programExternalInput(control, external, kStartInput, "Start Enable",
                             externalTrigger & kExternalStart, externalTrigger & kStartVariant);
        programExternalInput(control, external, kStopInput, "Stop Enable",
                             externalTrigger & kExternalStop, externalTrigger & kStopVariant);
        setFlag(control, "Pretrigger Enable", usePretrigger);
        setNumber(control, "Pretrigger Loop Time Value", pretriggerCount);
    } else if (usePretrigger) {
        control.connectInput(element(bank, kSoftwareSource), kStartInput, false);
        setFlag(control, "Start Enable", true);
        setFlag(control, "Stop Enable", false);
        setFlag(control, "Pretrigger Enable", true);
        setNumber(control, "Pretrigger Loop Time Value", pretriggerCount);
        setFlag(control, "Software Start Trigger", false);
    } else {
        setFlag(control, "Start Enable", false);
        setFlag(control, "Stop Enable", false);
        setFlag(control, "Pretrigger Enable", false);
    }
}

void programStop(TriggerElement &control, uint8_t type, uint64_t count)
{
    switch (type) {
    case kStopByCount:
        setFlag(control, "Stop Time Enable", false);
        setFlag(control, "Stop Frame Count Enable", true);
        set(control, "Stop Frame Count Value",
            ParameterValue::uint32(static_cast<uint32_t>(count)));
        break;
    case kStopByTime:
        setFlag(control, "Stop Frame Count Enable", false);
        setFlag(control, "Stop Time Enable", true);
        setNumber(control, "Stop Time Value", count);
        break;
    default:
        setFlag(control, "Stop Frame Count Enable", false);
        setFlag(control, "Stop Time Enable", false);
        break;
    }
}

} // namespace

// The order of all that follows is the recorder's, and nothing is undone when a step fails: the
// next start or stop cleans up.
void STavuDevice::startRecording(uint32_t portMask, uint8_t externalTrigger, uint8_t type,
                                 uint64_t count, bool usePretrigger, uint64_t pretriggerCount)
{
    if (portMask == 0)
        throw std::runtime_error("At least one port must be enabled for record.");
    std::lock_guard guard(lock_);
    const uint64_t allPorts =
        portCount_ < kMaskBits ? (uint64_t(1) << portCount_) - 1 : ~uint64_t(0);
    if ((portMask & ~allPorts) != 0)
        throw std::runtime_error("Invalid port mask.");
    const auto recorder = device();
    refuseVirtual(*recorder, kVirtualText);
    if (typeOf(*recorder).isCxp) {
        for (uint64_t i = 0; i < portCount_; ++i) {
            if (selects(portMask, i))
                wakeIfSilent(*libraryPort(*recorder, i));
        }
    }
    const auto record = given(recorder->record(), "Device::record");
    const auto driveSet = firstDriveSet(*driveSets(*recorder), kNoDriveSetCapitalText);
    const auto capacity = given(driveSet->capacityInfo(true), "DriveSet::capacityInfo");
    usedBytesAtStart_ = capacity->usedBytes();
    totalBytesAtStart_ = capacity->totalBytes();

    std::vector<bool> wasGrabbing(portCount_);
    prepareRecording(*recorder, *record, portMask, wasGrabbing);

    const auto bank = triggerBank(*recorder);
    const auto control = element(*bank, kRecordControl);
    programStart(*bank, *control, externalTrigger, usePretrigger, pretriggerCount);
    programStop(*control, type, count);
    recordingActive_ = true;
    record->start(0);

    for (uint64_t i = 0; i < portCount_; ++i) {
        if (wasGrabbing[i]) {
            libraryPort(*recorder, i)->interruptGrab();
            ports_[i].restartLive = true;
        }
    }
    recordStartTime_ = utcTimestamp();
}

void STavuDevice::prepareRecording(Quillon::Device &device, Quillon::Record &record,
                                   uint32_t portMask, std::vector<bool> &wasGrabbing)
{
    const uint64_t timestamp = Common::TimestampHelper::universalTime();
    for (uint64_t i = 0; i < portCount_; ++i) {
        if (!selects(portMask, i))
            continue;
        PortState &state = ports_[i];
        const auto port = libraryPort(device, i);
        wasGrabbing[i] = port->isGrabbing();
        state.frameBytes = uint32_t(state.width) * state.height * 2 + kFrameOverhead;
        state.recording = true;
        state.streamId = record.addPort(port, timestamp, static_cast<uint32_t>(i + 1), std::nullopt,
                                        Quillon::String());
        state.numFrames = 0;
    }
}

void STavuDevice::wakeIfSilent(Quillon::Port &port)
{
    if (!port.isGrabbing() && port.isCameraDetected() &&
        port.measuredFrameRate() < kSilentFrameRate)
        cameraWakeUp(port);
}

void STavuDevice::cameraWakeUp(Quillon::Port &port)
{
    try {
        const auto address = allocateBuffer(sizeof(uint32_t));
        port.readMemory(address, kAcquisitionStartAddress, 0);
        const auto start = allocateBuffer(sizeof(uint32_t));
        storeBigEndian(static_cast<unsigned char *>(start->data()), uint32_t(1));
        port.writeMemory(start, loadRegister(*address), 0);
    } catch (...) {
        // Such a camera is simply left as it is.
    }
}

void STavuDevice::softwareTrigger()
{
    std::lock_guard guard(lock_);
    const auto recorder = device();
    refuseVirtual(*recorder, kVirtualText);
    recorder->record();
    setFlag(*element(*triggerBank(*recorder), kRecordControl), "Software Start Trigger", true);
}

bool STavuDevice::isRecordingDone()
{
    std::lock_guard guard(lock_);
    const auto recorder = device();
    const auto record = given(recorder->record(), "Device::record");
    bool done = true;
    for (uint64_t i = 0; i < portCount_; ++i) {
        if (!ports_[i].recording)
            continue;
        const auto status = given(record->status(libraryPort(*recorder, i)), "Record::status");
        if (!status->isRecordingFinished())
            done = false;
    }
    return done;
}

void STavuDevice::recordingFile(uint8_t port, uint32_t &fileId, uint32_t &streamId)
{
    std::lock_guard guard(lock_);
    const PortState &state = portState(port);
    fileId = state.fileId;
    streamId = state.streamId;
}

void STavuDevice::recordingProgress(uint8_t port, uint64_t &numFrames, bool &inPretrigger)
{
    std::lock_guard guard(lock_);
    portState(port);
    const auto recorder = device();
    refuseVirtual(*recorder, kVirtualText);
    numFrames = portProgress(*recorder, port, inPretrigger);
}

// Asks the library about a port that takes no part in the recording, too.
uint64_t STavuDevice::portProgress(Quillon::Device &device, uint64_t port, bool &inPretrigger)
{
    PortState &state = ports_[port];
    inPretrigger = false;
    if (recordingActive_) {
        const auto record = given(device.record(), "Device::record");
        const auto status = given(record->status(libraryPort(device, port)), "Record::status");
        state.numFrames = status->frames;
        inPretrigger = status->state == kFillingPretrigger;
    }
    return state.numFrames;
}

} // namespace tavu
