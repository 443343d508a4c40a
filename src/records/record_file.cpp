#include "records/record_file.h"

#include "encoding/file_stream.h"
#include "platform/files.h"

#include <optional>
#include <stdexcept>

namespace tavu {

namespace {

/// Writes the whole file; false when some of it may not be there.
bool writeWhole(const std::string &path, const std::function<void(Stream &)> &write)
{
    std::optional<FileStream> stream;
    try {
        stream.emplace(path, "wb");
    } catch (const std::runtime_error &) {
        return false;
    }
    write(*stream);
    return stream->close();
}

} // namespace

void replaceRecordFile(const std::string &path, const std::function<void(Stream &)> &write)
{
    // A fixed name: what a killed process leaves is overwritten the next time.
    const std::string fresh = path + ".new";
    try {
        if (writeWhole(fresh, write) && replaceFile(fresh, path))
            return;
    } catch (...) {
        deleteFile(fresh);
        throw;
    }
    deleteFile(fresh);
    throw std::runtime_error("Failed to open file: " + path);
}

} // namespace tavu
