#include "hardware/library_access.h"

#include "hardware/binding/handles.h"

namespace tavu {

namespace {

constexpr uint32_t kConnectedState = 0;
constexpr uint32_t kVirtualKind = 1;

} // namespace

boost::shared_ptr<Quillon::Device> LibraryAccess::device() const
{
    if (deviceIndex_ == RecorderDevice::kNoIndex)
        throw std::runtime_error("The recorder was not found.");
    return requireHandle(collection_->device(deviceIndex_), "DeviceCollection::device");
}

bool LibraryAccess::isConnected() const
{
    return device()->connectionState() == kConnectedState;
}

boost::shared_ptr<Quillon::DriveSet> LibraryAccess::firstDriveSet() const
{
    return openFirstDriveSet(*driveSets(*device()), "no drive set.");
}

void LibraryAccess::createDefaultDriveSet(Quillon::DriveSetCollection &sets) const
{
    const boost::shared_ptr<Quillon::DriveSet::CreateParameters> parameters(
        new Quillon::DriveSet::CreateParameters);
    const auto groups =
        requireHandle(requireHandle(device()->storage(0), "Device::storage")->driveGroups(),
                      "Storage::driveGroups");
    parameters->name = "TAVU";
    parameters->firstSetting = 100;
    parameters->secondSetting = 0;
    for (uint64_t i = 0; i < groups->size(); ++i) {
        const auto group = requireHandle(groups->group(i), "DriveGroupList::group");
        for (uint64_t k = 0; k < group->size(); ++k) {
            const auto drive = requireHandle(group->drive(k), "DriveGroup::drive");
            parameters->source.add(Quillon::Drive::PhysicalLocation(drive));
        }
    }
    sets.create(parameters);
}

void refuseVirtual(Quillon::Device &device, const char *text)
{
    if (device.kind() == kVirtualKind)
        throw std::runtime_error(text);
}

boost::shared_ptr<Quillon::Port> libraryPort(Quillon::Device &device, uint64_t port)
{
    return requireHandle(device.port(static_cast<uint32_t>(port)), "Device::port");
}

boost::shared_ptr<Quillon::Record> libraryRecord(Quillon::Device &device)
{
    return requireHandle(device.record(), "Device::record");
}

boost::shared_ptr<Quillon::DriveSetCollection> driveSets(Quillon::Device &device)
{
    return requireHandle(requireHandle(device.storage(0), "Device::storage")->driveSets(),
                         "Storage::driveSets");
}

boost::shared_ptr<Quillon::DriveSet> openDriveSet(Quillon::DriveSetCollection &sets, uint32_t id)
{
    return requireHandle(sets.open(id), "DriveSetCollection::open");
}

boost::shared_ptr<Quillon::DriveSet> openFirstDriveSet(Quillon::DriveSetCollection &sets,
                                                       const char *absenceText)
{
    const Quillon::Vector<uint32_t> ids = sets.ids();
    if (ids.size() == 0)
        throw NoDriveSet(absenceText);
    return openDriveSet(sets, ids[0]);
}

boost::shared_ptr<Quillon::DriveFile> openDriveFile(Quillon::DriveSet &set, uint32_t fileId)
{
    return requireHandle(set.openFile(fileId), "DriveSet::openFile");
}

boost::shared_ptr<Quillon::FrameSequence> allFrames(Quillon::RecordedStream &stream)
{
    return requireHandle(stream.frames(0, 0, false, false), "RecordedStream::frames");
}

} // namespace tavu
