#include "records/record_file.h"

#include "encoding/file_stream.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <stdexcept>

namespace tavu {

namespace {

constexpr size_t kReadBufferSize = 65536;

[[noreturn]] void throwFailed(const std::string &path)
{
    throw std::runtime_error("Failed to open file: " + path);
}

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
    throwFailed(path);
}

RecordFileReader::RecordFileReader(const std::string &path, Buffer &buffer)
    : file_(path), buffer_(buffer)
{
    if (!file_.isOpen())
        throwFailed(path);
    if (buffer_.empty())
        buffer_.resize(kReadBufferSize);
}

bool RecordFileReader::refill()
{
    if (atEnd_)
        return false;
    position_ = 0;
    end_ = static_cast<size_t>(file_.readAt(offset_, buffer_.data(), buffer_.size()));
    offset_ += end_;
    atEnd_ = end_ < buffer_.size();
    return end_ > 0;
}

uint64_t RecordFileReader::read(void *target, uint64_t byteCount)
{
    auto *bytes = static_cast<unsigned char *>(target);
    // Every second read of a record is for one byte, the lead of a value.
    if (byteCount == 1 && position_ < end_) {
        *bytes = buffer_[position_++];
        return 1;
    }
    uint64_t done = 0;
    while (done < byteCount && (position_ < end_ || refill())) {
        const size_t count =
            static_cast<size_t>(std::min<uint64_t>(byteCount - done, end_ - position_));
        std::memcpy(bytes + done, buffer_.data() + position_, count);
        position_ += count;
        done += count;
    }
    return done;
}

uint64_t RecordFileReader::write(const void *, uint64_t)
{
    return 0;
}

} // namespace tavu
