#include "hardware/stavu_device.h"

#include "hardware/binding/handles.h"
#include "hardware/failure_text.h"
#include "platform/diagnostics.h"
#include "records/recording_name.h"

#include <stdexcept>
#include <utility>

namespace tavu {

namespace {

ByteBlock blockOf(const void *bytes, uint32_t size)
{
    const auto *begin = static_cast<const uint8_t *>(bytes);
    return ByteBlock(begin, begin + size);
}

} // namespace

void STavuDevice::identify(uint32_t collectionIndex, const std::string &name)
{
    std::lock_guard guard(lock_);
    library_.setIndex(collectionIndex);
    name_ = name;
}

void STavuDevice::connect()
{
    std::lock_guard guard(lock_);
    name_ = textOf(library_.device()->name());
    ports_.build(*library_.device());
    finishConnection();
    // Raises on a recorder without a drive set, which is connected all the same.
    if (recovery_.hasIncompleteFile())
        printLine(stderr, "HasIncompleteFile\n");
}

void STavuDevice::reconnect()
{
    std::lock_guard guard(lock_);
    if (connected_)
        return;
    if (ports_.size() == 0)
        ports_.build(*library_.device());
    finishConnection();
}

// The recorder is connected with as much of catalogue and configurations as can be read.
void STavuDevice::finishConnection()
{
    portSetup_.beginConnection();
    try {
        catalogue_.scan();
        portSetup_.load();
    } catch (const NoDriveSet &error) {
        portSetup_.noteNothingStored();
        printLine(stderr, "%s\n", error.what());
    } catch (...) {
        if (const char *text = currentFailureText())
            printLine(stderr, "%s\n", text);
    }
    connected_ = library_.isConnected();
    recovery_.forgetStatus();
}

void STavuDevice::markDisconnected()
{
    std::lock_guard guard(lock_);
    catalogue_.clear();
    connected_ = false;
}

void STavuDevice::fileInfo(uint32_t openFileId, uint16_t &width, uint16_t &height,
                           uint32_t &imageSize, uint64_t &numFrames, uint64_t &size)
{
    std::lock_guard guard(lock_);
    const OpenFileSlot &slot = openFiles_.slot(openFileId);
    width = slot.width;
    height = slot.height;
    imageSize = slot.imageSize;
    numFrames = slot.numFrames;
    size = slot.size;
}

std::string STavuDevice::setFileInfo(uint32_t fileId, uint32_t streamId, const FileUpdate &update)
{
    std::lock_guard guard(lock_);
    std::string finalName = unusedRecordingName(catalogue_.list(), update.name);
    catalogue_.edit(fileId, streamId, [&](FileRecord &record) {
        record.name = finalName;
        update.applyTo(record);
    });
    return finalName;
}

void STavuDevice::pairPort(uint8_t port, const std::string &identity, const void *info,
                           uint32_t infoSize, uint16_t numFramesPerPacket)
{
    locked(portSetup_)->pair(port, identity, blockOf(info, infoSize), numFramesPerPacket);
}

void STavuDevice::repairPort(uint8_t port, const std::string &identity, const void *info,
                             uint32_t infoSize, uint16_t numFramesPerPacket)
{
    locked(portSetup_)->repair(port, identity, blockOf(info, infoSize), numFramesPerPacket);
}

void STavuDevice::getPortConfig(uint8_t port, uint16_t &width, uint16_t &height,
                                uint32_t &pixelFormat, uint32_t &tapGeometry)
{
    std::lock_guard guard(lock_);
    const PortFormat &format = ports_.at(port).config.format;
    width = format.width;
    height = format.height;
    pixelFormat = format.pixelFormat;
    tapGeometry = format.tapGeometry;
}

void STavuDevice::setup()
{
    std::lock_guard guard(lock_);
    if (openFiles_.anyOpen())
        throw std::runtime_error("Can't setup tavu while files are open.");
    portSetup_.wipeDrives();
}

void STavuDevice::startRecording(uint32_t portMask, uint8_t externalTrigger, uint8_t type,
                                 uint64_t count, bool usePretrigger, uint64_t pretriggerCount)
{
    if (portMask == 0)
        throw std::runtime_error("At least one port must be enabled for record.");
    locked(recording_)
        ->start(portMask, {externalTrigger, type, count, usePretrigger, pretriggerCount});
}

void STavuDevice::recordingFile(uint8_t port, uint32_t &fileId, uint32_t &streamId)
{
    std::lock_guard guard(lock_);
    const PortState &state = ports_.at(port);
    fileId = state.fileId;
    streamId = state.streamId;
}

} // namespace tavu
