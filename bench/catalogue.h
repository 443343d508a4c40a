#pragma once

#include "client/values.h"
#include "encoding/mem_stream.h"
#include "encoding/message_writer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tavu::bench {

using client::FileEntry;

inline constexpr uint32_t kPairsPerFile = 14;

/// Calls back with each key and value in the order of the wire, so that all who write an entry
/// write the same.
template <typename Pair>
void forEachPair(const FileEntry &file, Pair &&pair)
{
    pair("name", file.name);
    pair("port", file.port);
    pair("camera", file.camera);
    pair("fileId", uint64_t(file.fileId));
    pair("streamId", uint64_t(file.streamId));
    pair("width", uint64_t(file.width));
    pair("height", uint64_t(file.height));
    pair("numFrames", file.numFrames);
    pair("numDroppedFrames", file.numDroppedFrames);
    pair("size", file.size);
    pair("timestamp", file.timestamp);
    pair("duration", file.duration);
    pair("startTime", file.startTime);
    pair("endTime", file.endTime);
}

/// Recordings as one finds them on a device, numbered from 1.
std::vector<FileEntry> someFiles(uint32_t count);

/// Writes the reply to listFiles call by call.
void writeFilesReply(MessageWriter &writer, const std::vector<FileEntry> &files);

/// Room enough for one entry.
inline constexpr size_t kRoomPerFile = 512;

/// What \a write writes, into memory with so much room.
template <typename Write>
std::vector<unsigned char> encoded(Write &&write, size_t room)
{
    std::vector<unsigned char> message(room);
    MemStream stream(message.data(), message.size());
    MessageWriter writer(stream);
    write(writer);
    message.resize(message.size() - static_cast<size_t>(stream.remaining()));
    return message;
}

/// Writes a record file that describes recordings; the path is UTF-8.
void writeRecords(const std::string &path, const std::vector<FileEntry> &files);
/// The record that a recording has of its own, in the folder of the emulated device's records.
std::string recordFile(const std::string &emulatorFolder, uint32_t fileId);
/// Lays down the catalogue of an emulated device with someFiles(); there is a folder for
/// recordings already.
void plantCatalogue(const std::string &emulatorFolder, uint32_t count);

} // namespace tavu::bench
