#include "serial_channel.h"

#include "errors.h"
#include "port.h"
#include "recorder.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string_view>
#include <tuple>
#include <utility>

namespace simulator {

namespace {

// The camera's memory. What doesn't fit is lost.
constexpr size_t kLongestLine = 64 << 10;
constexpr size_t kLongestAnswer = 1 << 20;
constexpr size_t kMostValues = 256;

constexpr uint32_t kMostWatermark = 4096;

} // namespace

SerialChannel::SerialChannel(Recorder &recorder, Port &port) : recorder_(recorder), port_(port) {}

SerialChannel::~SerialChannel() = default;

void SerialChannel::send(const boost::shared_ptr<Common::Buffer> &data)
{
    if (recorder_.begin("SerialPort::send", port_, Content{data}))
        for (const std::string &line : takeLines(required(data)))
            append(answerTo(line));
}

void SerialChannel::clear(uint32_t flags)
{
    if (!recorder_.begin("SerialPort::clear", port_, flags))
        return;
    std::lock_guard guard(mutex_);
    state_.answer.clear();
}

bool SerialChannel::receive(const boost::shared_ptr<Common::Buffer> &data, uint32_t timeLimit,
                            const Quillon::String &terminator)
{
    if (!recorder_.begin("SerialPort::receive", port_, data, timeLimit, terminator))
        return false;
    Common::Buffer &target = required(data);
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeLimit);
    const size_t size = target.size();
    std::unique_lock lock(mutex_);
    const auto isOver = [&] { return !state_.enabled || state_.answer.size() >= size; };
    if (!changed_.wait_until(lock, deadline, isOver) || !state_.enabled)
        return false;
    std::memcpy(target.data(), state_.answer.data(), size);
    state_.answer.erase(0, size);
    return true;
}

void SerialChannel::setEnabled(bool enabled)
{
    if (!recorder_.begin("SerialPort::setEnabled", port_, enabled))
        return;
    std::lock_guard guard(mutex_);
    state_.enabled = enabled;
    changed_.notify_all();
}

bool SerialChannel::isEnabled()
{
    if (!recorder_.begin("SerialPort::isEnabled", port_))
        return false;
    std::lock_guard guard(mutex_);
    return state_.enabled;
}

void SerialChannel::setBaudRate(uint32_t rate)
{
    if (!recorder_.begin("SerialPort::setBaudRate", port_, rate))
        return;
    std::lock_guard guard(mutex_);
    state_.baudRate = rate;
}

uint32_t SerialChannel::baudRate()
{
    if (!recorder_.begin("SerialPort::baudRate", port_))
        return 0;
    std::lock_guard guard(mutex_);
    return state_.baudRate;
}

void SerialChannel::setStopBits(uint8_t bits)
{
    std::ignore = recorder_.begin("SerialPort::setStopBits", port_, bits);
}

void SerialChannel::setParity(uint8_t parity)
{
    std::ignore = recorder_.begin("SerialPort::setParity", port_, parity);
}

void SerialChannel::setWatermark(uint32_t watermark)
{
    std::ignore = recorder_.begin("SerialPort::setWatermark", port_, watermark);
}

uint32_t SerialChannel::watermarkLimit()
{
    return recorder_.begin("SerialPort::watermarkLimit", port_) ? kMostWatermark : 0;
}

void SerialChannel::reset()
{
    std::lock_guard guard(mutex_);
    state_ = State();
    changed_.notify_all();
}

std::vector<std::string> SerialChannel::takeLines(Common::Buffer &data)
{
    std::lock_guard guard(mutex_);
    if (!state_.enabled)
        raiseError("The serial channel is not enabled.");
    std::vector<std::string> lines;
    if (!port_.camera().isPresent())
        return lines;
    const std::string_view bytes(static_cast<const char *>(data.data()), data.size());
    for (const char byte : bytes) {
        if (byte == '\r')
            lines.push_back(std::exchange(state_.line, std::string()));
        else if (byte != '\n' && state_.line.size() < kLongestLine)
            state_.line += byte;
    }
    return lines;
}

std::string SerialChannel::answerTo(const std::string &line)
{
    const size_t blank = std::min(line.find(' '), line.size());
    const std::string command = line.substr(0, blank);
    std::string rest = line.substr(std::min(blank + 1, line.size()));
    if (line == "id")
        return "simulated camera on " + port_.description().name;
    if (command == "echo")
        return rest;
    if (line == "start" || line == "stop") {
        line == "start" ? port_.camera().wake() : port_.camera().silence();
        port_.cameraChanged();
        return "ok";
    }

    std::lock_guard guard(mutex_);
    if (command == "get" && values_.count(rest) > 0)
        return values_[rest];
    const size_t space = rest.find(' ');
    if (command == "set" && space != std::string::npos && space > 0 &&
        (values_.size() < kMostValues || values_.count(rest.substr(0, space)) > 0)) {
        values_[rest.substr(0, space)] = rest.substr(space + 1);
        return "ok";
    }
    return "?";
}

void SerialChannel::append(const std::string &answer)
{
    std::lock_guard guard(mutex_);
    if (state_.answer.size() + answer.size() < kLongestAnswer)
        state_.answer += answer + '\r';
    changed_.notify_all();
}

} // namespace simulator
