#pragma once

#include "wire/events.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace tavu {

/// The commands, by the number that goes over the pipe.
enum class Command : uint32_t
{
    CreateEventQueue = 0,
    DestroyEventQueue = 1,
    ReadEvent = 2,
    TryReadEvent = 3,
    DeviceCount = 4,
    DeviceName = 5,
    DeviceConnected = 6,
    HasIncompleteFile = 7,
    DiscardIncompleteFile = 8,
    StartRecovery = 9,
    CancelRecovery = 10,
    RecoveryStatus = 11,
    RecoveryError = 12,
    FinishRecovery = 13,
    SerialOpen = 14,
    SerialGetBaudRate = 15,
    SerialSetBaudRate = 16,
    SerialRead = 17,
    SerialWrite = 18,
    SerialClear = 19,
    SerialClose = 20,
    RegisterRead = 21,
    RegisterWrite = 22,
    IsCxp = 23,
    PortCount = 24,
    PortName = 25,
    ListFiles = 26,
    OpenFile = 27,
    FileInfo = 28,
    CloseFile = 29,
    ReadFrame = 30,
    RemoveFile = 31,
    FileIdentity = 32,
    Setup = 33,
    PairPort = 34,
    PairedTo = 35,
    RepairPort = 36,
    UnpairPort = 37,
    PortIdentity = 38,
    FramesPerPacket = 39,
    GetPortConfig = 40,
    SetPortConfig = 41,
    StartRecording = 42,
    StopRecording = 43,
    SoftwareTrigger = 44,
    IsRecordingDone = 45,
    RecordingFile = 46,
    RecordingProgress = 47,
    RenameFile = 48,
    SetFileInfo = 49,
    NotifyFilesChanged = 50,
    PercentUsed = 51,
    StartLive = 52,
    StopLive = 53,
    LiveFrame = 54,
    LockGlobal = 55,
    UnlockGlobal = 56,
    HardwareType = 57,
};

inline constexpr uint32_t kCommandCount = 58;

/// How a value stands on the wire. An integer is a MessagePack integer of zero or more: in a
/// request it is cut to the width, in a reply it is within it.
enum class FieldType : uint8_t
{
    Bool,
    U8,
    U16,
    U32,
    U64,
    Text,  ///< str, read up to its first NUL
    Blob,  ///< bin
    Event, ///< a map of kEventFields
    Files, ///< an array of maps of kFileFields
};

/// A value in a map of the wire.
struct Field
{
    const char *key = nullptr;
    FieldType type = FieldType::Bool;
    bool optional = false; ///< a parameter that is 0 when it is left out, or a value that may miss
};

/// Up to 14 fields, in the order in which they are read and written.
class FieldList
{
public:
    constexpr FieldList() = default;
    constexpr FieldList(std::initializer_list<Field> fields)
    {
        for (const Field &field : fields)
            fields_.at(count_++) = field;
    }

    constexpr size_t size() const { return count_; }
    constexpr const Field &operator[](size_t index) const { return fields_[index]; }
    constexpr const Field *begin() const { return fields_.data(); }
    constexpr const Field *end() const { return fields_.data() + count_; }

private:
    std::array<Field, 14> fields_{};
    size_t count_ = 0;
};

/// The event that every queue gets once a command has succeeded, before its reply. It tells of the
/// parameter "deviceId".
struct Announcement
{
    EventType type = EventType::NoEvent;
    const char *port = nullptr;   ///< the parameter that goes into the event's port, if any
    const char *onlyIf = nullptr; ///< the parameter that must be true, if any
};

/// What crosses the pipe for one command.
struct CommandInfo
{
    Command command;
    const char *name;
    FieldList params{};  ///< in reading order: the first fault decides the error
    FieldList results{}; ///< in the order of the reply; none makes it the empty map
    Announcement announcement{};
};

// The rows of the table of commands, and what they are made of.
namespace fields {

// clang-format off
constexpr Field flag(const char *key) { return {key, FieldType::Bool}; }
constexpr Field u8(const char *key) { return {key, FieldType::U8}; }
constexpr Field u16(const char *key) { return {key, FieldType::U16}; }
constexpr Field u32(const char *key) { return {key, FieldType::U32}; }
constexpr Field u64(const char *key) { return {key, FieldType::U64}; }
constexpr Field text(const char *key) { return {key, FieldType::Text}; }
constexpr Field blob(const char *key) { return {key, FieldType::Blob}; }
constexpr Field optional(Field field) { return {field.key, field.type, true}; }
// clang-format on

inline constexpr Field device = u32("deviceId");
inline constexpr Field port = u8("port");
inline constexpr Field file = u32("fileId");
inline constexpr Field stream = u32("streamId");
inline constexpr Field queue = u32("queueId");
inline constexpr Field width = u16("width");
inline constexpr Field height = u16("height");
inline constexpr Field event = {"event", FieldType::Event};

// clang-format off
inline constexpr std::array<CommandInfo, kCommandCount> kByOrdinal = {{
    {Command::CreateEventQueue, "createEventQueue", {}, {queue}},
    {Command::DestroyEventQueue, "destroyEventQueue", {queue}},
    {Command::ReadEvent, "readEvent", {queue}, {event}},
    {Command::TryReadEvent, "tryReadEvent", {queue}, {flag("ok"), optional(event)}},
    {Command::DeviceCount, "deviceCount", {}, {u32("count")}},
    {Command::DeviceName, "deviceName", {device}, {text("name")}},
    {Command::DeviceConnected, "deviceConnected", {device}, {flag("connected")}},
    {Command::HasIncompleteFile, "hasIncompleteFile", {device}, {flag("hasIncompleteFile")}},
    {Command::DiscardIncompleteFile, "discardIncompleteFile", {device}},
    {Command::StartRecovery, "startRecovery", {device}},
    {Command::CancelRecovery, "cancelRecovery", {device}},
    {Command::RecoveryStatus, "recoveryStatus", {device}, {u32("status")}},
    {Command::RecoveryError, "recoveryError", {device}, {text("error")}},
    {Command::FinishRecovery, "finishRecovery", {device}},
    {Command::SerialOpen, "serialOpen",
     {device, port, u32("baudRate"), u8("parity"), u8("stopBits")}},
    {Command::SerialGetBaudRate, "serialGetBaudRate", {device, port}, {u32("baudRate")}},
    {Command::SerialSetBaudRate, "serialSetBaudRate", {device, port, u32("baudRate")}},
    {Command::SerialRead, "serialRead", {device, port, u32("size")}, {blob("data")}},
    {Command::SerialWrite, "serialWrite", {device, port, blob("data")}, {u32("size")}},
    {Command::SerialClear, "serialClear", {device, port}},
    {Command::SerialClose, "serialClose", {device, port}},
    {Command::RegisterRead, "registerRead", {device, port, u32("addr"), u32("size")},
     {blob("data")}},
    {Command::RegisterWrite, "registerWrite", {device, port, u32("addr"), blob("data")}},
    {Command::IsCxp, "isCxp", {device}, {flag("isCxp")}},
    {Command::PortCount, "portCount", {device}, {u8("count")}},
    {Command::PortName, "portName", {device, port}, {text("name")}},
    {Command::ListFiles, "listFiles", {device}, {{"files", FieldType::Files}}},
    {Command::OpenFile, "openFile", {device, file, stream}, {u32("openFileId"), text("mapping")}},
    {Command::FileInfo, "fileInfo", {device, u32("openFileId")},
     {width, height, u32("imageSize"), u64("numFrames"), u64("size")}},
    {Command::CloseFile, "closeFile", {device, u32("openFileId")}},
    {Command::ReadFrame, "readFrame", {device, u32("openFileId"), u64("frame")}},
    {Command::RemoveFile, "removeFile", {device, file, stream}, {}, {EventType::FilesChanged}},
    {Command::FileIdentity, "fileIdentity", {device, file, stream}, {blob("data")}},
    {Command::Setup, "setup", {device}},
    {Command::PairPort, "pairPort",
     {device, port, text("identity"), blob("info"), u16("numFramesPerPacket")}, {},
     {EventType::PairingChanged, "port"}},
    {Command::PairedTo, "pairedTo", {device, port}, {text("pairedTo")}},
    {Command::RepairPort, "repairPort",
     {device, port, text("identity"), blob("info"), u16("numFramesPerPacket")}},
    {Command::UnpairPort, "unpairPort", {device, port}, {}, {EventType::PairingChanged, "port"}},
    {Command::PortIdentity, "portIdentity", {device, port}, {blob("data")}},
    {Command::FramesPerPacket, "framesPerPacket", {device, port}, {u16("numFramesPerPacket")}},
    {Command::GetPortConfig, "getPortConfig", {device, port},
     {width, height, u32("pixelFormat"), u32("tapGeometry")}},
    {Command::SetPortConfig, "setPortConfig",
     {device, port, width, height, u32("pixelFormat"), u32("tapGeometry")}},
    {Command::StartRecording, "startRecording",
     {device, u32("portMask"), u8("externalTrigger"), u8("type"), u64("count"),
      flag("usePretrigger"), u64("pretriggerCount")}, {},
     {EventType::RecordingStarted, "portMask"}},
    {Command::StopRecording, "stopRecording", {device}, {}, {EventType::RecordingStopped}},
    {Command::SoftwareTrigger, "softwareTrigger", {device}},
    {Command::IsRecordingDone, "isRecordingDone", {device}, {flag("done")}},
    {Command::RecordingFile, "recordingFile", {device, port}, {file, stream}},
    {Command::RecordingProgress, "recordingProgress", {device, port},
     {u64("numFrames"), flag("inPretrigger")}},
    {Command::RenameFile, "renameFile", {device, file, stream, text("name"), flag("notify")}, {},
     {EventType::FilesChanged, nullptr, "notify"}},
    {Command::SetFileInfo, "setFileInfo",
     {device, file, stream, text("name"), width, height, u64("numImages"),
      u64("numDroppedFrames"), optional(u64("startTime")), optional(u64("endTime")),
      u64("duration"), flag("notify")}, {text("name")},
     {EventType::FilesChanged, nullptr, "notify"}},
    {Command::NotifyFilesChanged, "notifyFilesChanged", {device}, {}, {EventType::FilesChanged}},
    {Command::PercentUsed, "percentUsed", {device}, {u8("percent")}},
    {Command::StartLive, "startLive", {device, port}, {text("mapping")}},
    {Command::StopLive, "stopLive", {device, port}},
    {Command::LiveFrame, "liveFrame", {device, port}, {width, height, u32("imageSize")}},
    {Command::LockGlobal, "lockGlobal"},
    {Command::UnlockGlobal, "unlockGlobal"},
    {Command::HardwareType, "hardwareType", {device}, {u8("hardwareType")}},
}};
// clang-format on

} // namespace fields

inline constexpr FieldList kEventFields = {fields::u32("type"), fields::u32("device"),
                                           fields::u32("port")};

inline constexpr FieldList kFileFields = {
    fields::text("name"),
    fields::text("port"),
    fields::text("camera"),
    fields::file,
    fields::stream,
    fields::width,
    fields::height,
    fields::u64("numFrames"),
    fields::u64("numDroppedFrames"),
    fields::u64("size"),
    fields::u64("timestamp"),
    fields::u64("duration"),
    fields::u64("startTime"),
    fields::u64("endTime"),
};

constexpr const CommandInfo &commandInfo(Command command)
{
    return fields::kByOrdinal[static_cast<size_t>(command)];
}

/// The whole table, by ordinal.
constexpr const std::array<CommandInfo, kCommandCount> &allCommands()
{
    return fields::kByOrdinal;
}

/// Null when no command has that number, or that name.
const CommandInfo *findCommand(uint64_t ordinal);
const CommandInfo *findCommand(std::string_view name);

} // namespace tavu
