#include "storage/drive_set.h"

#include "errors.h"
#include "recorder.h"
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
        return recorder_.begin("DriveSet::Info::clusterSizeBytes") ? clusterBytes_ : 0;
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
        return recorder_.begin("DriveSet::CapacityInfo::totalBytes") ? total_ : 0;
    }
    uint64_t used() const
    {
        return recorder_.begin("DriveSet::CapacityInfo::usedBytes") ? used_ : 0;
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
    return recorder_.begin("DriveSet::info", *this)
               ? boost::make_shared<SetInfo>(recorder_, table_->clusterBytes())
               : nullptr;
}

boost::shared_ptr<Quillon::DriveFile> DriveSet::openFile(uint32_t fileId)
{
    if (!recorder_.begin("DriveSet::openFile", *this, fileId))
        return {};
    table_->requireFile(fileId);
    return boost::make_shared<DriveFile>(recorder_, table_, fileId);
}

Quillon::Vector<uint32_t> DriveSet::fileIds()
{
    Quillon::Vector<uint32_t> ids;
    if (!recorder_.begin("DriveSet::fileIds", *this))
        return ids;
    for (const uint32_t id : table_->listedIds())
        ids.append(id);
    return ids;
}

uint32_t DriveSet::findFile(const Quillon::String &name)
{
    return recorder_.begin("DriveSet::findFile", *this, name) ? table_->find(name.c_str()) : 0;
}

uint32_t DriveSet::incompleteFileId()
{
    return recorder_.begin("DriveSet::incompleteFileId", *this) ? table_->incompleteId() : 0;
}

boost::shared_ptr<Quillon::DriveFileEntry> DriveSet::fileEntry(uint32_t fileId)
{
    if (!recorder_.begin("DriveSet::fileEntry", *this, fileId))
        return {};
    auto entry = boost::make_shared<Quillon::DriveFileEntry>();
    entry->sizeClusters = table_->file(fileId).stripes();
    return entry;
}

uint32_t DriveSet::createFile(const Quillon::String &name, uint64_t sizeClusters,
                              uint64_t timestamp)
{
    return recorder_.begin("DriveSet::createFile", *this, name, sizeClusters, timestamp)
               ? table_->createNamed(name.c_str(), sizeClusters, timestamp)
               : 0;
}

void DriveSet::removeFile(uint32_t fileId)
{
    if (recorder_.begin("DriveSet::removeFile", *this, fileId))
        table_->removeFile(fileId);
}

boost::shared_ptr<Quillon::Recovery> DriveSet::recover(uint32_t fileId)
{
    if (!recorder_.begin("DriveSet::recover", *this, fileId))
        return {};
    if (!table_->isIncomplete(fileId))
        raiseError("File " + std::to_string(fileId) + " is not incomplete.");
    const auto repair = boost::make_shared<Repair>(recorder_, table_, fileId);
    Repair::start(repair);
    return repair;
}

boost::shared_ptr<Quillon::DriveSet::CapacityInfo> DriveSet::capacityInfo(bool flag)
{
    return recorder_.begin("DriveSet::capacityInfo", *this, flag)
               ? boost::make_shared<SetCapacity>(recorder_, *table_)
               : nullptr;
}

Quillon::Vector<boost::shared_ptr<Quillon::Drive>> DriveSet::drives()
{
    Quillon::Vector<boost::shared_ptr<Quillon::Drive>> drives;
    if (!recorder_.begin("DriveSet::drives", *this))
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
