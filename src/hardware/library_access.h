#pragma once

#include "hardware/library/instance.h"
#include "registry/recorder_library.h"

#include <atomic>
#include <cstdint>
#include <stdexcept>
#include <utility>

namespace tavu {

struct NoDriveSet : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// The way to one recorder in the library's collection. Handles are fetched anew at each call, and
/// the caller drops them at the end of its operation; none is ever empty.
class LibraryAccess
{
public:
    explicit LibraryAccess(boost::shared_ptr<Quillon::DeviceCollection> collection)
        : collection_(std::move(collection))
    {
    }

    /// The index in the collection; needs no lock.
    uint32_t index() const { return deviceIndex_; }
    void setIndex(uint32_t index) { deviceIndex_ = index; }

    boost::shared_ptr<Quillon::Device> device() const;
    bool isConnected() const;
    /// The one drive set that is ever used. Raises NoDriveSet.
    boost::shared_ptr<Quillon::DriveSet> firstDriveSet() const;
    /// Makes a set of all drives.
    void createDefaultDriveSet(Quillon::DriveSetCollection &sets) const;

private:
    const boost::shared_ptr<Quillon::DeviceCollection> collection_;
    std::atomic<uint32_t> deviceIndex_{RecorderDevice::kNoIndex};
};

/// Raises \a text on a virtual device.
void refuseVirtual(Quillon::Device &device, const char *text);
boost::shared_ptr<Quillon::Port> libraryPort(Quillon::Device &device, uint64_t port);
boost::shared_ptr<Quillon::Record> libraryRecord(Quillon::Device &device);
boost::shared_ptr<Quillon::DriveSetCollection> driveSets(Quillon::Device &device);
boost::shared_ptr<Quillon::DriveSet> openDriveSet(Quillon::DriveSetCollection &sets, uint32_t id);
/// Raises NoDriveSet with \a absenceText when there is none.
boost::shared_ptr<Quillon::DriveSet> openFirstDriveSet(Quillon::DriveSetCollection &sets,
                                                       const char *absenceText);
boost::shared_ptr<Quillon::DriveFile> openDriveFile(Quillon::DriveSet &set, uint32_t fileId);
boost::shared_ptr<Quillon::FrameSequence> allFrames(Quillon::RecordedStream &stream);

} // namespace tavu
