#include "storage/drives.h"

#include "installation.h"
#include "operation.h"
#include "raise.h"

#include <boost/make_shared.hpp>

#include <numeric>

namespace Quillon {

Drive::PhysicalLocation::PhysicalLocation(const boost::shared_ptr<Drive> &drive)
{
    if (!drive)
        simulator::raiseError("There is no such drive.");
    physicalIndex_ = static_cast<const simulator::StorageDrive &>(*drive).physicalIndex();
}

void DriveSet::Source::add(const Drive::PhysicalLocation &location)
{
    simulator::libraryGate().note("DriveSet::Source::add", location);
    drives_.insert(location);
}

} // namespace Quillon

namespace simulator {

uint64_t DriveGroupList::size()
{
    if (isEmptied(recorder_, "DriveGroupList::size"))
        return 0;
    return recorder_.description()->driveGroups.size();
}

boost::shared_ptr<Quillon::DriveGroup> DriveGroupList::group(uint64_t index)
{
    if (isEmptied(recorder_, "DriveGroupList::group", index))
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
    return isEmptied(recorder_, "DriveGroup::size") ? 0 : count_;
}

boost::shared_ptr<Quillon::Drive> DriveGroup::drive(uint64_t index)
{
    if (isEmptied(recorder_, "DriveGroup::drive", index))
        return {};
    if (index >= count_)
        raiseError("There is no drive " + std::to_string(index) + " in its group.");
    return boost::make_shared<StorageDrive>(first_ + static_cast<uint32_t>(index));
}

} // namespace simulator
