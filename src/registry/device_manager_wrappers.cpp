#include "registry/device_manager.h"

namespace tavu {

std::string DeviceManager::name(uint32_t index)
{
    return deviceAt(index).name();
}

bool DeviceManager::isConnected(uint32_t index)
{
    return deviceAt(index).isConnected();
}

bool DeviceManager::hasIncompleteFile(uint32_t index)
{
    return deviceAt(index).hasIncompleteFile();
}

void DeviceManager::discardIncompleteFile(uint32_t index)
{
    deviceAt(index).discardIncompleteFile();
}

void DeviceManager::startRecovery(uint32_t index)
{
    deviceAt(index).startRecovery();
}

void DeviceManager::finishRecovery(uint32_t index)
{
    deviceAt(index).finishRecovery();
}

void DeviceManager::cancelRecovery(uint32_t index)
{
    deviceAt(index).cancelRecovery();
}

uint32_t DeviceManager::recoveryStatus(uint32_t index)
{
    return deviceAt(index).recoveryStatus();
}

std::string DeviceManager::recoveryError(uint32_t index)
{
    return deviceAt(index).recoveryError();
}

void DeviceManager::serialOpen(uint32_t index, uint8_t port, uint32_t baudRate, uint8_t parity,
                               uint8_t stopBits)
{
    deviceAt(index).serialOpen(port, baudRate, parity, stopBits);
}

uint32_t DeviceManager::serialGetBaudRate(uint32_t index, uint8_t port)
{
    return deviceAt(index).serialGetBaudRate(port);
}

void DeviceManager::serialSetBaudRate(uint32_t index, uint8_t port, uint32_t baudRate)
{
    deviceAt(index).serialSetBaudRate(port, baudRate);
}

uint32_t DeviceManager::serialRead(uint32_t index, uint8_t port, void *buffer, uint32_t size)
{
    return deviceAt(index).serialRead(port, buffer, size);
}

uint32_t DeviceManager::serialWrite(uint32_t index, uint8_t port, const void *buffer, uint32_t size)
{
    return deviceAt(index).serialWrite(port, buffer, size);
}

void DeviceManager::serialClear(uint32_t index, uint8_t port)
{
    deviceAt(index).serialClear(port);
}

void DeviceManager::serialClose(uint32_t index, uint8_t port)
{
    deviceAt(index).serialClose(port);
}

void DeviceManager::registerRead(uint32_t index, uint8_t port, uint32_t addr, void *buffer,
                                 uint32_t size)
{
    deviceAt(index).registerRead(port, addr, buffer, size);
}

void DeviceManager::registerWrite(uint32_t index, uint8_t port, uint32_t addr, const void *buffer,
                                  uint32_t size)
{
    deviceAt(index).registerWrite(port, addr, buffer, size);
}

uint8_t DeviceManager::portCount(uint32_t index)
{
    return deviceAt(index).portCount();
}

std::string DeviceManager::portName(uint32_t index, uint8_t port)
{
    return deviceAt(index).portName(port);
}

bool DeviceManager::isCxp(uint32_t index)
{
    return deviceAt(index).isCxp();
}

std::vector<FileRecord> DeviceManager::listFiles(uint32_t index)
{
    return deviceAt(index).listFiles();
}

void DeviceManager::openFile(uint32_t index, uint32_t &openFileId, std::string &mapping,
                             uint32_t fileId, uint32_t streamId)
{
    deviceAt(index).openFile(openFileId, mapping, fileId, streamId);
}

void DeviceManager::fileInfo(uint32_t index, uint32_t openFileId, uint16_t &width, uint16_t &height,
                             uint32_t &imageSize, uint64_t &numFrames, uint64_t &size)
{
    deviceAt(index).fileInfo(openFileId, width, height, imageSize, numFrames, size);
}

void DeviceManager::closeFile(uint32_t index, uint32_t openFileId)
{
    deviceAt(index).closeFile(openFileId);
}

void DeviceManager::readFrame(uint32_t index, uint32_t openFileId, uint64_t frame)
{
    deviceAt(index).readFrame(openFileId, frame);
}

void DeviceManager::removeFile(uint32_t index, uint32_t fileId, uint32_t streamId)
{
    deviceAt(index).removeFile(fileId, streamId);
    notifyFilesChanged(index);
}

void DeviceManager::fileIdentity(uint32_t index, uint32_t fileId, uint32_t streamId,
                                 ByteBlock &data)
{
    deviceAt(index).fileIdentity(fileId, streamId, data);
}

void DeviceManager::pairPort(uint32_t index, uint8_t port, const std::string &identity,
                             const void *info, uint32_t infoSize, uint16_t numFramesPerPacket)
{
    deviceAt(index).pairPort(port, identity, info, infoSize, numFramesPerPacket);
    broadcast(DeviceEvent{EventType::PairingChanged, index, port});
}

void DeviceManager::repairPort(uint32_t index, uint8_t port, const std::string &identity,
                               const void *info, uint32_t infoSize, uint16_t numFramesPerPacket)
{
    deviceAt(index).repairPort(port, identity, info, infoSize, numFramesPerPacket);
}

void DeviceManager::unpairPort(uint32_t index, uint8_t port)
{
    deviceAt(index).unpairPort(port);
    broadcast(DeviceEvent{EventType::PairingChanged, index, port});
}

void DeviceManager::portIdentity(uint32_t index, uint8_t port, ByteBlock &data)
{
    deviceAt(index).portIdentity(port, data);
}

uint16_t DeviceManager::framesPerPacket(uint32_t index, uint8_t port)
{
    return deviceAt(index).framesPerPacket(port);
}

std::string DeviceManager::pairedTo(uint32_t index, uint8_t port)
{
    return deviceAt(index).pairedTo(port);
}

void DeviceManager::getPortConfig(uint32_t index, uint8_t port, uint16_t &width, uint16_t &height,
                                  uint32_t &pixelFormat, uint32_t &tapGeometry)
{
    deviceAt(index).getPortConfig(port, width, height, pixelFormat, tapGeometry);
}

void DeviceManager::setPortConfig(uint32_t index, uint8_t port, uint16_t width, uint16_t height,
                                  uint32_t pixelFormat, uint32_t tapGeometry)
{
    deviceAt(index).setPortConfig(port, width, height, pixelFormat, tapGeometry);
}

void DeviceManager::setup(uint32_t index)
{
    deviceAt(index).setup();
}

void DeviceManager::startRecording(uint32_t index, uint32_t portMask, uint8_t externalTrigger,
                                   uint8_t type, uint64_t count, bool usePretrigger,
                                   uint64_t pretriggerCount)
{
    deviceAt(index).startRecording(portMask, externalTrigger, type, count, usePretrigger,
                                   pretriggerCount);
    broadcast(DeviceEvent{EventType::RecordingStarted, index, portMask});
}

void DeviceManager::stopRecording(uint32_t index)
{
    deviceAt(index).stopRecording();
    broadcast(DeviceEvent{EventType::RecordingStopped, index, 0});
}

void DeviceManager::softwareTrigger(uint32_t index)
{
    deviceAt(index).softwareTrigger();
}

bool DeviceManager::isRecordingDone(uint32_t index)
{
    return deviceAt(index).isRecordingDone();
}

void DeviceManager::recordingFile(uint32_t index, uint8_t port, uint32_t &fileId,
                                  uint32_t &streamId)
{
    deviceAt(index).recordingFile(port, fileId, streamId);
}

void DeviceManager::recordingProgress(uint32_t index, uint8_t port, uint64_t &numFrames,
                                      bool &inPretrigger)
{
    deviceAt(index).recordingProgress(port, numFrames, inPretrigger);
}

void DeviceManager::renameFile(uint32_t index, uint32_t fileId, uint32_t streamId,
                               const std::string &name, bool notify)
{
    deviceAt(index).renameFile(fileId, streamId, name);
    if (notify)
        notifyFilesChanged(index);
}

std::string DeviceManager::setFileInfo(uint32_t index, uint32_t fileId, uint32_t streamId,
                                       const std::string &name, uint16_t width, uint16_t height,
                                       uint64_t numImages, uint64_t numDroppedFrames,
                                       uint64_t startTime, uint64_t endTime, uint64_t duration,
                                       bool notify)
{
    std::string usedName =
        deviceAt(index).setFileInfo(fileId, streamId, name, width, height, numImages,
                                    numDroppedFrames, startTime, endTime, duration);
    if (notify)
        notifyFilesChanged(index);
    return usedName;
}

uint8_t DeviceManager::percentUsed(uint32_t index)
{
    return deviceAt(index).percentUsed();
}

uint8_t DeviceManager::hardwareType(uint32_t index)
{
    return deviceAt(index).hardwareType();
}

std::string DeviceManager::startLive(uint32_t index, uint8_t port)
{
    return deviceAt(index).startLive(port);
}

void DeviceManager::stopLive(uint32_t index, uint8_t port)
{
    deviceAt(index).stopLive(port);
}

void DeviceManager::liveFrame(uint32_t index, uint8_t port, uint16_t &width, uint16_t &height,
                              uint32_t &imageSize)
{
    deviceAt(index).liveFrame(port, width, height, imageSize);
}

} // namespace tavu
