#pragma once

#include "hardware/library/common.h"
#include "hardware/library/parameter_value.h"

#include <cstdint>

namespace Quillon {

/// What a port delivers.
class DataDescriptor
{
public:
    class Factory
    {
    public:
        QUILLON_API static boost::shared_ptr<DataDescriptor> create(std::uint32_t type);
    };

    virtual ParameterValue &field(std::uint32_t id) = 0;

    QUILLON_API void setManufacturer(const String &text);
    QUILLON_API void setModel(const String &text);
    QUILLON_API void setSubModel(const String &text);
    QUILLON_API void setCustom(bool custom);

protected:
    ~DataDescriptor() = default;
};

struct GrabOptions
{
    bool flag;
    std::uint32_t value;
};

/// The serial channel of the camera on a port.
class SerialPort
{
public:
    virtual void send(const boost::shared_ptr<Common::Buffer> &data) = 0;
    virtual void clear(std::uint32_t flags) = 0;
    /// Fills the whole buffer or returns false.
    virtual bool receive(const boost::shared_ptr<Common::Buffer> &data, std::uint32_t timeLimit,
                         const String &terminator) = 0;
    virtual void setEnabled(bool enabled) = 0;
    virtual bool isEnabled() = 0;
    virtual void setBaudRate(std::uint32_t rate) = 0;
    virtual std::uint32_t baudRate() = 0;
    virtual void setStopBits(std::uint8_t bits) = 0;
    virtual void setParity(std::uint8_t parity) = 0;
    virtual void setWatermark(std::uint32_t watermark) = 0;
    virtual std::uint32_t watermarkLimit() = 0;

protected:
    ~SerialPort() = default;
};

/// One camera port of a recorder.
class Port
{
public:
    /// Unique within the recorder.
    virtual String name() = 0;
    virtual bool isCameraDetected() = 0;
    virtual void setDataDescriptor(const boost::shared_ptr<DataDescriptor> &descriptor) = 0;

    virtual void startGrab(const GrabOptions &options, std::uint32_t flags) = 0;
    virtual void stopGrab() = 0;
    virtual bool isGrabbing() = 0;
    /// Waits for one live frame; \a frame is empty when none came. May run beside every other
    /// operation of the recorder.
    virtual void grab(boost::shared_ptr<Common::Frame> &frame, std::uint32_t timeLimit, bool first,
                      bool second, bool third, bool fourth, bool fifth) = 0;
    virtual void interruptGrab() = 0;

    virtual bool hasSerial() = 0;
    virtual boost::shared_ptr<SerialPort> serial() = 0;
    /// Frames a second at which frames arrive.
    virtual double measuredFrameRate() = 0;
    virtual std::uint32_t linkMode() = 0;

    // Camera memory is big-endian.
    virtual void writeMemory(const boost::shared_ptr<Common::Buffer> &data, std::uint32_t address,
                             std::uint32_t flags) = 0;
    virtual void readMemory(const boost::shared_ptr<Common::Buffer> &data, std::uint32_t address,
                            std::uint32_t flags) = 0;

    virtual bool hasBitDepthSetting() = 0;
    virtual void setBitDepth(std::uint32_t bits) = 0;
    virtual bool hasPackingSetting() = 0;
    virtual void setPacking(std::uint32_t packing) = 0;

protected:
    ~Port() = default;
};

} // namespace Quillon
