#pragma once

#include "hardware/library/storage.h"

#include <cstdint>

namespace simulator {

class Recorder;

/// A drive of a recorder, by its number from 0 over all groups.
class StorageDrive final : public Quillon::Drive
{
public:
    explicit StorageDrive(uint32_t physicalIndex) : physicalIndex_(physicalIndex) {}

    uint32_t physicalIndex() const { return physicalIndex_; }

private:
    const uint32_t physicalIndex_;
};

/// The drive groups of a recorder, as it is described at each call.
class DriveGroupList final : public Quillon::DriveGroupList
{
public:
    explicit DriveGroupList(Recorder &recorder) : recorder_(recorder) {}
    virtual ~DriveGroupList() = default;

    uint64_t size() override;
    boost::shared_ptr<Quillon::DriveGroup> group(uint64_t index) override;

private:
    Recorder &recorder_;
};

/// A group of \a count drives, the first of them drive \a first.
class DriveGroup final : public Quillon::DriveGroup
{
public:
    DriveGroup(Recorder &recorder, uint32_t first, uint32_t count)
        : recorder_(recorder), first_(first), count_(count)
    {
    }
    virtual ~DriveGroup() = default;

    uint64_t size() override;
    boost::shared_ptr<Quillon::Drive> drive(uint64_t index) override;

private:
    Recorder &recorder_;
    const uint32_t first_;
    const uint32_t count_;
};

} // namespace simulator
