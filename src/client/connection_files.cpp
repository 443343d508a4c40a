#include "client/connection.h"

#include <algorithm>
#include <array>
#include <limits>
#include <stdexcept>
#include <variant>

namespace tavu::client {

namespace {

constexpr int kArray16 = 0xDC;

/// Reads the head of a list of files. The service writes a count above 65535 behind the head of the
/// 16-bit form, as four bytes. It also writes every count in its shortest form, which tells the two
/// apart: as a 16-bit count, the upper half of a longer one would be below 16. (A list of a million
/// entries is ambiguous, and read as the shorter one.)
uint32_t readListHeader(MessageReader &reader, ReadAhead &stream)
{
    if (stream.peek() != kArray16)
        return reader.readArrayHeader();
    uint8_t head[3];
    uint8_t rest[2];
    if (!reader.readRaw(head, sizeof(head)))
        throw std::runtime_error("the list of files is cut off");
    const uint32_t count = head[1] * 256u + head[2];
    if (count >= 16)
        return count;
    if (!reader.readRaw(rest, sizeof(rest)))
        throw std::runtime_error("the list of files is cut off");
    return count * 65536u + rest[0] * 256u + rest[1];
}

struct FileField
{
    const char *key;
    std::variant<std::string FileEntry::*, uint16_t FileEntry::*, uint32_t FileEntry::*,
                 uint64_t FileEntry::*>
        member;
};

constexpr std::array<FileField, 14> kFileFields = {{
    {"name", &FileEntry::name},
    {"port", &FileEntry::port},
    {"camera", &FileEntry::camera},
    {"fileId", &FileEntry::fileId},
    {"streamId", &FileEntry::streamId},
    {"width", &FileEntry::width},
    {"height", &FileEntry::height},
    {"numFrames", &FileEntry::numFrames},
    {"numDroppedFrames", &FileEntry::numDroppedFrames},
    {"size", &FileEntry::size},
    {"timestamp", &FileEntry::timestamp},
    {"duration", &FileEntry::duration},
    {"startTime", &FileEntry::startTime},
    {"endTime", &FileEntry::endTime},
}};

/// Reads one value into the member that a field stands for.
struct FieldReader
{
    MessageReader &reader;
    FileEntry &entry;

    void operator()(std::string FileEntry::*member) const { reader.readString(entry.*member); }

    template <typename Number>
    void operator()(Number FileEntry::*member) const
    {
        const uint64_t value = reader.readPosInt();
        if (value > std::numeric_limits<Number>::max())
            throw std::runtime_error("a number in the list of files is too large");
        entry.*member = static_cast<Number>(value);
    }
};

FileEntry readFileEntry(MessageReader &reader, std::string &key)
{
    FileEntry entry;
    uint32_t seen = 0;
    for (uint32_t pairs = reader.readMapHeader(); pairs > 0; --pairs) {
        reader.readString(key);
        const auto field = std::find_if(kFileFields.begin(), kFileFields.end(),
                                        [&key](const FileField &f) { return key == f.key; });
        if (field == kFileFields.end()) {
            reader.skipValue();
            continue;
        }
        std::visit(FieldReader{reader, entry}, field->member);
        seen |= 1u << (field - kFileFields.begin());
    }
    if (seen != (1u << kFileFields.size()) - 1)
        throw std::runtime_error("an entry of the list of files lacks a field");
    return entry;
}

} // namespace

std::vector<FileEntry> Connection::listFiles(uint32_t device)
{
    const auto ordinal = static_cast<uint32_t>(Command::ListFiles);
    std::optional<std::vector<FileEntry>> files;
    exchange(std::string(commandName(ordinal)), encodeRequest(ordinal, {{"deviceId", device}}),
             [this, &files](MessageReader &reader) {
                 std::string key;
                 if (reader.readMapHeader() != 1 || (reader.readString(key), key != "files"))
                     throw std::runtime_error("it has no list of files");
                 files.emplace();
                 for (uint32_t count = readListHeader(reader, replies_); count > 0; --count)
                     files->push_back(readFileEntry(reader, key));
             });
    if (!files)
        throw ProtocolError("unexpected reply to listFiles: it is empty");
    return std::move(*files);
}

OpenedFile Connection::openFile(uint32_t device, uint32_t fileId, uint32_t streamId)
{
    const Reply reply = execute(Command::OpenFile,
                                {{"deviceId", device}, {"fileId", fileId}, {"streamId", streamId}});
    return {reply.u32("openFileId"), reply.text("mapping")};
}

OpenFileInfo Connection::fileInfo(uint32_t device, uint32_t openFileId)
{
    const Reply reply =
        execute(Command::FileInfo, {{"deviceId", device}, {"openFileId", openFileId}});
    return {reply.u16("width"), reply.u16("height"), reply.u32("imageSize"), reply.u64("numFrames"),
            reply.u64("size")};
}

void Connection::closeFile(uint32_t device, uint32_t openFileId)
{
    execute(Command::CloseFile, {{"deviceId", device}, {"openFileId", openFileId}});
}

void Connection::readFrame(uint32_t device, uint32_t openFileId, uint64_t frame)
{
    execute(Command::ReadFrame,
            {{"deviceId", device}, {"openFileId", openFileId}, {"frame", frame}});
}

void Connection::removeFile(uint32_t device, uint32_t fileId, uint32_t streamId)
{
    execute(Command::RemoveFile,
            {{"deviceId", device}, {"fileId", fileId}, {"streamId", streamId}});
}

Bytes Connection::fileIdentity(uint32_t device, uint32_t fileId, uint32_t streamId)
{
    return execute(Command::FileIdentity,
                   {{"deviceId", device}, {"fileId", fileId}, {"streamId", streamId}})
        .bytes("data");
}

void Connection::renameFile(uint32_t device, uint32_t fileId, uint32_t streamId,
                            const std::string &name, bool notify)
{
    execute(Command::RenameFile, {{"deviceId", device},
                                  {"fileId", fileId},
                                  {"streamId", streamId},
                                  {"name", name},
                                  {"notify", notify}});
}

std::string Connection::setFileInfo(uint32_t device, uint32_t fileId, uint32_t streamId,
                                    const FileUpdate &update, bool notify)
{
    return execute(Command::SetFileInfo, {{"deviceId", device},
                                          {"fileId", fileId},
                                          {"streamId", streamId},
                                          {"name", update.name},
                                          {"width", update.width},
                                          {"height", update.height},
                                          {"numImages", update.numFrames},
                                          {"numDroppedFrames", update.numDroppedFrames},
                                          {"startTime", update.startTime},
                                          {"endTime", update.endTime},
                                          {"duration", update.duration},
                                          {"notify", notify}})
        .text("name");
}

std::string Connection::startLive(uint32_t device, uint8_t port)
{
    return execute(Command::StartLive, {{"deviceId", device}, {"port", port}}).text("mapping");
}

void Connection::stopLive(uint32_t device, uint8_t port)
{
    execute(Command::StopLive, {{"deviceId", device}, {"port", port}});
}

FrameGeometry Connection::liveFrame(uint32_t device, uint8_t port)
{
    const Reply reply = execute(Command::LiveFrame, {{"deviceId", device}, {"port", port}});
    return {reply.u16("width"), reply.u16("height"), reply.u32("imageSize")};
}

} // namespace tavu::client
