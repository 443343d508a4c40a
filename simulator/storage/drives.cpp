#include "storage/drives.h"

#include "errors.h"
#include "installation.h"
#include "recorder.h"

#include <boost/make_shared.hpp>

#include <numeric>

namespace Quillon {

Drive::PhysicalLocation::PhysicalLocation(const boost::shared_ptr<Drive> &drive)
{
    const Drive &known = simulator::required(drive, "There is no such drive.");
    physicalIndex_ = static_cast<const simulator::StorageDrive &>(known).physicalIndex();
}

void DriveSet::Source::add(const Drive::PhysicalLocation &location)
{
    if (simulator::libraryGate().begin("DriveSet::Source::add", location))
        drives_.insert(location);
}

} // namespace Quillon

namespace simulator {

uint64_t DriveGroupList::size()
{
    return recorder_.begin("DriveGroupList::size") ? recorder_.description()->driveGroups.size()
                                                   : 0;
}

boost::shared_ptr<Quillon::DriveGroup> DriveGroupList::group(uint64_t index)
{
    if (!recorder_.begin("DriveGroupList::group", index))
        return {};
    const std::vector<uint32_t> counts = recorder_.description()->driveGroups;
    if (index >= counts.size())
        raiseError("There is no drive group " + std::to_string(index) + ".");
    const auto group = counts.begin() + static_cast<ptrdiff_t>(index);
    return boost::make_shared<DriveGroup>(recorder_, std::accumulate(counts.begin(), group, 0u),
                                          *group);
}

uint64_t DriveGroup::size()
{
    return recorder_.begin("DriveGroup::size") ? count_ : 0;
}

boost::shared_ptr<Quillon::Drive> DriveGroup::drive(uint64_t index)
{
    if (!recorder_.begin("DriveGroup::drive", index))
        return {};
    if (index >= count_)
        raiseError("There is no drive " + std::to_string(index) + " in its group.");
    return boost::make_shared<StorageDrive>(first_ + static_cast<uint32_t>(index));
}

} // namespace simulator
