#include "storage/drive_set_list.h"

#include "errors.h"
#include "recorder.h"
#include "storage/drive_set.h"
#include "storage/drive_storage.h"

#include <boost/make_shared.hpp>

namespace simulator {

boost::shared_ptr<Quillon::DriveSet> DriveSetList::open(uint32_t id)
{
    return recorder_.begin("DriveSetCollection::open", id)
               ? boost::make_shared<DriveSet>(recorder_, storage_.openSet(id))
               : nullptr;
}

Quillon::Vector<uint32_t> DriveSetList::ids()
{
    Quillon::Vector<uint32_t> ids;
    if (!recorder_.begin("DriveSetCollection::ids"))
        return ids;
    for (const uint32_t id : storage_.setIds())
        ids.append(id);
    return ids;
}

void DriveSetList::create(const boost::shared_ptr<Quillon::DriveSet::CreateParameters> &parameters)
{
    if (!recorder_.begin("DriveSetCollection::create", parameters))
        return;
    const auto &wanted = required(parameters, "A drive set needs parameters.");
    std::vector<uint32_t> drives;
    for (const Quillon::Drive::PhysicalLocation &location : wanted.source.drives())
        drives.push_back(location.physicalIndex());
    storage_.createSet(wanted.name.c_str(), std::move(drives));
}

void DriveSetList::remove(uint32_t id)
{
    if (recorder_.begin("DriveSetCollection::remove", id))
        storage_.removeSet(id);
}

} // namespace simulator
