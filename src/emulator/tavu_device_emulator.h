#pragma once

#include "emulator/emulator_folder.h"
#include "emulator/recording_worker.h"
#include "platform/files.h"
#include "platform/owned_mutex.h"
#include "records/config_record.h"
#include "records/record_file.h"
#include "registry/tavu_device.h"
#include "service/transport/shared_region.h"
#include "wire/values.h"

#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

namespace tavu {

/// A recorder made of plain files and synthetic frames: one port, no camera. It keeps its
/// configuration and its recordings in a folder of the user's, and finds them there again.
class TavuDeviceEmulator final : public ITavuDevice
{
public:
    /// Reads what the folder holds. What is missing or broken is passed over; what can't be read is
    /// tried again before it is overwritten.
    TavuDeviceEmulator();
    /// Cuts a running recording off after a whole frame and leaves it as the incomplete file.
    ~TavuDeviceEmulator() override;

    std::string name() override { return kDeviceName; }
    bool isConnected() override { return true; }

    bool hasIncompleteFile() override;
    void discardIncompleteFile() override;
    void startRecovery() override;
    void finishRecovery() override;
    void cancelRecovery() override {}
    uint32_t recoveryStatus() override;
    std::string recoveryError() override { return {}; }

    void serialOpen(uint8_t, uint32_t, uint8_t, uint8_t) override { refuse(); }
    uint32_t serialGetBaudRate(uint8_t) override { refuse(); }
    void serialSetBaudRate(uint8_t, uint32_t) override { refuse(); }
    uint32_t serialRead(uint8_t, void *, uint32_t) override { refuse(); }
    uint32_t serialWrite(uint8_t, const void *, uint32_t) override { refuse(); }
    void serialClear(uint8_t) override { refuse(); }
    void serialClose(uint8_t) override { refuse(); }
    void registerRead(uint8_t, uint32_t, void *, uint32_t) override { refuse(); }
    void registerWrite(uint8_t, uint32_t, const void *, uint32_t) override { refuse(); }

    uint8_t portCount() override { return 1; }
    std::string portName(uint8_t) override { return kPortName; }
    bool isCxp() override { return false; }

    std::vector<FileRecord> listFiles() override;
    void openFile(uint32_t &openFileId, std::string &mapping, uint32_t fileId,
                  uint32_t streamId) override;
    void fileInfo(uint32_t openFileId, uint16_t &width, uint16_t &height, uint32_t &imageSize,
                  uint64_t &numFrames, uint64_t &size) override;
    void closeFile(uint32_t openFileId) override;
    void readFrame(uint32_t openFileId, uint64_t frame) override;
    void removeFile(uint32_t fileId, uint32_t streamId) override;
    void fileIdentity(uint32_t fileId, uint32_t streamId, ByteBlock &data) override;

    void pairPort(uint8_t port, const std::string &identity, const void *info, uint32_t infoSize,
                  uint16_t numFramesPerPacket) override;
    void repairPort(uint8_t port, const std::string &identity, const void *info, uint32_t infoSize,
                    uint16_t numFramesPerPacket) override;
    void unpairPort(uint8_t port) override;
    void portIdentity(uint8_t port, ByteBlock &data) override;
    uint16_t framesPerPacket(uint8_t port) override;
    std::string pairedTo(uint8_t port) override;
    void getPortConfig(uint8_t port, uint16_t &width, uint16_t &height, uint32_t &pixelFormat,
                       uint32_t &tapGeometry) override;
    void setPortConfig(uint8_t port, uint16_t width, uint16_t height, uint32_t pixelFormat,
                       uint32_t tapGeometry) override;
    void setup() override;

    /// Raises "Too many recordings." before a list of recordings gets longer than can be read back.
    /// A request for an external trigger is swallowed: this device has none.
    void startRecording(uint32_t portMask, uint8_t externalTrigger, uint8_t type, uint64_t count,
                        bool usePretrigger, uint64_t pretriggerCount) override;
    /// Raises "Failed to rename file: <path>" when the frames can't get their final name; a further
    /// stop tries that again.
    void stopRecording() override;
    void softwareTrigger() override { const std::lock_guard guard(lock_); }
    bool isRecordingDone() override;
    void recordingFile(uint8_t port, uint32_t &fileId, uint32_t &streamId) override;
    void recordingProgress(uint8_t port, uint64_t &numFrames, bool &inPretrigger) override;

    void renameFile(uint32_t fileId, uint32_t streamId, const std::string &name) override;
    std::string setFileInfo(uint32_t fileId, uint32_t streamId, const FileUpdate &update) override;

    uint8_t percentUsed() override { return 5; }
    uint8_t hardwareType() override { return kEmulatedDevice; }

    std::string startLive(uint8_t port) override;
    void stopLive(uint8_t port) override;
    void liveFrame(uint8_t port, uint16_t &width, uint16_t &height, uint32_t &imageSize) override;

private:
    using FileList = std::vector<FileRecord>;

    static constexpr uint32_t kNoFileId = 0xFFFFFFFFu;
    static constexpr uint64_t kNeverLookedUp = ~uint64_t(0);
    static constexpr const char *kDeviceName = "Emulator";
    static constexpr const char *kPortName = "Emu";
    static constexpr const char *kNotReadyText = "Not paired/configured.";

    /// A file open for playback; free when the file isn't open. Its place in the list is the number
    /// that clients hold.
    struct OpenSlot
    {
        uint32_t fileId = kNoFileId;
        InputFile file;
        uint64_t position = 0; ///< where the last read ended, in bytes
        SharedRegion region;
        // Where the file's entries are, as long as takenOut is what the lists' takenOut_ is.
        size_t stored = 0;
        size_t visible = 0;
        uint64_t takenOut = kNeverLookedUp;
    };

    /// A recording's entry in both lists.
    struct FileEntry
    {
        FileList::iterator stored;  ///< in the catalogue
        FileList::iterator visible; ///< in the list that users see
    };

    [[noreturn]] static void refuse() { throw std::runtime_error("not supported"); }

    // Steps of the construction; operations repeat those that failed. needFiles and needPortConfig
    // raise "Failed to open file: <path>"; what they read mustn't be written then.
    void needFolder();
    void needFiles();
    void needPortConfig();

    void loadVisibleFiles(RecordBuffer &buffer);
    void writeCatalogue();
    void writePortConfig();
    void writeFileRecord(const std::string &stem, const FileRecord &record);
    void setPairing(const std::string &identity, const void *info, uint32_t infoSize,
                    uint16_t numFramesPerPacket);

    /// Raises "Invalid port". Reads the port's configuration if that has failed so far.
    void checkPort(uint8_t port);
    /// Raises "Too many recordings." for a catalogue that couldn't be read back.
    static void checkCatalogueLength(size_t length);
    /// Raises "Invalid fileId" when either list lacks the id.
    FileEntry findFile(uint32_t fileId);
    /// The same for an open file. Only looks through the lists after entries were taken out: that
    /// would cost more than to read a small frame.
    FileEntry findFile(OpenSlot &slot);
    /// Raises "Invalid fileId" for a number never handed out and "File not open" for a free slot.
    OpenSlot &openSlot(uint32_t openFileId);
    uint32_t nextFileId() const;
    /// An entry of the present camera and geometry, with the present time.
    FileRecord newFileRecord(uint32_t fileId, const std::string &stem);
    void launchWorker(RecordingJob job);
    void endWorker();
    /// Gives the recorded frames their final name; returns their bytes, 0 if they were discarded.
    uint64_t keepFrames(const std::string &stem);

    const EmulatorFolder folder_;
    OwnedMutex lock_;
    FileList visibleFiles_; ///< what users see; names are free text
    PortConfig port_;
    std::vector<OpenSlot> slots_;
    FileList catalogue_;    ///< what lies on the disk; a name is the stem of a recording's files
    uint64_t takenOut_ = 0; ///< how often entries of the lists were taken out or put back
    uint32_t recoveryFileId_ = kNoFileId;
    uint32_t currentFileId_ = kNoFileId;
    RecordingState recording_;
    std::thread recordThread_; ///< joinable from a start to the stop, however the recording ends
    bool stopPending_ = false; ///< a stop has ended the recording and couldn't keep its frames yet
    bool folderMade_ = false;
    bool filesKnown_ = false;
    bool portConfigKnown_ = false;
    SharedRegion liveRegion_;
    uint32_t liveCounter_ = 0;
    uint32_t livePixels_ = 0;
};

} // namespace tavu
