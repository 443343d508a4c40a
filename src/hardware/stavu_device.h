#pragma once

#include "hardware/device_types.h"
#include "hardware/library/instance.h"
#include "hardware/open_files.h"
#include "hardware/port_state.h"
#include "registry/recorder_library.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace tavu {

struct PortConfig;

/// A real recorder, driven through the recorder library. Stands for one index of the library's
/// collection; fetches what it needs of the library anew in each operation.
///
/// Every operation holds the device's mutex for its whole length, library calls and drive writes
/// included. Those that can wait for a camera hand over: they take the port's grabLock or portLock
/// and then give the device's mutex up, so that a slow port holds up only itself. Nobody waits for
/// a port's lock with the device's mutex in hand, so it may be taken while a port's lock is held.
class STavuDevice final : public RecorderDevice
{
public:
    /// Doesn't talk to the library.
    explicit STavuDevice(boost::shared_ptr<Quillon::DeviceCollection> collection);
    STavuDevice(const STavuDevice &) = delete;
    STavuDevice &operator=(const STavuDevice &) = delete;
    /// Lets go of everything; stops nothing in the recorder.
    ~STavuDevice() override;

    uint32_t collectionIndex() override;
    void identify(uint32_t collectionIndex, const std::string &name) override;
    void connect() override;
    void reconnect() override;
    void markDisconnected() override;

    std::string name() override;
    bool isConnected() override;

    bool hasIncompleteFile() override;
    void discardIncompleteFile() override;
    void startRecovery() override;
    void finishRecovery() override;
    void cancelRecovery() override;
    uint32_t recoveryStatus() override;
    std::string recoveryError() override;

    void serialOpen(uint8_t port, uint32_t baudRate, uint8_t parity, uint8_t stopBits) override;
    uint32_t serialGetBaudRate(uint8_t port) override;
    void serialSetBaudRate(uint8_t port, uint32_t baudRate) override;
    uint32_t serialRead(uint8_t port, void *buffer, uint32_t size) override;
    uint32_t serialWrite(uint8_t port, const void *buffer, uint32_t size) override;
    void serialClear(uint8_t port) override;
    void serialClose(uint8_t port) override;
    void registerRead(uint8_t port, uint32_t addr, void *buffer, uint32_t size) override;
    void registerWrite(uint8_t port, uint32_t addr, const void *buffer, uint32_t size) override;

    uint8_t portCount() override;
    std::string portName(uint8_t port) override;
    bool isCxp() override;

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

    /// Doesn't ask whether a recording runs, nor whether a port is paired or configured.
    /// \a count and \a pretriggerCount are in the library's units.
    void startRecording(uint32_t portMask, uint8_t externalTrigger, uint8_t type, uint64_t count,
                        bool usePretrigger, uint64_t pretriggerCount) override;
    void stopRecording() override;
    void softwareTrigger() override;
    bool isRecordingDone() override;
    /// While a recording runs the file id is still the one before.
    void recordingFile(uint8_t port, uint32_t &fileId, uint32_t &streamId) override;
    void recordingProgress(uint8_t port, uint64_t &numFrames, bool &inPretrigger) override;

    void renameFile(uint32_t fileId, uint32_t streamId, const std::string &name) override;
    std::string setFileInfo(uint32_t fileId, uint32_t streamId, const FileUpdate &update) override;

    uint8_t percentUsed() override;
    uint8_t hardwareType() override;

    std::string startLive(uint8_t port) override;
    void stopLive(uint8_t port) override;
    void liveFrame(uint8_t port, uint16_t &width, uint16_t &height, uint32_t &imageSize) override;

private:
    class DriveFileGuard;
    class StreamGuard;

    /// Blocks of at most this many bytes stand inside other records; larger ones have a file.
    static constexpr uint32_t kInlineBlockLimit = 16384;

    static constexpr const char *kNoDriveSetText = "no drive set.";
    /// The second form of the text. Clients see both, each in its place.
    static constexpr const char *kNoDriveSetCapitalText = "No drive set.";

    struct NoDriveSet : std::runtime_error
    {
        using std::runtime_error::runtime_error;
    };

    /// Whether the ports have what the stored configuration says.
    enum class ConfigState
    {
        Unread,     ///< in this connection it wasn't looked for
        Unreadable, ///< the library failed in reading it
        Read,       ///< it was read, or there is none, or what is there is none
    };

    // What follows wants lock_ held.

    boost::shared_ptr<Quillon::Device> device();
    /// Raises \a text on a virtual device.
    static void refuseVirtual(Quillon::Device &device, const char *text);
    static boost::shared_ptr<Quillon::Port> libraryPort(Quillon::Device &device, uint64_t port);
    static boost::shared_ptr<Quillon::DriveSetCollection> driveSets(Quillon::Device &device);
    /// The one drive set that is ever used; raises NoDriveSet with \a absenceText when there is
    /// none.
    static boost::shared_ptr<Quillon::DriveSet> firstDriveSet(Quillon::DriveSetCollection &sets,
                                                              const char *absenceText);
    boost::shared_ptr<Quillon::DriveSet> firstDriveSet();
    static const DeviceType &typeOf(Quillon::Device &device);

    /// Raises "Invalid port index.".
    PortState &portState(uint64_t port);

    void buildPortTable();
    /// Catalogue and stored port configurations. A failure is told on standard error and ends it.
    void loadFromDrives();
    void configurePort(uint64_t port, uint16_t width, uint16_t height, uint32_t pixelFormat,
                       uint32_t tapGeometry);
    bool hasIncompleteFileNow();
    void createDefaultDriveSet(Quillon::DriveSetCollection &sets);

    /// Tells a CoaXPress camera to send, through its acquisition-start register. Failures are
    /// swallowed.
    static void cameraWakeUp(Quillon::Port &port);
    static void wakeIfSilent(Quillon::Port &port);
    void prepareRecording(Quillon::Device &device, Quillon::Record &record, uint32_t portMask,
                          std::vector<bool> &wasGrabbing);
    uint64_t portProgress(Quillon::Device &device, uint64_t port, bool &inPretrigger);

    /// The ports of one recording that went to one drive file.
    struct FileGroup
    {
        std::vector<uint8_t> ports;
        uint32_t fileId;
    };
    std::vector<FileGroup> stopPorts(Quillon::Device &device, Quillon::Record &record,
                                     std::vector<bool> &stillGrabbing);
    /// False when the file's record has no room for its recordings.
    bool finishFile(Quillon::DriveSet &set, const FileGroup &group,
                    const std::vector<bool> &stillGrabbing);
    /// A catalogue entry of a port's recording, without a camera's name.
    static FileRecord newFileRecord(const PortState &port, uint32_t fileId, uint32_t streamId,
                                    uint64_t numFrames, uint64_t timestamp);
    /// Writes a drive file's record. Blocks that it has no room for get files of their own, the
    /// largest first. Where there is no room even so, the record becomes an empty one, which scans
    /// can read, and the catalogue forgets the file; the result is false then.
    bool storeMetaList(Quillon::DriveFile &file, uint32_t fileId, std::vector<FileRecord> list);
    void recoverStream(Quillon::DriveFile &file, uint32_t index, std::vector<FileRecord> &list);

    void scanCatalogue();
    std::vector<FileRecord> readMetadata(Quillon::DriveSet &set, uint32_t fileId);
    /// Changes one entry of a drive file's metadata and of the catalogue; raises "File not found."
    void editFileRecord(uint32_t fileId, uint32_t streamId,
                        const std::function<void(FileRecord &)> &edit);

    DriveFileHandle *findDriveFile(uint32_t fileId);
    DriveFileHandle *acquireDriveFile(uint32_t fileId);
    void releaseDriveFile(DriveFileHandle *handle);
    OpenStreamHandle *acquireStream(DriveFileHandle *file, uint32_t streamId);
    void releaseOpenStream(OpenStreamHandle *handle);
    /// Raises "Invalid file id.".
    OpenFileSlot &openSlot(uint32_t openFileId);

    void setPairing(uint8_t port, const void *info, uint32_t infoSize, uint16_t numFramesPerPacket);

    // Records on the drive set.

    /// How large a record file has to be: as many steps on top of the first size as it takes, each
    /// rounded up to whole stripes. In bytes. With a step of 0 it never grows: what needs more
    /// raises "eof" before anything is done.
    struct RecordFileSize
    {
        uint64_t initial;
        uint64_t needed;
        uint64_t step;
    };
    /// Finds or makes the named file, and opens it to be written from its start.
    boost::shared_ptr<Quillon::DriveFile> ensureDriveFile(const std::string &name,
                                                          const RecordFileSize &size);
    boost::shared_ptr<Quillon::DriveFile> openNamedFile(const std::string &name);
    void writeConfigRecord();
    /// Raises "no config file." when there is none.
    void readConfigRecord();
    /// To be called before ports are changed whose configuration will then be written, or the
    /// drives wiped. Raises what the library raises, and has changed nothing then.
    void ensureConfigRead();
    /// Gives the ports what was found under their names.
    void adoptConfig(std::vector<PortConfig> &found);
    void writePairRecord(const PortState &port);
    void readPairRecord(PortState &port);
    void writeInfoRecord(uint32_t fileId, uint32_t streamId, const ByteBlock &block);
    void readInfoRecord(uint32_t fileId, uint32_t streamId, ByteBlock &block);

    /// Takes a port's lock beside the device's, which is given up while there is a wait. One that
    /// is passed over comes back without both.
    static TurnLock::Turn takeTurn(std::unique_lock<std::mutex> &deviceLock, TurnLock &portLock);
    /// Takes a port's lock and gives the device's up.
    static TurnLock::Turn handOver(std::unique_lock<std::mutex> &deviceLock, TurnLock &portLock);

    /// An open serial channel, with the lock of its port held.
    struct Channel
    {
        TurnLock::Turn turn;
        boost::shared_ptr<Quillon::SerialPort> &serial;
    };
    /// Takes the port's lock beside the device's. Raises "Serial port not open.".
    Channel takeChannel(std::unique_lock<std::mutex> &deviceLock, uint8_t port);
    /// The same, and gives the device's lock up. To be called without it.
    Channel handOverToChannel(uint8_t port);

    std::atomic<uint32_t> deviceIndex_{kNoIndex};
    std::string name_;
    std::mutex lock_;
    const boost::shared_ptr<Quillon::DeviceCollection> collection_;
    /// Made at the first connection and kept from then on: waiting operations hold on to it.
    std::unique_ptr<PortState[]> ports_;
    uint64_t portCount_ = 0;
    std::vector<OpenFileSlot> openFiles_;
    std::vector<FileRecord> catalogue_;
    std::list<DriveFileHandle> driveFiles_;   ///< at most one for a file
    std::list<OpenStreamHandle> openStreams_; ///< at most one for a stream
    uint64_t usedBytesAtStart_ = 0;
    uint64_t totalBytesAtStart_ = 0;
    bool recordingActive_ = false;
    boost::shared_ptr<Quillon::Recovery> recovery_; ///< empty when no job is known
    uint32_t recoveryStatusValue_ = 0;
    std::string recoveryErrorText_;
    uint32_t incompleteFileId_ = 0; ///< taken in hand by the last startRecovery()
    bool connected_ = false;        ///< what the last connection step found
    ConfigState configState_ = ConfigState::Unread;
    uint64_t recordStartTime_ = 0; ///< 100 ns since 1601-01-01 UTC
};

} // namespace tavu
