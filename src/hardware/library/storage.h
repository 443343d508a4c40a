#pragma once

#include "hardware/library/drive_file.h"

#include <cstdint>

namespace Quillon {

class Drive
{
public:
    /// Where a drive sits.
    class PhysicalLocation
    {
    public:
        QUILLON_API explicit PhysicalLocation(const boost::shared_ptr<Drive> &drive);

        std::uint32_t physicalIndex() const { return physicalIndex_; }
        bool operator<(const PhysicalLocation &other) const
        {
            return physicalIndex_ < other.physicalIndex_;
        }

    private:
        std::uint32_t physicalIndex_;
    };

protected:
    ~Drive() = default;
};

class DriveGroup
{
public:
    virtual std::uint64_t size() = 0;
    virtual boost::shared_ptr<Drive> drive(std::uint64_t index) = 0;

protected:
    ~DriveGroup() = default;
};

class DriveGroupList
{
public:
    virtual std::uint64_t size() = 0;
    virtual boost::shared_ptr<DriveGroup> group(std::uint64_t index) = 0;

protected:
    ~DriveGroupList() = default;
};

/// A job that repairs an incomplete file, on its own. Ended by cancel() or by itself.
class Recovery
{
public:
    /// Asks the job to end, and returns at once.
    virtual void cancel() = 0;
    /// The job has ended, well or badly.
    virtual bool isFinished() = 0;
    /// The job ended through cancel().
    virtual bool isCancelled() = 0;
    /// Valid once the job is finished.
    virtual bool isSuccessful() = 0;
    virtual String errorText() = 0;

protected:
    ~Recovery() = default;
};

struct DriveFileEntry
{
    std::uint64_t sizeClusters; ///< allocated size, in the units of DriveSet::createFile()
};

/// A stripe over drives, which holds numbered files.
class DriveSet
{
public:
    class Source
    {
    public:
        QUILLON_API void add(const Drive::PhysicalLocation &location);

        const Set<Drive::PhysicalLocation> &drives() const { return drives_; }

    private:
        Set<Drive::PhysicalLocation> drives_;
    };

    struct CreateParameters
    {
        String name;
        std::uint32_t firstSetting = 0;
        Source source;
        std::uint32_t secondSetting = 0;
    };

    class Info
    {
    public:
        QUILLON_API std::uint32_t clusterSizeBytes() const;

    protected:
        ~Info() = default;
    };

    class CapacityInfo
    {
    public:
        QUILLON_API std::uint64_t totalBytes() const;
        QUILLON_API std::uint64_t usedBytes() const;

    protected:
        ~CapacityInfo() = default;
    };

    virtual boost::shared_ptr<Info> info() = 0;
    virtual boost::shared_ptr<DriveFile> openFile(std::uint32_t fileId) = 0;
    virtual Vector<std::uint32_t> fileIds() = 0;
    /// 0 when there is no such name.
    virtual std::uint32_t findFile(const String &name) = 0;
    /// The file left by a recording that did not end; 0 when there is none.
    virtual std::uint32_t incompleteFileId() = 0;
    virtual boost::shared_ptr<DriveFileEntry> fileEntry(std::uint32_t fileId) = 0;
    /// A cluster here is clusterSizeBytes() times the number of drives.
    virtual std::uint32_t createFile(const String &name, std::uint64_t sizeClusters,
                                     std::uint64_t timestamp) = 0;
    virtual void removeFile(std::uint32_t fileId) = 0;
    /// Starts the repair job and returns at once.
    virtual boost::shared_ptr<Recovery> recover(std::uint32_t fileId) = 0;
    virtual boost::shared_ptr<CapacityInfo> capacityInfo(bool flag) = 0;
    virtual Vector<boost::shared_ptr<Drive>> drives() = 0;

protected:
    ~DriveSet() = default;
};

class DriveSetCollection
{
public:
    virtual boost::shared_ptr<DriveSet> open(std::uint32_t id) = 0;
    virtual Vector<std::uint32_t> ids() = 0;
    virtual void create(const boost::shared_ptr<DriveSet::CreateParameters> &parameters) = 0;
    /// Destroys a set with its files.
    virtual void remove(std::uint32_t id) = 0;

protected:
    ~DriveSetCollection() = default;
};

/// The drives of a recorder.
class Storage
{
public:
    virtual boost::shared_ptr<DriveSetCollection> driveSets() = 0;
    virtual boost::shared_ptr<DriveGroupList> driveGroups() = 0;

protected:
    ~Storage() = default;
};

} // namespace Quillon
