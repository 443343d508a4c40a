#pragma once

#include "hardware/library/common.h"
#include "storage/file_record.h"
#include "storage/stripe_space.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>

namespace simulator {

/// A drive set with its files, in a folder of its own. Everything but metadata, blocks and frames
/// is held in memory; what changes is in the folder before it takes effect. Any thread. Operations
/// raise Common::GeneralException, also for a file or stream that isn't there and once the set is
/// removed.
class FileTable
{
public:
    /// Makes a new set in \a folder.
    static void create(const std::filesystem::path &folder, const SetRecord &set);
    /// Whether \a folder holds a set.
    static bool exists(const std::filesystem::path &folder);

    /// Reads what is there, and clears away what a process that died left half done.
    explicit FileTable(std::filesystem::path folder);

    /// Of the set's folder.
    std::string name() const { return folder_.filename().string(); }

    /// Removes the set with its files.
    void remove();

    uint32_t clusterBytes() const { return set_.clusterBytes; }
    uint32_t metadataBytes() const { return set_.metadataBytes; }
    const std::vector<uint32_t> &drives() const { return set_.drives; }
    const StripeSpace &space() const { return space_; }
    uint64_t totalBytes() const;
    uint64_t usedBytes() const;

    /// The complete recordings and the oldest incomplete one.
    std::vector<uint32_t> listedIds() const;
    uint32_t find(const std::string &name) const;
    /// The oldest one; 0 when there is none.
    uint32_t incompleteId() const;
    bool isIncomplete(uint32_t fileId) const;
    void requireFile(uint32_t fileId) const;
    FileRecord file(uint32_t fileId) const;
    StreamRecord stream(uint32_t fileId, uint32_t streamId) const;

    uint32_t createNamed(const std::string &name, uint64_t stripes, uint64_t created);
    void removeFile(uint32_t fileId);

    /// As many bytes as metadataBytes() says; zeros when none was ever written.
    boost::shared_ptr<Common::Buffer> readMetadata(uint32_t fileId) const;
    void writeMetadata(uint32_t fileId, const void *data, uint64_t size);

    /// Blocks have the size of a stripe.
    void readBlock(uint32_t fileId, uint64_t block, void *target) const;
    void writeBlock(uint32_t fileId, uint64_t block, const void *source);

    /// Makes a file to which \a streams are recorded: it stays out of the lists until each of them
    /// was released.
    uint32_t createRecording(uint64_t created, const std::vector<StreamRecord> &streams);
    /// Gives the stream up to so many stripes more, and returns all that it has.
    Extents growStream(uint32_t fileId, uint32_t streamId, uint64_t stripes);
    void countFrames(uint32_t fileId, uint32_t streamId, uint64_t frames);
    /// Stores the count, and gives back the stripes that aren't needed.
    void closeStream(uint32_t fileId, uint32_t streamId, uint64_t frames);
    void releaseStream(uint32_t fileId);

private:
    struct File
    {
        FileRecord record;
        bool hasMetadata = false;
        uint32_t recordedStreams = 0; ///< not released yet

        bool isIncomplete() const
        {
            return record.name.empty() && !hasMetadata && recordedStreams == 0;
        }
    };

    void load(const std::filesystem::path &path);
    void requireSet() const;
    const File &at(uint32_t fileId) const;
    File &at(uint32_t fileId);
    uint32_t idOf(const std::string &name) const;
    uint32_t addFile(File file);
    void save(const FileRecord &record) const;
    std::filesystem::path filePath(uint32_t fileId, const char *extension) const;

    const std::filesystem::path folder_;
    SetRecord set_;
    StripeSpace space_;

    mutable std::mutex mutex_;
    StripeAllocator allocator_;
    std::map<uint32_t, File> files_;
    bool removed_ = false;
};

} // namespace simulator
