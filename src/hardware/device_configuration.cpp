#include "hardware/stavu_device.h"

#include "hardware/binding/handles.h"
#include "hardware/data_descriptors.h"

#include <algorithm>
#include <stdexcept>

namespace tavu {

// Describes a port to the recorder and ties it to the drive set, which is made if there is none.
void STavuDevice::configurePort(uint64_t port, uint16_t width, uint16_t height,
                                uint32_t pixelFormat, uint32_t tapGeometry)
{
    const auto recorder = device();
    const DeviceType &type = typeOf(*recorder);
    const auto camera = libraryPort(*recorder, port);
    const bool wasGrabbing = camera->isGrabbing();
    camera->setDataDescriptor(
        describePort(*camera, static_cast<uint32_t>(port), type, {width, height, tapGeometry}));

    const auto record = given(recorder->record(), "Device::record");
    const auto sets = driveSets(*recorder);
    Quillon::Vector<uint32_t> ids = sets->ids();
    if (ids.size() == 0) {
        createDefaultDriveSet(*sets);
        ids = sets->ids();
    }
    const auto set = given(sets->open(ids[0]), "DriveSetCollection::open");
    record->detachPort(camera);
    record->attachDriveSet(set, camera);

    PortState &state = ports_[port];
    state.width = width;
    state.height = height;
    state.pixelFormat = pixelFormat;
    state.tapGeometry = tapGeometry;
    state.untold = false;
    if (type.isCxp)
        wakeIfSilent(*camera);
    if (wasGrabbing)
        state.restartLive = true;
}

void STavuDevice::createDefaultDriveSet(Quillon::DriveSetCollection &sets)
{
    const boost::shared_ptr<Quillon::DriveSet::CreateParameters> parameters(
        new Quillon::DriveSet::CreateParameters);
    const auto groups = given(given(device()->storage(0), "Device::storage")->driveGroups(),
                              "Storage::driveGroups");
    parameters->name = "TAVU";
    parameters->firstSetting = 100;
    parameters->secondSetting = 0;
    for (uint64_t i = 0; i < groups->size(); ++i) {
        const auto group = given(groups->group(i), "DriveGroupList::group");
        for (uint64_t k = 0; k < group->size(); ++k) {
            const auto drive = given(group->drive(k), "DriveGroup::drive");
            parameters->source.add(Quillon::Drive::PhysicalLocation(drive));
        }
    }
    sets.create(parameters);
}

// Catalogue, port configuration and pairing stay as they are: only the drives are wiped. So what
// they store of the ports must be known before.
void STavuDevice::setup()
{
    std::lock_guard guard(lock_);
    if (std::any_of(openFiles_.begin(), openFiles_.end(),
                    [](const OpenFileSlot &slot) { return slot.inUse; }))
        throw std::runtime_error("Can't setup tavu while files are open.");
    const auto recorder = device();
    refuseVirtual(*recorder, "Cannot call setup on virtual devices.");
    try {
        ensureConfigRead();
    } catch (...) {
        // What can't be read goes with the drives.
    }
    const auto record = given(recorder->record(), "Device::record");
    const auto sets = driveSets(*recorder);
    const Quillon::Vector<uint32_t> ids = sets->ids();
    for (uint32_t i = 0; i < recorder->portCount(); ++i)
        record->detachPort(libraryPort(*recorder, i));
    for (uint64_t i = 0; i < ids.size(); ++i)
        sets->remove(ids[i]);
    createDefaultDriveSet(*sets);
}

void STavuDevice::pairPort(uint8_t port, const std::string &identity, const void *info,
                           uint32_t infoSize, uint16_t numFramesPerPacket)
{
    std::lock_guard guard(lock_);
    PortState &state = portState(port);
    ensureConfigRead();
    state.pairedTo = identity;
    setPairing(port, info, infoSize, numFramesPerPacket);
}

void STavuDevice::repairPort(uint8_t port, const std::string &identity, const void *info,
                             uint32_t infoSize, uint16_t numFramesPerPacket)
{
    std::lock_guard guard(lock_);
    const PortState &state = portState(port);
    ensureConfigRead();
    if (state.pairedTo != identity)
        throw std::runtime_error("Not paired to this camera.");
    setPairing(port, info, infoSize, numFramesPerPacket);
}

void STavuDevice::setPairing(uint8_t port, const void *info, uint32_t infoSize,
                             uint16_t numFramesPerPacket)
{
    PortState &state = ports_[port];
    const auto *bytes = static_cast<const uint8_t *>(info);
    state.pairInfo = ByteBlock(bytes, bytes + infoSize);
    state.framesPerPacket = numFramesPerPacket;
    writeConfigRecord();
    if (infoSize > kInlineBlockLimit)
        writePairRecord(state);
}

// The pairing's own file stays; the next large block reuses it.
void STavuDevice::unpairPort(uint8_t port)
{
    std::lock_guard guard(lock_);
    PortState &state = portState(port);
    ensureConfigRead();
    state.pairedTo.clear();
    state.pairInfo = ByteBlock();
    state.framesPerPacket = 0;
    writeConfigRecord();
}

void STavuDevice::portIdentity(uint8_t port, ByteBlock &data)
{
    std::lock_guard guard(lock_);
    PortState &state = portState(port);
    if (state.pairInfo.empty())
        readPairRecord(state);
    data = state.pairInfo;
}

uint16_t STavuDevice::framesPerPacket(uint8_t port)
{
    std::lock_guard guard(lock_);
    return portState(port).framesPerPacket;
}

std::string STavuDevice::pairedTo(uint8_t port)
{
    std::lock_guard guard(lock_);
    return portState(port).pairedTo;
}

void STavuDevice::getPortConfig(uint8_t port, uint16_t &width, uint16_t &height,
                                uint32_t &pixelFormat, uint32_t &tapGeometry)
{
    std::lock_guard guard(lock_);
    const PortState &state = portState(port);
    width = state.width;
    height = state.height;
    pixelFormat = state.pixelFormat;
    tapGeometry = state.tapGeometry;
}

void STavuDevice::setPortConfig(uint8_t port, uint16_t width, uint16_t height, uint32_t pixelFormat,
                                uint32_t tapGeometry)
{
    std::lock_guard guard(lock_);
    const PortState &state = portState(port);
    refuseVirtual(*device(), "Virtual devices cannot be configured.");
    if (!state.untold && state.width == width && state.height == height &&
        state.pixelFormat == pixelFormat && state.tapGeometry == tapGeometry)
        return;
    ensureConfigRead();
    configurePort(port, width, height, pixelFormat, tapGeometry);
    writeConfigRecord();
}

} // namespace tavu
