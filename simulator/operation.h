#pragma once

#include <cstddef>
#include <iterator>
#include <optional>
#include <string_view>

namespace simulator {

/// When an operation can be called.
enum class OperationRule
{
    Connected,  ///< it raises while its recorder is pulled out
    Always,     ///< it has no recorder, or works while that is pulled out
    LoggedOnly, ///< always, and no fault can be planned for it
};

struct OperationRow
{
    const char *name; ///< in the call log and in faults.conf
    OperationRule rule = OperationRule::Connected;
};

/// The operations that stand in the call log.
inline constexpr OperationRow kOperations[] = {
    {"Instance::initialize", OperationRule::Always},
    {"Instance::deviceCollection", OperationRule::Always},
    {"Instance::version", OperationRule::Always},
    {"DeviceCollection::count", OperationRule::Always},
    {"DeviceCollection::deviceName", OperationRule::Always},
    {"DeviceCollection::deviceState", OperationRule::Always},
    {"DeviceCollection::device", OperationRule::Always},
    {"DeviceCollection::registerChangeCallback", OperationRule::Always},
    {"DeviceCollection::unregisterChangeCallback", OperationRule::Always},
    {"Device::kind", OperationRule::Always},
    {"Device::name", OperationRule::Always},
    {"Device::altName", OperationRule::Always},
    {"Device::connectionState", OperationRule::Always},
    {"Device::hardwareInfo"},
    {"Device::storage"},
    {"Device::portCount"},
    {"Device::port"},
    {"Device::triggerBank"},
    {"Device::record"},
    {"Port::name"},
    {"Port::isCameraDetected"},
    {"Port::setDataDescriptor"},
    {"Port::startGrab"},
    {"Port::stopGrab"},
    {"Port::isGrabbing"},
    {"Port::grab"},
    {"Port::interruptGrab"},
    {"Port::hasSerial"},
    {"Port::serial"},
    {"Port::measuredFrameRate"},
    {"Port::linkMode"},
    {"Port::writeMemory"},
    {"Port::readMemory"},
    {"Port::hasBitDepthSetting"},
    {"Port::setBitDepth"},
    {"Port::hasPackingSetting"},
    {"Port::setPacking"},
    {"DataDescriptor::create", OperationRule::Always},
    {"DataDescriptor::field", OperationRule::Always},
    {"DataDescriptor::setManufacturer", OperationRule::LoggedOnly},
    {"DataDescriptor::setModel", OperationRule::LoggedOnly},
    {"DataDescriptor::setSubModel", OperationRule::LoggedOnly},
    {"DataDescriptor::setCustom", OperationRule::LoggedOnly},
    {"SerialPort::send"},
    {"SerialPort::clear"},
    {"SerialPort::receive"},
    {"SerialPort::setEnabled"},
    {"SerialPort::isEnabled"},
    {"SerialPort::setBaudRate"},
    {"SerialPort::baudRate"},
    {"SerialPort::setStopBits"},
    {"SerialPort::setParity"},
    {"SerialPort::setWatermark"},
    {"SerialPort::watermarkLimit"},
    {"TriggerBank::element"},
    {"TriggerElement::parameter"},
    {"TriggerElement::connectInput"},
    {"Parameter::set"},
    {"Record::addPort"},
    {"Record::start"},
    {"Record::stopPort"},
    {"Record::status"},
    {"Record::attachDriveSet"},
    {"Record::detachPort"},
    {"Storage::driveSets"},
    {"Storage::driveGroups"},
    {"DriveSetCollection::open"},
    {"DriveSetCollection::ids"},
    {"DriveSetCollection::create"},
    {"DriveSetCollection::remove"},
    {"DriveGroupList::size"},
    {"DriveGroupList::group"},
    {"DriveGroup::size"},
    {"DriveGroup::drive"},
    {"DriveSet::info"},
    {"DriveSet::Info::clusterSizeBytes"},
    {"DriveSet::CapacityInfo::totalBytes"},
    {"DriveSet::CapacityInfo::usedBytes"},
    {"DriveSet::openFile"},
    {"DriveSet::fileIds"},
    {"DriveSet::findFile"},
    {"DriveSet::incompleteFileId"},
    {"DriveSet::fileEntry"},
    {"DriveSet::createFile"},
    {"DriveSet::removeFile"},
    {"DriveSet::recover"},
    {"DriveSet::capacityInfo"},
    {"DriveSet::drives"},
    {"DriveSet::Source::add", OperationRule::LoggedOnly},
    {"DriveFile::driveSet"},
    {"DriveFile::info"},
    {"DriveFile::readMetadata"},
    {"DriveFile::writeMetadata"},
    {"DriveFile::metadataCapacity"},
    {"DriveFile::readBlock"},
    {"DriveFile::writeBlock"},
    {"DriveFile::streamCount"},
    {"DriveFile::streamByIndex"},
    {"DriveFile::streamIdByIndex"},
    {"DriveFile::streamById"},
    {"RecordedStream::portName"},
    {"RecordedStream::frames"},
    {"FrameSequence::dataType"},
    {"FrameSequence::frameCount"},
    {"FrameSequence::readFrames"},
    {"Recovery::cancel"},
    {"Recovery::isFinished"},
    {"Recovery::isCancelled"},
    {"Recovery::isSuccessful"},
    {"Recovery::errorText"},
    {"TimestampHelper::universalTime", OperationRule::Always},
};

/// One of the operations. It is made from a literal, and a name that isn't in the table doesn't
/// compile.
class Operation
{
public:
    consteval Operation(const char *name) : Operation(indexOf(name))
    {
        if (index_ == std::size(kOperations))
            throw "There is no such operation.";
    }

    /// The operation that a fault names; none when there is none for which faults can be planned.
    static std::optional<Operation> findFallible(std::string_view name)
    {
        const Operation found(indexOf(name));
        if (found.index_ == std::size(kOperations) || found.rule() == OperationRule::LoggedOnly)
            return std::nullopt;
        return found;
    }

    size_t index() const { return index_; } ///< in the table
    const char *name() const { return kOperations[index_].name; }
    OperationRule rule() const { return kOperations[index_].rule; }

    bool operator==(const Operation &) const = default;

private:
    explicit constexpr Operation(size_t index) : index_(index) {}

    static constexpr size_t indexOf(std::string_view name)
    {
        size_t index = 0;
        while (index < std::size(kOperations) && kOperations[index].name != name)
            ++index;
        return index;
    }

    size_t index_;
};

} // namespace simulator
