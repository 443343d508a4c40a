#pragma once

#include "client/errors.h"
#include "client/reply.h"
#include "client/request.h"
#include "client/values.h"
#include "encoding/channel.h"
#include "encoding/message_reader.h"
#include "encoding/read_ahead.h"
#include "wire/commands.h"
#include "wire/names.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavu::client {

/// A connection to the service, with one operation per command. Each sends its request and waits
/// for the reply; a failing command raises ServiceError, a lost connection ConnectionError, an
/// unexpected reply ProtocolError.
///
/// A connection belongs to one thread; a program that also wants events at once makes a second
/// connection for them. What a connection holds on the service (open files, live views, its event
/// queue, the global lock) is given back when it ends.
///
/// Devices and ports are counted from 0. A device keeps its number while the service runs.
class Connection
{
public:
    /// Connects to the service that listens under a base name, and agrees on the protocol. Waits
    /// for up to 5 s where the service is busy with other clients. Raises ConnectionError when
    /// nobody listens there, and when it is another user's service at an address that anybody could
    /// have taken: that one gets no byte.
    explicit Connection(const std::string &name = kPipeName);
    /// Talks over a channel of the caller's making.
    explicit Connection(std::unique_ptr<Channel> channel);
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    ~Connection();

    /// Ends the connection. From any thread: a call that waits on another one then raises
    /// ConnectionError.
    void close();

    /// Any command by number, with any parameters (nil: none at all). Returns its values, nil for a
    /// command that has none.
    ObjectValue call(uint32_t ordinal, const ObjectValue &params);

    // Events. A connection can have one queue; it collects what happens from its creation on.
    uint32_t createEventQueue();
    void destroyEventQueue(uint32_t queueId);
    /// Waits for at most half a second; EventType::NoEvent when nothing happened.
    Event readEvent(uint32_t queueId);
    /// Doesn't wait; empty when nothing has happened.
    std::optional<Event> tryReadEvent(uint32_t queueId);
    /// Sends FilesChanged to every queue.
    void notifyFilesChanged(uint32_t device);

    // Devices.
    uint32_t deviceCount();
    std::string deviceName(uint32_t device);
    bool deviceConnected(uint32_t device);
    bool isCxp(uint32_t device);
    uint8_t portCount(uint32_t device);
    std::string portName(uint32_t device, uint8_t port);
    uint8_t percentUsed(uint32_t device);
    /// 0 unknown, 1 the emulated device, others the recorder's family.
    uint8_t hardwareType(uint32_t device);
    /// Prepares the storage: every recording on it is lost.
    void setup(uint32_t device);

    /// Waits until no other client holds the lock that clients use among themselves.
    void lockGlobal();
    void unlockGlobal();

    // Pairing and configuration of ports.
    void pairPort(uint32_t device, uint8_t port, const Pairing &pairing);
    /// Replaces the block of the camera that is already paired with the port.
    void repairPort(uint32_t device, uint8_t port, const Pairing &pairing);
    void unpairPort(uint32_t device, uint8_t port);
    /// Name of the paired camera; empty when the port is unpaired.
    std::string pairedTo(uint32_t device, uint8_t port);
    Bytes portIdentity(uint32_t device, uint8_t port);
    uint16_t framesPerPacket(uint32_t device, uint8_t port);
    PortConfig getPortConfig(uint32_t device, uint8_t port);
    void setPortConfig(uint32_t device, uint8_t port, const PortConfig &config);

    // Recording. It belongs to the device: it runs on without its client until somebody stops it.
    void startRecording(uint32_t device, const RecordingSettings &settings);
    /// Returns when the recording is stored. Needed also after a recording that ended by itself.
    void stopRecording(uint32_t device);
    void softwareTrigger(uint32_t device);
    bool isRecordingDone(uint32_t device);
    RecordingTarget recordingFile(uint32_t device, uint8_t port);
    RecordingProgress recordingProgress(uint32_t device, uint8_t port);

    // Recovery of a recording that was cut off.
    bool hasIncompleteFile(uint32_t device);
    void discardIncompleteFile(uint32_t device);
    void startRecovery(uint32_t device);
    void cancelRecovery(uint32_t device);
    RecoveryStatus recoveryStatus(uint32_t device);
    std::string recoveryError(uint32_t device);
    void finishRecovery(uint32_t device);

    // Recordings and playback; see playback.h for something more comfortable.
    std::vector<FileEntry> listFiles(uint32_t device);
    OpenedFile openFile(uint32_t device, uint32_t fileId, uint32_t streamId);
    OpenFileInfo fileInfo(uint32_t device, uint32_t openFileId);
    void closeFile(uint32_t device, uint32_t openFileId);
    /// Puts a frame into the file's region.
    void readFrame(uint32_t device, uint32_t openFileId, uint64_t frame);
    void removeFile(uint32_t device, uint32_t fileId, uint32_t streamId);
    Bytes fileIdentity(uint32_t device, uint32_t fileId, uint32_t streamId);
    /// \a notify tells whether all clients hear of it by a FilesChanged event.
    void renameFile(uint32_t device, uint32_t fileId, uint32_t streamId, const std::string &name,
                    bool notify = true);
    /// Returns the name that the recording got: a name in use is made unique by a number.
    std::string setFileInfo(uint32_t device, uint32_t fileId, uint32_t streamId,
                            const FileUpdate &update, bool notify = true);

    // Live view.
    /// Returns the name of the region in which the frames appear.
    std::string startLive(uint32_t device, uint8_t port);
    void stopLive(uint32_t device, uint8_t port);
    /// Puts the next frame into the region.
    FrameGeometry liveFrame(uint32_t device, uint8_t port);

    // Traffic with the cameras.
    void serialOpen(uint32_t device, uint8_t port, const SerialSettings &settings);
    uint32_t serialGetBaudRate(uint32_t device, uint8_t port);
    void serialSetBaudRate(uint32_t device, uint8_t port, uint32_t baudRate);
    /// May bring fewer bytes than \a size.
    Bytes serialRead(uint32_t device, uint8_t port, uint32_t size);
    /// Returns the count of bytes that went out.
    uint32_t serialWrite(uint32_t device, uint8_t port, std::span<const uint8_t> data);
    void serialClear(uint32_t device, uint8_t port);
    void serialClose(uint32_t device, uint8_t port);
    /// The bytes in the order of the camera's memory.
    Bytes registerRead(uint32_t device, uint8_t port, uint32_t addr, uint32_t size);
    void registerWrite(uint32_t device, uint8_t port, uint32_t addr, std::span<const uint8_t> data);

private:
    using Decoder = std::function<void(MessageReader &)>;

    /// Sends a request and reads its reply: \a decode reads the values, and isn't called when there
    /// are none.
    void exchange(const std::string &command, const std::vector<uint8_t> &request,
                  const Decoder &decode);
    ObjectValue exchange(const std::string &command, const std::vector<uint8_t> &request);
    /// Any command of the table, with its results; see connection_ask.h.
    template <Command command, typename... Arguments>
    auto ask(const Arguments &...arguments);
    Reply execute(Command command, std::initializer_list<Param> params);
    void send(const std::vector<uint8_t> &request);
    /// Closes the connection and raises what a reply that can't be read stands for.
    [[noreturn]] void failReading(const std::string &command, const char *reason);

    std::unique_ptr<Channel> channel_;
    ReadAhead replies_; ///< a service sends nothing but one reply to each request
};

} // namespace tavu::client
