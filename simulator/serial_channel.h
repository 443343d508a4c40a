#pragma once

#include "hardware/library/port.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace simulator {

class Port;
class Recorder;

/// The serial channel of a port, with the camera's command line at its other end. Any thread.
class SerialChannel final : public Quillon::SerialPort
{
public:
    SerialChannel(Recorder &recorder, Port &port);
    SerialChannel(const SerialChannel &) = delete;
    SerialChannel &operator=(const SerialChannel &) = delete;
    virtual ~SerialChannel();

    void send(const boost::shared_ptr<Common::Buffer> &data) override;
    void clear(uint32_t flags) override;
    bool receive(const boost::shared_ptr<Common::Buffer> &data, uint32_t timeLimit,
                 const Quillon::String &terminator) override;
    void setEnabled(bool enabled) override;
    bool isEnabled() override;
    void setBaudRate(uint32_t rate) override;
    uint32_t baudRate() override;
    // The simulated line has no use for these three.
    void setStopBits(uint8_t bits) override;
    void setParity(uint8_t parity) override;
    void setWatermark(uint32_t watermark) override;

    uint32_t watermarkLimit() override;

    /// Back to the state before any use.
    void reset();

private:
    struct State
    {
        bool enabled = false;
        uint32_t baudRate = 9600;
        std::string line;   ///< what the camera has received of the next line
        std::string answer; ///< bytes on their way from the camera
    };

    /// Gives the camera what a program sends, and returns the lines that are whole now.
    std::vector<std::string> takeLines(Common::Buffer &data);
    std::string answerTo(const std::string &line);
    void append(const std::string &answer);

    Recorder &recorder_;
    Port &port_;
    std::mutex mutex_;
    std::condition_variable changed_;
    State state_;
    std::map<std::string, std::string>
        values_; ///< kept by the camera, also when the channel is reset
};

} // namespace simulator
