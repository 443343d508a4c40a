#include "client/connection_ask.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <variant>

namespace tavu::client {

namespace {

constexpr int kArray16 = 0xDC;

/// Reads a number of \a byteCount bytes, the highest first.
uint32_t readBigEndian(MessageReader &reader, size_t byteCount)
{
    uint8_t bytes[4];
    if (!reader.readRaw(bytes, byteCount))
        throw std::runtime_error("the list of files is cut off");
    uint32_t number = 0;
    for (size_t i = 0; i < byteCount; ++i)
        number = number << 8 | bytes[i];
    return number;
}

/// Reads the head of a list of files. The head byte of the 16-bit form stands before counts of two
/// bytes, and before those of four when there are more than 65535 files. Fewer than 16 have a
/// shorter form, so two bytes that make less than 16 are the upper half of four. (From a million
/// files on, that half is 16 or more, and the count is misread.)
uint32_t readListHeader(MessageReader &reader, ReadAhead &stream)
{
    if (stream.peek() != kArray16)
        return reader.readArrayHeader();
    readBigEndian(reader, 1);
    const uint32_t count = readBigEndian(reader, 2);
    return count >= 16 ? count : count << 16 | readBigEndian(reader, 2);
}

using FileMember = std::variant<std::string FileEntry::*, uint16_t FileEntry::*,
                                uint32_t FileEntry::*, uint64_t FileEntry::*>;

// In the order of kFileFields.
constexpr FileMember kFileMembers[] = {
    &FileEntry::name,      &FileEntry::port,      &FileEntry::camera,
    &FileEntry::fileId,    &FileEntry::streamId,  &FileEntry::width,
    &FileEntry::height,    &FileEntry::numFrames, &FileEntry::numDroppedFrames,
    &FileEntry::size,      &FileEntry::timestamp, &FileEntry::duration,
    &FileEntry::startTime, &FileEntry::endTime,
};
static_assert(std::size(kFileMembers) == kFileFields.size());

constexpr auto kFileKeys = [] {
    std::array<std::string_view, kFileFields.size()> keys;
    std::transform(kFileFields.begin(), kFileFields.end(), keys.begin(),
                   [](const Field &field) { return std::string_view(field.key); });
    return keys;
}();

/// Files that there is room for before any has come: the count may be wrong.
constexpr uint32_t kMostReserved = 0x10000;

/// Reads a value of an entry into its member.
struct FieldReader
{
    MessageReader &reader;
    FileEntry &entry;

    void operator()(std::string FileEntry::*member) const { entry.*member = reader.readText(); }

    template <typename Number>
    void operator()(Number FileEntry::*member) const
    {
        const uint64_t value = reader.readPosInt();
        if (value > std::numeric_limits<Number>::max())
            throw std::runtime_error("a number in the list of files is too large");
        entry.*member = static_cast<Number>(value);
    }
};

/// The field with a key, looked for from \a likely on, since the service sends them in order.
size_t findFileField(std::string_view key, size_t likely)
{
    for (size_t i = 0; i < kFileFields.size(); ++i) {
        const size_t index = (likely + i) % kFileFields.size();
        if (key == kFileKeys[index])
            return index;
    }
    return kFileFields.size();
}

FileEntry readFileEntry(MessageReader &reader)
{
    FileEntry entry;
    uint32_t seen = 0;
    size_t likely = 0;
    for (uint32_t pairs = reader.readMapHeader(); pairs > 0; --pairs) {
        const size_t index = findFileField(reader.readText(), likely);
        if (index == kFileFields.size()) {
            reader.skipValue();
            continue;
        }
        std::visit(FieldReader{reader, entry}, kFileMembers[index]);
        seen |= 1u << index;
        likely = index + 1;
    }
    if (seen != (1u << kFileFields.size()) - 1)
        throw std::runtime_error("an entry of the list of files lacks a field");
    return entry;
}

std::vector<FileEntry> readFileList(MessageReader &reader, ReadAhead &stream, const char *listKey)
{
    if (reader.readMapHeader() != 1 || reader.readText() != listKey)
        throw std::runtime_error("it has no list of files");
    std::vector<FileEntry> files;
    uint32_t count = readListHeader(reader, stream);
    files.reserve(std::min(count, kMostReserved));
    for (; count > 0; --count)
        files.push_back(readFileEntry(reader));
    return files;
}

} // namespace

std::vector<FileEntry> Connection::listFiles(uint32_t device)
{
    constexpr const CommandInfo &info = commandInfo(Command::ListFiles);
    std::optional<std::vector<FileEntry>> files;
    exchange(info.name,
             encodeRequest(static_cast<uint32_t>(info.command),
                           {{info.params[0].key, uint64_t{device}}}),
             [this, &files](MessageReader &reader) {
                 files = readFileList(reader, replies_, info.results[0].key);
             });
    if (!files)
        throw ProtocolError::unexpectedReply(info.name, "it is empty");
    return std::move(*files);
}

OpenedFile Connection::openFile(uint32_t device, uint32_t fileId, uint32_t streamId)
{
    return gather<OpenedFile>(ask<Command::OpenFile>(device, fileId, streamId));
}

OpenFileInfo Connection::fileInfo(uint32_t device, uint32_t openFileId)
{
    return gather<OpenFileInfo>(ask<Command::FileInfo>(device, openFileId));
}

void Connection::closeFile(uint32_t device, uint32_t openFileId)
{
    ask<Command::CloseFile>(device, openFileId);
}

void Connection::readFrame(uint32_t device, uint32_t openFileId, uint64_t frame)
{
    ask<Command::ReadFrame>(device, openFileId, frame);
}

void Connection::removeFile(uint32_t device, uint32_t fileId, uint32_t streamId)
{
    ask<Command::RemoveFile>(device, fileId, streamId);
}

Bytes Connection::fileIdentity(uint32_t device, uint32_t fileId, uint32_t streamId)
{
    return ask<Command::FileIdentity>(device, fileId, streamId);
}

void Connection::renameFile(uint32_t device, uint32_t fileId, uint32_t streamId,
                            const std::string &name, bool notify)
{
    ask<Command::RenameFile>(device, fileId, streamId, name, notify);
}

std::string Connection::setFileInfo(uint32_t device, uint32_t fileId, uint32_t streamId,
                                    const FileUpdate &update, bool notify)
{
    return ask<Command::SetFileInfo>(device, fileId, streamId, update.name, update.width,
                                     update.height, update.numFrames, update.numDroppedFrames,
                                     update.startTime, update.endTime, update.duration, notify);
}

std::string Connection::startLive(uint32_t device, uint8_t port)
{
    return ask<Command::StartLive>(device, port);
}

void Connection::stopLive(uint32_t device, uint8_t port)
{
    ask<Command::StopLive>(device, port);
}

FrameGeometry Connection::liveFrame(uint32_t device, uint8_t port)
{
    return gather<FrameGeometry>(ask<Command::LiveFrame>(device, port));
}

} // namespace tavu::client
