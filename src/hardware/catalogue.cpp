#include "hardware/catalogue.h"

#include "hardware/binding/buffers.h"
#include "hardware/binding/handles.h"
#include "hardware/drive_records.h"
#include "records/info_record.h"
#include "records/meta_record.h"

#include <algorithm>
#include <utility>

namespace tavu {

namespace {

using FileList = std::vector<FileRecord>;

template <typename List>
auto findRecord(List &list, uint32_t fileId, uint32_t streamId)
{
    return std::find_if(list.begin(), list.end(), [=](const FileRecord &record) {
        return record.fileId == fileId && record.streamId == streamId;
    });
}

/// The buffer of a drive file's metadata block with the records in it.
struct MetaBlock
{
    explicit MetaBlock(boost::shared_ptr<Common::Buffer> metadata)
        : buffer(requireHandle(std::move(metadata), "DriveFile::readMetadata"))
    {
        readMetaList(list, buffer->data(), buffer->size());
    }

    /// Writes the list over the same buffer and stores that.
    void store(Quillon::DriveFile &file)
    {
        writeMetaList(list, buffer->data(), buffer->size());
        file.writeMetadata(buffer);
    }

    boost::shared_ptr<Common::Buffer> buffer;
    FileList list;
};

/// Takes blocks out of the list, the largest first, until its record fits or none is left. Returns
/// the entries that had them.
FileList takeBlocksOut(FileList &list, uint64_t room)
{
    FileList moved;
    while (!metaListFits(list, room)) {
        const auto largest = std::max_element(list.begin(), list.end(),
                                              [](const FileRecord &left, const FileRecord &right) {
                                                  return left.info.size() < right.info.size();
                                              });
        if (largest == list.end() || largest->info.empty())
            break;
        moved.push_back(*largest);
        largest->info = {};
    }
    return moved;
}

} // namespace

void Catalogue::scan()
{
    const auto set = library_.firstDriveSet();
    Quillon::Vector<uint32_t> ids = set->fileIds();
    const uint32_t incompleteId = set->incompleteFileId();
    for (auto id = ids.begin(); id != ids.end(); ++id) {
        if (*id == incompleteId) {
            ids.erase(id);
            break;
        }
    }
    list_.clear();
    for (uint64_t i = 0; i < ids.size(); ++i) {
        for (FileRecord &record : readMetadata(*set, ids[i]))
            list_.push_back(std::move(record));
    }
}

std::vector<FileRecord> Catalogue::readMetadata(Quillon::DriveSet &set, uint32_t fileId) const
{
    auto buffer = openFiles_.readMetadata(fileId);
    if (!buffer || buffer->size() == 0) {
        const auto file = openDriveFile(set, fileId);
        buffer = file->readMetadata();
    }
    return MetaBlock(std::move(buffer)).list;
}

void Catalogue::removeFile(uint32_t fileId, uint32_t streamId)
{
    if (openFiles_.isOpen(fileId, streamId))
        throw std::runtime_error("Can't remove file, file is open.");
    const auto set = library_.firstDriveSet();
    if (const uint32_t infoFile = set->findFile(infoRecordName(fileId, streamId).c_str()))
        set->removeFile(infoFile);
    auto file = openDriveFile(*set, fileId);
    MetaBlock meta(file->readMetadata());
    const auto stored = findRecord(meta.list, fileId, streamId);
    if (stored != meta.list.end()) {
        meta.list.erase(stored);
        meta.store(*file);
        if (meta.list.empty()) {
            file.reset();
            set->removeFile(fileId);
        }
    }
    const auto listed = findRecord(list_, fileId, streamId);
    if (listed != list_.end())
        list_.erase(listed);
}

void Catalogue::fileIdentity(uint32_t fileId, uint32_t streamId, ByteBlock &data) const
{
    const auto record = findRecord(list_, fileId, streamId);
    if (record != list_.end() && !record->info.empty())
        data = record->info.bytes();
    else
        readInfoRecord(library_, fileId, streamId, data);
}

void Catalogue::edit(uint32_t fileId, uint32_t streamId,
                     const std::function<void(FileRecord &)> &change)
{
    const auto handle = openFiles_.acquireDriveFile(fileId);
    MetaBlock meta(handle->file->readMetadata());
    const auto stored = findRecord(meta.list, fileId, streamId);
    if (stored == meta.list.end())
        throw std::runtime_error("File not found.");
    change(*stored);
    meta.store(*handle->file);
    const auto listed = findRecord(list_, fileId, streamId);
    if (listed != list_.end())
        change(*listed);
}

bool Catalogue::storeMetaList(Quillon::DriveFile &file, uint32_t fileId, FileList list)
{
    const auto block = createBuffer(file.metadataCapacity());
    const FileList moved = takeBlocksOut(list, block->size());
    const bool fits = metaListFits(list, block->size());
    if (fits) {
        for (const FileRecord &entry : moved)
            writeInfoRecord(library_, fileId, entry.streamId, entry.info.bytes());
    } else {
        list.clear();
        std::erase_if(list_, [=](const FileRecord &entry) { return entry.fileId == fileId; });
    }
    writeMetaList(list, block->data(), block->size());
    file.writeMetadata(block);
    return fits;
}

FileRecord newFileRecord(const PortConfig &port, uint32_t fileId, uint32_t streamId,
                         uint64_t numFrames, uint64_t timestamp)
{
    FileRecord entry;
    entry.name = std::to_string(fileId) + "-" + std::to_string(streamId);
    entry.port = port.name;
    entry.fileId = fileId;
    entry.streamId = streamId;
    entry.width = port.format.width;
    entry.height = port.format.height;
    entry.numFrames = numFrames;
    entry.size = impliedSize(entry);
    entry.timestamp = timestamp;
    if (port.info.size() <= kInlineBlockLimit)
        entry.info = port.info;
    return entry;
}

} // namespace tavu
