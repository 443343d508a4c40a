#pragma once

#include "hardware/library/storage.h"

#include <cstdint>

namespace simulator {

class DriveStorage;
class Recorder;

/// The drive sets of a recorder.
class DriveSetList final : public Quillon::DriveSetCollection
{
public:
    DriveSetList(Recorder &recorder, DriveStorage &storage) : recorder_(recorder), storage_(storage)
    {
    }
    virtual ~DriveSetList() = default;

    boost::shared_ptr<Quillon::DriveSet> open(uint32_t id) override;
    Quillon::Vector<uint32_t> ids() override;
    void create(const boost::shared_ptr<Quillon::DriveSet::CreateParameters> &parameters) override;
    void remove(uint32_t id) override;

private:
    Recorder &recorder_;
    DriveStorage &storage_;
};

} // namespace simulator
