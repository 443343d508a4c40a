#pragma once

#include "hardware/library/storage.h"
#include "storage/file_table.h"

namespace simulator {

class Recorder;

/// The drives and drive sets of a recorder. Any thread.
class DriveStorage final : public Quillon::Storage
{
public:
    explicit DriveStorage(Recorder &recorder);
    DriveStorage(const DriveStorage &) = delete;
    DriveStorage &operator=(const DriveStorage &) = delete;
    virtual ~DriveStorage();

    boost::shared_ptr<Quillon::DriveSetCollection> driveSets() override;
    boost::shared_ptr<Quillon::DriveGroupList> driveGroups() override;

    // The rest is for the library itself, and raises Common::GeneralException.

    std::vector<uint32_t> setIds();
    std::shared_ptr<FileTable> openSet(uint32_t id);
    void createSet(const std::string &name, std::vector<uint32_t> drives);
    void removeSet(uint32_t id);

private:
    void load();
    void makeInitialSets() const;
    SetRecord describeSet(const std::string &name, std::vector<uint32_t> drives) const;

    Recorder &recorder_;
    const std::filesystem::path folder_;

    std::mutex mutex_;
    bool loaded_ = false;
    /// Null while nobody has opened the set.
    std::map<uint32_t, std::shared_ptr<FileTable>> sets_;
};

} // namespace simulator
