#include "storage/drive_storage.h"

#include "errors.h"
#include "recorder.h"
#include "settings_file.h"
#include "storage/drive_set_list.h"
#include "storage/drives.h"
#include "storage/whole_file.h"

#include <boost/make_shared.hpp>

#include <charconv>
#include <numeric>
#include <system_error>

namespace simulator {

namespace {

/// 0 for a folder that isn't a drive set's.
uint32_t setIdOf(const std::filesystem::path &folder)
{
    const std::string name = folder.filename().string();
    uint32_t id = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
    return error == std::errc() && end == name.data() + name.size() ? id : 0;
}

[[noreturn]] void raiseNoSet(uint32_t id)
{
    raiseError("There is no drive set " + std::to_string(id) + ".");
}

} // namespace

DriveStorage::DriveStorage(Recorder &recorder)
    : recorder_(recorder), folder_(recorder.folder() / "sets")
{
}

DriveStorage::~DriveStorage() = default;

boost::shared_ptr<Quillon::DriveSetCollection> DriveStorage::driveSets()
{
    return recorder_.begin("Storage::driveSets")
               ? boost::make_shared<DriveSetList>(recorder_, *this)
               : nullptr;
}

boost::shared_ptr<Quillon::DriveGroupList> DriveStorage::driveGroups()
{
    return recorder_.begin("Storage::driveGroups") ? boost::make_shared<DriveGroupList>(recorder_)
                                                   : nullptr;
}

std::vector<uint32_t> DriveStorage::setIds()
{
    std::lock_guard guard(mutex_);
    load();
    std::vector<uint32_t> ids;
    for (const auto &[id, set] : sets_)
        ids.push_back(id);
    return ids;
}

std::shared_ptr<FileTable> DriveStorage::openSet(uint32_t id)
{
    std::lock_guard guard(mutex_);
    return setAt(id).table;
}

DriveStorage::Set &DriveStorage::setAt(uint32_t id)
{
    load();
    const auto found = sets_.find(id);
    if (found == sets_.end())
        raiseNoSet(id);
    Set &set = found->second;
    if (!set.table)
        set.table = set.used.lock();
    if (!set.table)
        set.table = std::make_shared<FileTable>(folder_ / std::to_string(id));
    set.used = set.table;
    return set;
}

void DriveStorage::createSet(const std::string &name, std::vector<uint32_t> drives)
{
    std::lock_guard guard(mutex_);
    load();
    const uint32_t id = sets_.empty() ? 1 : sets_.rbegin()->first + 1;
    FileTable::create(folder_ / std::to_string(id), describeSet(name, std::move(drives)));
    sets_[id];
}

void DriveStorage::removeSet(uint32_t id)
{
    std::lock_guard guard(mutex_);
    load();
    const auto found = sets_.find(id);
    if (found == sets_.end())
        raiseNoSet(id);
    // A set that isn't open is removed unread, as it may be damaged.
    const auto table = found->second.table ? found->second.table : found->second.used.lock();
    if (table)
        table->remove();
    else
        removeWhole(folder_ / std::to_string(id));
    sets_.erase(found);
}

void DriveStorage::close()
{
    std::lock_guard guard(mutex_);
    for (auto &[id, set] : sets_)
        set.table.reset();
}

void DriveStorage::load()
{
    if (loaded_)
        return;
    makeInitialSets();
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(folder_, error)) {
        const uint32_t id = setIdOf(entry.path());
        if (id != 0 && FileTable::exists(entry.path()))
            sets_[id];
    }
    loaded_ = true;
}

void DriveStorage::makeInitialSets() const
{
    const auto description = recorder_.description();
    std::error_code error;
    if (description->initialDriveSets == 0 || std::filesystem::exists(folder_, error))
        return;
    std::vector<uint32_t> drives(
        std::accumulate(description->driveGroups.begin(), description->driveGroups.end(), 0u));
    if (drives.empty())
        return;
    std::iota(drives.begin(), drives.end(), 0u);
    const SetRecord set = describeSet("TAVU", drives);
    const std::filesystem::path unfinished = unfinishedName(folder_);
    removeWhole(unfinished);
    for (uint32_t id = 1; id <= description->initialDriveSets; ++id)
        FileTable::create(unfinished / std::to_string(id), set);
    std::filesystem::rename(unfinished, folder_, error);
    if (error)
        raiseError(nameOf(folder_) + " can't be made: " + error.message());
}

SetRecord DriveStorage::describeSet(const std::string &name, std::vector<uint32_t> drives) const
{
    const auto description = recorder_.description();
    const uint32_t driveCount =
        std::accumulate(description->driveGroups.begin(), description->driveGroups.end(), 0u);
    if (drives.empty())
        raiseError("A drive set needs drives.");
    for (const uint32_t drive : drives) {
        if (drive >= driveCount)
            raiseError("There is no drive " + std::to_string(drive + 1) + ".");
    }
    SetRecord set;
    set.name = name;
    set.clusterBytes = description->clusterSize;
    set.metadataBytes = description->metadataSize;
    set.driveBytes = description->driveSize;
    set.drives = std::move(drives);
    return set;
}

} // namespace simulator
