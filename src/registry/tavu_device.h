#pragma once

#include "registry/file_record.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tavu {

/// A recorder as everything above the device layer sees it. Any thread may call any operation at
/// any time; each device serialises its operations on a mutex of its own. Every failure is an
/// exception whose text goes to the client; there is no rollback, and the device stays usable.
///
/// A port is an index below portCount(). A mapping is the name of a SharedRegion.
class ITavuDevice
{
public:
    virtual ~ITavuDevice() = default;

    virtual std::string name() = 0;
    virtual bool isConnected() = 0;

    virtual bool hasIncompleteFile() = 0;
    virtual void discardIncompleteFile() = 0;
    virtual void startRecovery() = 0;
    virtual void finishRecovery() = 0;
    virtual void cancelRecovery() = 0;
    /// A RecoveryStatus as a number.
    virtual uint32_t recoveryStatus() = 0;
    virtual std::string recoveryError() = 0;

    virtual void serialOpen(uint8_t port, uint32_t baudRate, uint8_t parity, uint8_t stopBits) = 0;
    virtual uint32_t serialGetBaudRate(uint8_t port) = 0;
    virtual void serialSetBaudRate(uint8_t port, uint32_t baudRate) = 0;
    /// Returns the count of bytes delivered to \a buffer, which has room for \a size.
    virtual uint32_t serialRead(uint8_t port, void *buffer, uint32_t size) = 0;
    virtual uint32_t serialWrite(uint8_t port, const void *buffer, uint32_t size) = 0;
    virtual void serialClear(uint8_t port) = 0;
    virtual void serialClose(uint8_t port) = 0;
    /// Fills all \a size bytes of \a buffer or raises.
    virtual void registerRead(uint8_t port, uint32_t addr, void *buffer, uint32_t size) = 0;
    virtual void registerWrite(uint8_t port, uint32_t addr, const void *buffer, uint32_t size) = 0;

    virtual uint8_t portCount() = 0;
    virtual std::string portName(uint8_t port) = 0;
    virtual bool isCxp() = 0;

    virtual std::vector<FileRecord> listFiles() = 0;
    virtual void openFile(uint32_t &openFileId, std::string &mapping, uint32_t fileId,
                          uint32_t streamId) = 0;
    /// \a imageSize and \a size are in bytes.
    virtual void fileInfo(uint32_t openFileId, uint16_t &width, uint16_t &height,
                          uint32_t &imageSize, uint64_t &numFrames, uint64_t &size) = 0;
    virtual void closeFile(uint32_t openFileId) = 0;
    /// Returns when the frame stands in the open file's region.
    virtual void readFrame(uint32_t openFileId, uint64_t frame) = 0;
    virtual void removeFile(uint32_t fileId, uint32_t streamId) = 0;
    virtual void fileIdentity(uint32_t fileId, uint32_t streamId, ByteBlock &data) = 0;

    virtual void pairPort(uint8_t port, const std::string &identity, const void *info,
                          uint32_t infoSize, uint16_t numFramesPerPacket) = 0;
    virtual void repairPort(uint8_t port, const std::string &identity, const void *info,
                            uint32_t infoSize, uint16_t numFramesPerPacket) = 0;
    virtual void unpairPort(uint8_t port) = 0;
    virtual void portIdentity(uint8_t port, ByteBlock &data) = 0;
    virtual uint16_t framesPerPacket(uint8_t port) = 0;
    /// Name of the paired camera; empty when unpaired.
    virtual std::string pairedTo(uint8_t port) = 0;
    virtual void getPortConfig(uint8_t port, uint16_t &width, uint16_t &height,
                               uint32_t &pixelFormat, uint32_t &tapGeometry) = 0;
    virtual void setPortConfig(uint8_t port, uint16_t width, uint16_t height, uint32_t pixelFormat,
                               uint32_t tapGeometry) = 0;
    virtual void setup() = 0;

    /// Bit n of \a portMask selects port n. \a externalTrigger has the bits of namespace trigger;
    /// \a type is a StopCondition as a number, and tells what \a count limits.
    virtual void startRecording(uint32_t portMask, uint8_t externalTrigger, uint8_t type,
                                uint64_t count, bool usePretrigger, uint64_t pretriggerCount) = 0;
    virtual void stopRecording() = 0;
    virtual void softwareTrigger() = 0;
    virtual bool isRecordingDone() = 0;
    virtual void recordingFile(uint8_t port, uint32_t &fileId, uint32_t &streamId) = 0;
    virtual void recordingProgress(uint8_t port, uint64_t &numFrames, bool &inPretrigger) = 0;

    virtual void renameFile(uint32_t fileId, uint32_t streamId, const std::string &name) = 0;
    /// Returns the name that was finally used.
    virtual std::string setFileInfo(uint32_t fileId, uint32_t streamId,
                                    const FileUpdate &update) = 0;

    virtual uint8_t percentUsed() = 0;
    virtual uint8_t hardwareType() = 0;

    virtual std::string startLive(uint8_t port) = 0;
    virtual void stopLive(uint8_t port) = 0;
    /// Returns when a frame stands in the port's region; its geometry is handed back.
    virtual void liveFrame(uint8_t port, uint16_t &width, uint16_t &height,
                           uint32_t &imageSize) = 0;
};

} // namespace tavu
