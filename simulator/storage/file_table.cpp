#include "storage/file_table.h"

#include "errors.h"
#include "settings_file.h"
#include "storage/whole_file.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace simulator {

namespace {

constexpr char kSetName[] = "set.conf";

SetRecord readSet(const std::filesystem::path &folder)
{
    return parseSetRecord(readWholeFile(folder / kSetName));
}

std::vector<std::filesystem::path> drivePaths(const std::filesystem::path &folder,
                                              const SetRecord &set)
{
    std::vector<std::filesystem::path> paths;
    for (const uint32_t drive : set.drives)
        paths.push_back(folder / ("drive-" + std::to_string(drive + 1) + ".bin"));
    return paths;
}

/// The number that the name of a file begins with; 0 when there is none.
uint32_t numberOf(const std::filesystem::path &path)
{
    const std::string name = path.stem().string();
    uint32_t number = 0;
    std::from_chars(name.data(), name.data() + name.size(), number);
    return number;
}

} // namespace

void FileTable::create(const std::filesystem::path &folder, const SetRecord &set)
{
    removeWhole(folder);
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    replaceFile(folder / kSetName, formatSetRecord(set));
}

bool FileTable::exists(const std::filesystem::path &folder)
{
    std::error_code error;
    return std::filesystem::exists(folder / kSetName, error);
}

FileTable::FileTable(std::filesystem::path folder)
    : folder_(std::move(folder)), set_(readSet(folder_)),
      space_(drivePaths(folder_, set_), set_.clusterBytes),
      allocator_(set_.driveBytes / set_.clusterBytes)
{
    std::vector<std::filesystem::path> paths;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(folder_, error))
        paths.push_back(entry.path());
    for (const auto &path : paths) {
        if (path.extension() == ".file")
            load(path);
        else if (path.extension() == ".new")
            removeWhole(path);
    }
    for (const auto &path : paths) {
        if (path.extension() != ".meta")
            continue;
        const auto file = files_.find(numberOf(path));
        if (file != files_.end() && path.stem() == std::to_string(file->first))
            file->second.hasMetadata = true;
        else
            removeWhole(path);
    }
}

void FileTable::load(const std::filesystem::path &path)
{
    try {
        FileRecord record = parseFileRecord(readWholeFile(path));
        Extents extents = record.extents;
        for (const StreamRecord &stream : record.streams)
            append(extents, stream.extents);
        if (path.stem() != std::to_string(record.id) || !allocator_.reserve(extents))
            raiseError("It contradicts the others.");
        set_.nextFileId = std::max(set_.nextFileId, record.id + 1);
        files_[record.id].record = std::move(record);
    } catch (const Common::GeneralException &error) {
        report(nameOf(path), error.what());
    }
}

void FileTable::remove()
{
    std::lock_guard guard(mutex_);
    requireSet();
    removeWhole(folder_ / kSetName);
    removed_ = true;
    files_.clear();
    space_.close();
    // Without set.conf it is no set any more. create() clears away what couldn't be removed.
    std::error_code error;
    std::filesystem::remove_all(folder_, error);
}

void FileTable::requireSet() const
{
    if (removed_)
        raiseError("The drive set was removed.");
}

const FileTable::File &FileTable::at(uint32_t fileId) const
{
    requireSet();
    const auto file = files_.find(fileId);
    if (file == files_.end())
        raiseError("There is no file " + std::to_string(fileId) + ".");
    return file->second;
}

FileTable::File &FileTable::at(uint32_t fileId)
{
    return const_cast<File &>(std::as_const(*this).at(fileId));
}

uint64_t FileTable::totalBytes() const
{
    return set_.driveBytes / set_.clusterBytes * space_.stripeBytes();
}

uint64_t FileTable::usedBytes() const
{
    std::lock_guard guard(mutex_);
    requireSet();
    return totalBytes() - allocator_.freeStripes() * space_.stripeBytes();
}

std::vector<uint32_t> FileTable::listedIds() const
{
    std::lock_guard guard(mutex_);
    requireSet();
    std::vector<uint32_t> ids;
    bool hasIncomplete = false;
    for (const auto &[id, file] : files_) {
        const bool isFirstIncomplete = file.isIncomplete() && !hasIncomplete;
        hasIncomplete |= isFirstIncomplete;
        if (file.record.name.empty() && (file.hasMetadata || isFirstIncomplete))
            ids.push_back(id);
    }
    return ids;
}

uint32_t FileTable::find(const std::string &name) const
{
    std::lock_guard guard(mutex_);
    requireSet();
    return idOf(name);
}

uint32_t FileTable::idOf(const std::string &name) const
{
    for (const auto &[id, file] : files_) {
        if (!name.empty() && file.record.name == name)
            return id;
    }
    return 0;
}

uint32_t FileTable::incompleteId() const
{
    std::lock_guard guard(mutex_);
    requireSet();
    for (const auto &[id, file] : files_) {
        if (file.isIncomplete())
            return id;
    }
    return 0;
}

bool FileTable::isIncomplete(uint32_t fileId) const
{
    std::lock_guard guard(mutex_);
    return at(fileId).isIncomplete();
}

void FileTable::requireFile(uint32_t fileId) const
{
    std::lock_guard guard(mutex_);
    at(fileId);
}

FileRecord FileTable::file(uint32_t fileId) const
{
    std::lock_guard guard(mutex_);
    return at(fileId).record;
}

StreamRecord FileTable::stream(uint32_t fileId, uint32_t streamId) const
{
    std::lock_guard guard(mutex_);
    return at(fileId).record.stream(streamId);
}

uint32_t FileTable::createNamed(const std::string &name, uint64_t stripes, uint64_t created)
{
    if (name.empty())
        raiseError("A file needs a name.");
    std::lock_guard guard(mutex_);
    requireSet();
    if (idOf(name) != 0)
        raiseError("There is a file \"" + name + "\" already.");
    if (stripes > allocator_.freeStripes())
        raiseError("The drive set is full.");
    File file;
    file.record.name = name;
    file.record.created = created;
    file.record.extents = allocator_.allocate(stripes);
    return addFile(std::move(file));
}

uint32_t FileTable::addFile(File file)
{
    // The number is stored as used up first, so that no number comes back.
    file.record.id = set_.nextFileId;
    try {
        SetRecord set = set_;
        ++set.nextFileId;
        replaceFile(folder_ / kSetName, formatSetRecord(set));
        ++set_.nextFileId;
        save(file.record);
    } catch (...) {
        allocator_.release(file.record.extents);
        throw;
    }
    const uint32_t id = file.record.id;
    files_.emplace(id, std::move(file));
    return id;
}

void FileTable::removeFile(uint32_t fileId)
{
    std::lock_guard guard(mutex_);
    const File &file = at(fileId);
    if (file.recordedStreams > 0)
        raiseError("File " + std::to_string(fileId) + " is being recorded.");
    removeWhole(filePath(fileId, ".file"));
    removeWhole(filePath(fileId, ".meta"));
    allocator_.release(file.record.extents);
    for (const StreamRecord &stream : file.record.streams)
        allocator_.release(stream.extents);
    files_.erase(fileId);
}

void FileTable::save(const FileRecord &record) const
{
    replaceFile(filePath(record.id, ".file"), formatFileRecord(record));
}

std::filesystem::path FileTable::filePath(uint32_t fileId, const char *extension) const
{
    return folder_ / (std::to_string(fileId) + extension);
}

} // namespace simulator
