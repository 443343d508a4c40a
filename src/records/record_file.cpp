#include "records/record_file.h"

#include "encoding/file_stream.h"
#include "platform/files.h"

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

/// A record file being read, up to its end or an error.
class RecordFileReader final : public Stream
{
public:
    RecordFileReader(const InputFile &file, RecordBuffer &buffer) : file_(file), buffer_(buffer)
    {
        if (buffer_.empty())
            buffer_.resize(kReadBufferSize);
    }

    uint64_t read(void *target, uint64_t byteCount) override;
    uint64_t write(const void *, uint64_t) override { return 0; }

    bool failed() const { return failed_; }

private:
    bool refill();

    const InputFile &file_;
    RecordBuffer &buffer_;
    uint64_t offset_ = 0; ///< of the bytes behind the buffered ones
    size_t position_ = 0;
    size_t end_ = 0;
    bool atEnd_ = false;
    bool failed_ = false;
};

bool RecordFileReader::refill()
{
    if (atEnd_)
        return false;
    position_ = 0;
    end_ = static_cast<size_t>(file_.readAt(offset_, buffer_.data(), buffer_.size(), &failed_));
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

void readRecordFile(const std::string &path, RecordBuffer &buffer,
                    const std::function<void(Stream &)> &read)
{
    const InputFile file(path);
    if (file.wasMissing())
        return;
    if (!file.isOpen())
        throwFailed(path);
    RecordFileReader stream(file, buffer);
    try {
        read(stream);
    } catch (const std::runtime_error &) {
        if (stream.failed())
            throwFailed(path);
    }
}

} // namespace tavu
