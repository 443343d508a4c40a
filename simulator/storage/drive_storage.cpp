#include "storage/drive_storage.h"

namespace simulator {

DriveStorage::DriveStorage(Recorder &) {}

DriveStorage::~DriveStorage() = default;

boost::shared_ptr<Quillon::DriveSetCollection> DriveStorage::driveSets()
{
    return {};
}

boost::shared_ptr<Quillon::DriveGroupList> DriveStorage::driveGroups()
{
    return {};
}

} // namespace simulator
