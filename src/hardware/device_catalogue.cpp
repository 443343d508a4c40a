#include "hardware/stavu_device.h"

#include "hardware/binding/handles.h"
#include "hardware/drive_file_guard.h"
#include "records/info_record.h"
#include "records/meta_record.h"
#include "records/recording_name.h"

#include <algorithm>
#include <stdexcept>

namespace tavu {

namespace {

using FileList = std::vector<FileRecord>;

FileList::iterator findRecord(FileList &list, uint32_t fileId, uint32_t streamId)
{
    return std::find_if(list.begin(), list.end(), [=](const FileRecord &record) {
        return record.fileId == fileId && record.streamId == streamId;
    });
}

/// The buffer of a drive file's metadata block with the records in it.
struct MetaBlock
{
    explicit MetaBlock(Quillon::DriveFile &file)
        : buffer(given(file.readMetadata(), "DriveFile::readMetadata"))
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

} // namespace

// What a failure leaves behind is the list up to there.
void STavuDevice::scanCatalogue()
{
    const auto set = firstDriveSet();
    Quillon::Vector<uint32_t> ids = set->fileIds();
    const uint32_t incompleteId = set->incompleteFileId();
    for (auto id = ids.begin(); id != ids.end(); ++id) {
        if (*id == incompleteId) {
            ids.erase(id);
            break;
        }
    }
    catalogue_.clear();
    for (uint64_t i = 0; i < ids.size(); ++i) {
        for (FileRecord &record : readMetadata(*set, ids[i]))
            catalogue_.push_back(std::move(record));
    }
}

std::vector<FileRecord> STavuDevice::readMetadata(Quillon::DriveSet &set, uint32_t fileId)
{
    boost::shared_ptr<Common::Buffer> buffer;
    if (DriveFileHandle *handle = findDriveFile(fileId)) {
        std::lock_guard guard(handle->mutex);
        buffer = handle->file->readMetadata();
    }
    if (!buffer || buffer->size() == 0) {
        const auto file = given(set.openFile(fileId), "DriveSet::openFile");
        buffer = given(file->readMetadata(), "DriveFile::readMetadata");
    }
    FileList list;
    readMetaList(list, buffer->data(), buffer->size());
    return list;
}

std::vector<FileRecord> STavuDevice::listFiles()
{
    std::lock_guard guard(lock_);
    return catalogue_;
}

void STavuDevice::removeFile(uint32_t fileId, uint32_t streamId)
{
    std::lock_guard guard(lock_);
    // A closed slot holds 0 and 0, which is no file.
    for (const OpenFileSlot &slot : openFiles_) {
        if (slot.fileId == fileId && slot.streamId == streamId)
            throw std::runtime_error("Can't remove file, file is open.");
    }
    const auto set = firstDriveSet();
    if (const uint32_t infoFile = set->findFile(infoRecordName(fileId, streamId).c_str()))
        set->removeFile(infoFile);
    auto file = given(set->openFile(fileId), "DriveSet::openFile");
    MetaBlock meta(*file);
    const auto stored = findRecord(meta.list, fileId, streamId);
    if (stored != meta.list.end()) {
        meta.list.erase(stored);
        meta.store(*file);
        if (meta.list.empty()) {
            file.reset();
            set->removeFile(fileId);
        }
    }
    const auto visible = findRecord(catalogue_, fileId, streamId);
    if (visible != catalogue_.end())
        catalogue_.erase(visible);
}

void STavuDevice::fileIdentity(uint32_t fileId, uint32_t streamId, ByteBlock &data)
{
    std::lock_guard guard(lock_);
    const auto record = findRecord(catalogue_, fileId, streamId);
    if (record != catalogue_.end() && !record->info.empty())
        data = record->info;
    else
        readInfoRecord(fileId, streamId, data);
}

void STavuDevice::renameFile(uint32_t fileId, uint32_t streamId, const std::string &name)
{
    std::lock_guard guard(lock_);
    editFileRecord(fileId, streamId, [&](FileRecord &record) { record.name = name; });
}

std::string STavuDevice::setFileInfo(uint32_t fileId, uint32_t streamId, const FileUpdate &update)
{
    std::lock_guard guard(lock_);
    const std::string finalName = unusedRecordingName(catalogue_, update.name);
    editFileRecord(fileId, streamId, [&](FileRecord &record) {
        record.name = finalName;
        update.applyTo(record);
    });
    return finalName;
}

// The drive file holds the truth; the catalogue follows it.
void STavuDevice::editFileRecord(uint32_t fileId, uint32_t streamId,
                                 const std::function<void(FileRecord &)> &edit)
{
    const DriveFileGuard handle(*this, acquireDriveFile(fileId));
    MetaBlock meta(*handle->file);
    const auto stored = findRecord(meta.list, fileId, streamId);
    if (stored == meta.list.end())
        throw std::runtime_error("File not found.");
    edit(*stored);
    meta.store(*handle->file);
    const auto visible = findRecord(catalogue_, fileId, streamId);
    if (visible != catalogue_.end())
        edit(*visible);
}

DriveFileHandle *STavuDevice::findDriveFile(uint32_t fileId)
{
    const auto handle =
        std::find_if(driveFiles_.begin(), driveFiles_.end(),
                     [fileId](const DriveFileHandle &known) { return known.fileId == fileId; });
    return handle == driveFiles_.end() ? nullptr : &*handle;
}

DriveFileHandle *STavuDevice::acquireDriveFile(uint32_t fileId)
{
    DriveFileHandle *handle = findDriveFile(fileId);
    if (!handle) {
        auto file = given(firstDriveSet()->openFile(fileId), "DriveSet::openFile");
        handle = &driveFiles_.emplace_back();
        handle->fileId = fileId;
        handle->file = std::move(file);
    }
    ++handle->refCount;
    return handle;
}

void STavuDevice::releaseDriveFile(DriveFileHandle *handle)
{
    if (--handle->refCount > 0)
        return;
    {
        std::lock_guard guard(handle->mutex);
        handle->file.reset();
    }
    driveFiles_.remove_if([handle](const DriveFileHandle &known) { return &known == handle; });
}

} // namespace tavu
