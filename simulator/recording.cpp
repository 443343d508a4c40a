#include "recording.h"

namespace simulator {

Recording::Recording(Recorder &) {}

Recording::~Recording() = default;

uint32_t Recording::addPort(const boost::shared_ptr<Quillon::Port> &, uint64_t, uint32_t,
                            const std::optional<uint64_t> &, const Quillon::String &)
{
    return 0;
}

void Recording::start(uint32_t) {}

uint32_t Recording::stopPort(const boost::shared_ptr<Quillon::Port> &, uint32_t)
{
    return 0;
}

boost::shared_ptr<Quillon::Record::Status>
Recording::status(const boost::shared_ptr<Quillon::Port> &)
{
    return {};
}

void Recording::attachDriveSet(const boost::shared_ptr<Quillon::DriveSet> &,
                               const boost::shared_ptr<Quillon::Port> &)
{
}

void Recording::detachPort(const boost::shared_ptr<Quillon::Port> &) {}

void Recording::abandon() {}

void Recording::portChanged(Port &) {}

} // namespace simulator
