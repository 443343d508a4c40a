#pragma once

#include "hardware/library/storage.h"

namespace simulator {

class Recorder;

/// The drives and drive sets of a recorder.
class DriveStorage final : public Quillon::Storage
{
public:
    explicit DriveStorage(Recorder &recorder);
    virtual ~DriveStorage();

    boost::shared_ptr<Quillon::DriveSetCollection> driveSets() override;
    boost::shared_ptr<Quillon::DriveGroupList> driveGroups() override;
};

} // namespace simulator
