#pragma once

#include "hardware/catalogue.h"
#include "hardware/device_types.h"
#include "hardware/open_files.h"
#include "hardware/port_setup.h"
#include "hardware/port_table.h"
#include "hardware/recording_control.h"
#include "hardware/recording_recovery.h"
#include "registry/recorder_library.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tavu {

/// A real recorder, driven through the recorder library. Stands for one index of the library's
/// collection. This class is the face of the device and keeps its locks; the work is done by the
/// parts, which know nothing of locks.
///
/// Every operation holds the device's mutex for its whole length, library calls and drive writes
/// included. Those that can wait for a camera hand over: they take the port's grabLock or portLock
/// and then give the device's mutex up, so that a slow port holds up only itself. Nobody waits for
/// a port's lock with the device's mutex in hand, so it may be taken while a port's lock is held.
class STavuDevice final : public RecorderDevice
{
public:
    /// Doesn't talk to the library.
    explicit STavuDevice(boost::shared_ptr<Quillon::DeviceCollection> collection)
        : library_(std::move(collection))
    {
    }

    uint32_t collectionIndex() override { return library_.index(); }
    void identify(uint32_t collectionIndex, const std::string &name) override;
    void connect() override;
    void reconnect() override;
    void markDisconnected() override;

    std::string name() override { return *locked(name_); }
    bool isConnected() override { return locked(library_)->isConnected(); }

    bool hasIncompleteFile() override { return locked(recovery_)->hasIncompleteFile(); }
    void discardIncompleteFile() override { locked(recovery_)->discardIncompleteFile(); }
    void startRecovery() override { locked(recovery_)->start(); }
    void finishRecovery() override { locked(recovery_)->finish(); }
    void cancelRecovery() override { locked(recovery_)->cancel(); }
    uint32_t recoveryStatus() override
    {
        return static_cast<uint32_t>(locked(recovery_)->status());
    }
    std::string recoveryError() override { return locked(recovery_)->error(); }

    void serialOpen(uint8_t port, uint32_t baudRate, uint8_t parity, uint8_t stopBits) override;
    uint32_t serialGetBaudRate(uint8_t port) override;
    void serialSetBaudRate(uint8_t port, uint32_t baudRate) override;
    uint32_t serialRead(uint8_t port, void *buffer, uint32_t size) override;
    uint32_t serialWrite(uint8_t port, const void *buffer, uint32_t size) override;
    void serialClear(uint8_t port) override;
    void serialClose(uint8_t port) override;
    void registerRead(uint8_t port, uint32_t addr, void *buffer, uint32_t size) override;
    void registerWrite(uint8_t port, uint32_t addr, const void *buffer, uint32_t size) override;

    uint8_t portCount() override { return static_cast<uint8_t>(locked(ports_)->size()); }
    std::string portName(uint8_t port) override { return locked(ports_)->at(port).config.name; }
    bool isCxp() override { return typeOf(*locked(library_)->device()).isCxp; }

    std::vector<FileRecord> listFiles() override { return locked(catalogue_)->list(); }
    void openFile(uint32_t &openFileId, std::string &mapping, uint32_t fileId,
                  uint32_t streamId) override
    {
        locked(openFiles_)->open(openFileId, mapping, fileId, streamId);
    }
    void fileInfo(uint32_t openFileId, uint16_t &width, uint16_t &height, uint32_t &imageSize,
                  uint64_t &numFrames, uint64_t &size) override;
    void closeFile(uint32_t openFileId) override { locked(openFiles_)->close(openFileId); }
    void readFrame(uint32_t openFileId, uint64_t frame) override
    {
        locked(openFiles_)->readFrame(openFileId, frame);
    }
    void removeFile(uint32_t fileId, uint32_t streamId) override
    {
        locked(catalogue_)->removeFile(fileId, streamId);
    }
    void fileIdentity(uint32_t fileId, uint32_t streamId, ByteBlock &data) override
    {
        locked(catalogue_)->fileIdentity(fileId, streamId, data);
    }

    void pairPort(uint8_t port, const std::string &identity, const void *info, uint32_t infoSize,
                  uint16_t numFramesPerPacket) override;
    void repairPort(uint8_t port, const std::string &identity, const void *info, uint32_t infoSize,
                    uint16_t numFramesPerPacket) override;
    void unpairPort(uint8_t port) override { locked(portSetup_)->unpair(port); }
    void portIdentity(uint8_t port, ByteBlock &data) override
    {
        data = locked(portSetup_)->identity(port);
    }
    uint16_t framesPerPacket(uint8_t port) override
    {
        return locked(ports_)->at(port).config.framesPerPacket;
    }
    std::string pairedTo(uint8_t port) override { return locked(ports_)->at(port).config.pairedTo; }
    void getPortConfig(uint8_t port, uint16_t &width, uint16_t &height, uint32_t &pixelFormat,
                       uint32_t &tapGeometry) override;
    void setPortConfig(uint8_t port, uint16_t width, uint16_t height, uint32_t pixelFormat,
                       uint32_t tapGeometry) override
    {
        locked(portSetup_)->setFormat(port, {width, height, pixelFormat, tapGeometry});
    }
    void setup() override;

    void startRecording(uint32_t portMask, uint8_t externalTrigger, uint8_t type, uint64_t count,
                        bool usePretrigger, uint64_t pretriggerCount) override;
    void stopRecording() override { locked(recording_)->stop(); }
    void softwareTrigger() override { locked(recording_)->softwareTrigger(); }
    bool isRecordingDone() override { return locked(recording_)->isDone(); }
    /// While a recording runs the file id is still the one before.
    void recordingFile(uint8_t port, uint32_t &fileId, uint32_t &streamId) override;
    void recordingProgress(uint8_t port, uint64_t &numFrames, bool &inPretrigger) override
    {
        locked(recording_)->progress(port, numFrames, inPretrigger);
    }

    void renameFile(uint32_t fileId, uint32_t streamId, const std::string &name) override
    {
        locked(catalogue_)->edit(fileId, streamId, [&](FileRecord &record) { record.name = name; });
    }
    std::string setFileInfo(uint32_t fileId, uint32_t streamId, const FileUpdate &update) override;

    uint8_t percentUsed() override { return locked(recording_)->percentUsed(); }
    uint8_t hardwareType() override { return typeOf(*locked(library_)->device()).hardwareType; }

    std::string startLive(uint8_t port) override;
    void stopLive(uint8_t port) override;
    void liveFrame(uint8_t port, uint16_t &width, uint16_t &height, uint32_t &imageSize) override;

private:
    /// A part of the device with the device's mutex, which is held to the end of the expression.
    template <typename Part>
    struct Locked
    {
        std::lock_guard<std::mutex> guard;
        Part &part;

        Part &operator*() const { return part; }
        Part *operator->() const { return &part; }
    };
    template <typename Part>
    Locked<Part> locked(Part &part)
    {
        return {std::lock_guard<std::mutex>(lock_), part};
    }

    /// What the first connection and later ones have in common. Wants lock_ held.
    void finishConnection();

    struct Channel;
    /// Takes a port's lock beside the device's. Raises "Serial port not open.".
    Channel takeChannel(std::unique_lock<std::mutex> &deviceLock, uint8_t port);
    /// The same, and gives the device's lock up. To be called without it.
    Channel handOverToChannel(uint8_t port);

    std::mutex lock_; ///< guards all that follows
    std::string name_;
    bool connected_ = false; ///< what the last connection step found
    LibraryAccess library_;
    PortTable ports_;
    OpenFiles openFiles_{library_};
    Catalogue catalogue_{library_, openFiles_};
    PortSetup portSetup_{library_, ports_};
    RecordingControl recording_{library_, ports_, catalogue_};
    RecordingRecovery recovery_{library_, ports_, catalogue_};
};

} // namespace tavu
