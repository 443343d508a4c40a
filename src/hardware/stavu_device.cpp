#include "hardware/stavu_device.h"

#include "hardware/binding/handles.h"
#include "platform/diagnostics.h"
#include "hardware/failure_text.h"

#include <stdexcept>
#include <utility>

namespace tavu {

namespace {

constexpr uint32_t kConnectedState = 0;
constexpr uint32_t kVirtualKind = 1;

/// The low 8 bits of the quotient in percent, cut towards zero. Not clamped: an estimate can be
/// above 100. A quotient that no 64-bit integer holds, or that is none at all, counts as 0.
uint8_t percent(uint64_t used, uint64_t total)
{
    constexpr double kLimit = 9223372036854775808.0;
    const double quotient = static_cast<double>(used) / static_cast<double>(total) * 100;
    return quotient < kLimit ? static_cast<uint8_t>(static_cast<uint64_t>(quotient)) : 0;
}

} // namespace

STavuDevice::STavuDevice(boost::shared_ptr<Quillon::DeviceCollection> collection)
    : collection_(std::move(collection))
{
}

STavuDevice::~STavuDevice() = default;

uint32_t STavuDevice::collectionIndex()
{
    return deviceIndex_;
}

void STavuDevice::identify(uint32_t collectionIndex, const std::string &name)
{
    std::lock_guard guard(lock_);
    deviceIndex_ = collectionIndex;
    name_ = name;
}

void STavuDevice::connect()
{
    std::lock_guard guard(lock_);
    name_ = textOf(device()->name());
    buildPortTable();
    loadFromDrives();
    connected_ = device()->connectionState() == kConnectedState;
    recoveryStatusValue_ = 0;
    // Outside of what is guarded: on a recorder without a drive set this raises.
    if (hasIncompleteFileNow())
        printLine(stderr, "HasIncompleteFile\n");
}

void STavuDevice::reconnect()
{
    std::lock_guard guard(lock_);
    if (connected_)
        return;
    if (!ports_ || portCount_ == 0)
        buildPortTable();
    loadFromDrives();
    connected_ = device()->connectionState() == kConnectedState;
    recoveryStatusValue_ = 0;
}

void STavuDevice::markDisconnected()
{
    std::lock_guard guard(lock_);
    catalogue_.clear();
    connected_ = false;
}

void STavuDevice::buildPortTable()
{
    // Complete or not at all: a port without its name would lose what is stored under that name.
    const auto recorder = device();
    const uint32_t count = recorder->portCount();
    auto ports = std::make_unique<PortState[]>(count);
    for (uint64_t i = 0; i < count; ++i)
        ports[i].name = textOf(libraryPort(*recorder, i)->name());
    ports_ = std::move(ports);
    portCount_ = count;
}

void STavuDevice::loadFromDrives()
{
    configState_ = ConfigState::Unread;
    try {
        scanCatalogue();
        configState_ = ConfigState::Unreadable;
        readConfigRecord();
        for (uint64_t i = 0; i < portCount_; ++i) {
            const PortState &port = ports_[i];
            if (port.width != 0 && port.height != 0)
                configurePort(i, port.width, port.height, port.pixelFormat, port.tapGeometry);
        }
    } catch (const NoDriveSet &error) {
        configState_ = ConfigState::Read;
        printLine(stderr, "%s\n", error.what());
    } catch (...) {
        if (const char *text = currentFailureText())
            printLine(stderr, "%s\n", text);
    }
}

boost::shared_ptr<Quillon::Device> STavuDevice::device()
{
    if (deviceIndex_ == kNoIndex)
        throw std::runtime_error("The recorder was not found.");
    return given(collection_->device(deviceIndex_), "DeviceCollection::device");
}

void STavuDevice::refuseVirtual(Quillon::Device &device, const char *text)
{
    if (device.kind() == kVirtualKind)
        throw std::runtime_error(text);
}

boost::shared_ptr<Quillon::Port> STavuDevice::libraryPort(Quillon::Device &device, uint64_t port)
{
    return given(device.port(static_cast<uint32_t>(port)), "Device::port");
}

boost::shared_ptr<Quillon::DriveSetCollection> STavuDevice::driveSets(Quillon::Device &device)
{
    return given(given(device.storage(0), "Device::storage")->driveSets(), "Storage::driveSets");
}

boost::shared_ptr<Quillon::DriveSet> STavuDevice::firstDriveSet(Quillon::DriveSetCollection &sets,
                                                                const char *absenceText)
{
    const Quillon::Vector<uint32_t> ids = sets.ids();
    if (ids.size() == 0)
        throw NoDriveSet(absenceText);
    return given(sets.open(ids[0]), "DriveSetCollection::open");
}

boost::shared_ptr<Quillon::DriveSet> STavuDevice::firstDriveSet()
{
    return firstDriveSet(*driveSets(*device()), kNoDriveSetText);
}

const DeviceType &STavuDevice::typeOf(Quillon::Device &device)
{
    return deviceType(given(device.hardwareInfo(0), "Device::hardwareInfo")->deviceType);
}

PortState &STavuDevice::portState(uint64_t port)
{
    if (port >= portCount_)
        throw std::runtime_error("Invalid port index.");
    return ports_[port];
}

// The place in the line is that of the device's mutex. Whoever has to wait waits without it.
TurnLock::Turn STavuDevice::takeTurn(std::unique_lock<std::mutex> &deviceLock, TurnLock &portLock)
{
    TurnLock::Turn turn(portLock);
    if (!turn.hasCome()) {
        deviceLock.unlock();
        if (turn.wait())
            deviceLock.lock();
    }
    return turn;
}

TurnLock::Turn STavuDevice::handOver(std::unique_lock<std::mutex> &deviceLock, TurnLock &portLock)
{
    TurnLock::Turn turn = takeTurn(deviceLock, portLock);
    deviceLock.unlock();
    return turn;
}

std::string STavuDevice::name()
{
    std::lock_guard guard(lock_);
    return name_;
}

bool STavuDevice::isConnected()
{
    std::lock_guard guard(lock_);
    return device()->connectionState() == kConnectedState;
}

uint8_t STavuDevice::portCount()
{
    std::lock_guard guard(lock_);
    return static_cast<uint8_t>(portCount_);
}

std::string STavuDevice::portName(uint8_t port)
{
    std::lock_guard guard(lock_);
    return portState(port).name;
}

bool STavuDevice::isCxp()
{
    std::lock_guard guard(lock_);
    return typeOf(*device()).isCxp;
}

uint8_t STavuDevice::hardwareType()
{
    std::lock_guard guard(lock_);
    return typeOf(*device()).hardwareType;
}

uint8_t STavuDevice::percentUsed()
{
    std::lock_guard guard(lock_);
    const auto recorder = device();
    if (recordingActive_) {
        // The library's figures are from the start; what the recording added is estimated.
        uint64_t recorded = 0;
        for (uint64_t i = 0; i < portCount_; ++i) {
            bool inPretrigger = false;
            if (ports_[i].recording)
                recorded += portProgress(*recorder, i, inPretrigger) * ports_[i].frameBytes;
        }
        return percent(usedBytesAtStart_ + recorded, totalBytesAtStart_);
    }
    const auto set = firstDriveSet(*driveSets(*recorder), kNoDriveSetCapitalText);
    const auto capacity = given(set->capacityInfo(true), "DriveSet::capacityInfo");
    return percent(capacity->usedBytes(), capacity->totalBytes());
}

} // namespace tavu
