#pragma once

#include "hardware/library/storage.h"
#include "storage/file_table.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>

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

    // What follows is for the library itself, and raises Common::GeneralException.

    std::vector<uint32_t> setIds();
    std::shared_ptr<FileTable> openSet(uint32_t id);
    void createSet(const std::string &name, std::vector<uint32_t> drives);
    void removeSet(uint32_t id);
    /// The recorder is pulled out: sets that nobody uses let go of their files.
    void close();

private:
    struct Set
    {
        std::shared_ptr<FileTable> table; ///< null until the set is opened
        std::weak_ptr<FileTable> used;    ///< the same table, which handles can hold longer
    };

    Set &setAt(uint32_t id);
    void load();
    void makeInitialSets() const;
    SetRecord describeSet(const std::string &name, std::vector<uint32_t> drives) const;

    Recorder &recorder_;
    const std::filesystem::path folder_;

    std::mutex mutex_;
    bool loaded_ = false;
    std::map<uint32_t, Set> sets_;
};

} // namespace simulator
