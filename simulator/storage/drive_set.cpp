#include "storage/drive_set.h"

#include "operation.h"
#include "raise.h"
#include "storage/drive_file.h"
#include "storage/drives.h"
#include "storage/repair.h"

#include <boost/make_shared.hpp>

namespace simulator {

namespace {

class SetInfo final : public Quillon::DriveSet::Info
{
public:
    SetInfo(const Recorder &recorder, uint32_t clusterBytes)
        : recorder_(recorder), clusterBytes_(clusterBytes)
    {
    }

    uint32_t clusterBytes() const
    {
        return isEmptied(recorder_, "DriveSet::Info::clusterSizeBytes") ? 0 : clusterBytes_;
    }

private:
    const Recorder &recorder_;
    const uint32_t clusterBytes_;
};

class SetCapacity final : public Quillon::DriveSet::CapacityInfo
{
public:
    SetCapacity(const Recorder &recorder, const FileTable &table)
        : recorder_(recorder), total_(table.totalBytes()), used_(table.usedBytes())
    {
    }

    uint64_t total() const
    {
        return isEmptied(recorder_, "DriveSet::CapacityInfo::totalBytes") ? 0 : total_;
    }
    uint64_t used() const
    {
        return isEmptied(recorder_, "DriveSet::CapacityInfo::usedBytes") ? 0 : used_;
    }

private:
    const Recorder &recorder_;
    const uint64_t total_;
    const uint64_t used_;
};

} // namespace

std::string spelled(const Quillon::DriveSet &set)
{
    return "set " + static_cast<const DriveSet &>(set).table()->name();
}

DriveSet::DriveSet(Recorder &recorder, std::shared_ptr<FileTable> table)
    : recorder_(recorder), table_(std::move(table))
{
}

boost::shared_ptr<Quillon::DriveSet::Info> DriveSet::info()
{
    if (isEmptied(recorder_, "DriveSet::info", *this))
        return {};
    return boost::make_shared<SetInfo>(recorder_, table_->clusterBytes());
}

boost::shared_ptr<Quillon::DriveFile> DriveSet::openFile(uint32_t fileId)
{
    if (isEmptied(recorder_, "DriveSet::openFile", *this, fileId))
        return {};
    table_->requireFile(fileId);
    return boost::make_shared<DriveFile>(recorder_, table_, fileId);
}

Quillon::Vector<uint32_t> DriveSet::fileIds()
{
    Quillon::Vector<uint32_t> ids;
    if (isEmptied(recorder_, "DriveSet::fileIds", *this))
        return ids;
    for (const uint32_t id : table_->listedIds())
        ids.append(id);
    return ids;
}

uint32_t DriveSet::findFile(const Quillon::String &name)
{
    return isEmptied(recorder_, "DriveSet::findFile", *this, name) ? 0 : table_->find(name.c_str());
}

uint32_t DriveSet::incompleteFileId()
{
    return isEmptied(recorder_, "DriveSet::incompleteFileId", *this) ? 0 : table_->incompleteId();
}

boost::shared_ptr<Quillon::DriveFileEntry> DriveSet::fileEntry(uint32_t fileId)
{
    if (isEmptied(recorder_, "DriveSet::fileEntry", *this, fileId))
        return {};
    auto entry = boost::make_shared<Quillon::DriveFileEntry>();
    entry->sizeClusters = table_->file(fileId).stripes();
    return entry;
}

uint32_t DriveSet::createFile(const Quillon::String &name, uint64_t sizeClusters,
                              uint64_t timestamp)
{
    if (isEmptied(recorder_, "DriveSet::createFile", *this, name, sizeClusters, timestamp))
        return 0;
    return table_->createNamed(name.c_str(), sizeClusters, timestamp);
}

void DriveSet::removeFile(uint32_t fileId)
{
    if (!isEmptied(recorder_, "DriveSet::removeFile", *this, fileId))
        table_->removeFile(fileId);
}

boost::shared_ptr<Quillon::Recovery> DriveSet::recover(uint32_t fileId)
{
    if (isEmptied(recorder_, "DriveSet::recover", *this, fileId))
        return {};
    if (!table_->isIncomplete(fileId))
        raiseError("File " + std::to_string(fileId) + " is not incomplete.");
    const auto repair = boost::make_shared<Repair>(recorder_, table_, fileId);
    Repair::start(repair);
    return repair;
}

boost::shared_ptr<Quillon::DriveSet::CapacityInfo> DriveSet::capacityInfo(bool flag)
{
    if (isEmptied(recorder_, "DriveSet::capacityInfo", *this, flag))
        return {};
    return boost::make_shared<SetCapacity>(recorder_, *table_);
}

Quillon::Vector<boost::shared_ptr<Quillon::Drive>> DriveSet::drives()
{
    Quillon::Vector<boost::shared_ptr<Quillon::Drive>> drives;
    if (isEmptied(recorder_, "DriveSet::drives", *this))
        return drives;
    for (const uint32_t drive : table_->drives())
        drives.append(boost::make_shared<StorageDrive>(drive));
    return drives;
}

} // namespace simulator

namespace Quillon {

uint32_t DriveSet::Info::clusterSizeBytes() const
{
    return static_cast<const simulator::SetInfo *>(this)->clusterBytes();
}

uint64_t DriveSet::CapacityInfo::totalBytes() const
{
    return static_cast<const simulator::SetCapacity *>(this)->total();
}

uint64_t DriveSet::CapacityInfo::usedBytes() const
{
    return static_cast<const simulator::SetCapacity *>(this)->used();
}

} // namespace Quillon
