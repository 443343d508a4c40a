#include "storage/drive_set_list.h"

#include "operation.h"
#include "raise.h"
#include "storage/drive_set.h"
#include "storage/drive_storage.h"

#include <boost/make_shared.hpp>

namespace simulator {

boost::shared_ptr<Quillon::DriveSet> DriveSetList::open(uint32_t id)
{
    if (isEmptied(recorder_, "DriveSetCollection::open", id))
        return {};
    return boost::make_shared<DriveSet>(recorder_, storage_.openSet(id));
}

Quillon::Vector<uint32_t> DriveSetList::ids()
{
    Quillon::Vector<uint32_t> ids;
    if (isEmptied(recorder_, "DriveSetCollection::ids"))
        return ids;
    for (const uint32_t id : storage_.setIds())
        ids.append(id);
    return ids;
}

void DriveSetList::create(const boost::shared_ptr<Quillon::DriveSet::CreateParameters> &parameters)
{
    if (isEmptied(recorder_, "DriveSetCollection::create", parameters))
        return;
    if (!parameters)
        raiseError("A drive set needs parameters.");
    std::vector<uint32_t> drives;
    for (const Quillon::Drive::PhysicalLocation &location : parameters->source.drives())
        drives.push_back(location.physicalIndex());
    storage_.createSet(parameters->name.c_str(), std::move(drives));
}

void DriveSetList::remove(uint32_t id)
{
    if (!isEmptied(recorder_, "DriveSetCollection::remove", id))
        storage_.removeSet(id);
}

} // namespace simulator
