#pragma once

#include "camera.h"
#include "hardware/library/port.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>

namespace simulator {

class Recorder;
class SerialChannel;

/// One camera port of a recorder. Any thread.
class Port final : public Quillon::Port
{
public:
    struct Geometry
    {
        uint32_t width = 0;  ///< pixels
        uint32_t height = 0; ///< pixels
    };

    /// \a index counts from 0.
    Port(Recorder &recorder, uint32_t index, const PortDescription &description);
    Port(const Port &) = delete;
    Port &operator=(const Port &) = delete;
    virtual ~Port();

    Quillon::String name() override;
    bool isCameraDetected() override;
    void setDataDescriptor(const boost::shared_ptr<Quillon::DataDescriptor> &descriptor) override;
    void startGrab(const Quillon::GrabOptions &options, uint32_t flags) override;
    void stopGrab() override;
    bool isGrabbing() override;
    void grab(boost::shared_ptr<Common::Frame> &frame, uint32_t timeLimit, bool first, bool second,
              bool third, bool fourth, bool fifth) override;
    void interruptGrab() override;
    bool hasSerial() override;
    boost::shared_ptr<Quillon::SerialPort> serial() override;
    double measuredFrameRate() override;
    uint32_t linkMode() override;
    void writeMemory(const boost::shared_ptr<Common::Buffer> &data, uint32_t address,
                     uint32_t flags) override;
    void readMemory(const boost::shared_ptr<Common::Buffer> &data, uint32_t address,
                    uint32_t flags) override;
    bool hasBitDepthSetting() override;
    void setBitDepth(uint32_t bits) override;
    bool hasPackingSetting() override;
    void setPacking(uint32_t packing) override;

    // What follows is for the library itself, and works while the recorder is pulled out.

    uint32_t index() const { return index_; }
    Camera &camera() { return camera_; }
    PortDescription description() const;
    /// Size of the frames that arrive here.
    Geometry geometry() const;
    bool deliversNoFile() const;

    void describe(const PortDescription &description);
    /// Forgets what programs have set and started, as a recorder does that is pulled out.
    void reset();
    /// To be called after the camera has changed, or has started or stopped sending.
    void cameraChanged();

private:
    /// Waits for the next frame to deliver. None when grabbing or the time ends.
    std::optional<Camera::Tick> awaitFrame(std::chrono::milliseconds timeLimit);
    boost::shared_ptr<Common::Frame> takePicture(uint64_t number) const;
    uint32_t bitDepth() const;

    Recorder &recorder_;
    const uint32_t index_;
    Camera camera_;
    const boost::shared_ptr<SerialChannel> serial_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    PortDescription description_;
    Geometry declared_; ///< in the data descriptor
    std::optional<uint32_t> bitDepth_;
    bool unpacked_ = false;

    bool grabbing_ = false;
    bool interrupted_ = false;
    uint64_t interruptions_ = 0; ///< counted, so that a waiting call notices each
    Clock::time_point lastDue_;  ///< when the last frame delivered was due
};

} // namespace simulator
