#include "serial_channel.h"

#include "operation.h"
#include "port.h"

#include <chrono>
#include <cstring>
#include <utility>

namespace simulator {

namespace {

// A camera has so much memory and no more: what is beyond it is lost.
constexpr size_t kLongestLine = 64 << 10;
constexpr size_t kLongestAnswer = 1 << 20;
constexpr size_t kMostValues = 256;

constexpr uint32_t kMostWatermark = 4096;

} // namespace

SerialChannel::SerialChannel(Recorder &recorder, Port &port) : recorder_(recorder), port_(port) {}

SerialChannel::~SerialChannel() = default;

void SerialChannel::send(const boost::shared_ptr<Common::Buffer> &data)
{
    if (isEmptied(recorder_, "SerialPort::send", port_, Content{data}))
        return;
    if (!data)
        throw Common::GeneralException("There is no buffer.");
    for (const std::string &line : takeLines(static_cast<const char *>(data->data()), data->size()))
        append(answerTo(line));
}

void SerialChannel::clear(uint32_t flags)
{
    if (isEmptied(recorder_, "SerialPort::clear", port_, flags))
        return;
    const std::lock_guard lock(mutex_);
    state_.answer.clear();
}

bool SerialChannel::receive(const boost::shared_ptr<Common::Buffer> &data, uint32_t timeLimit,
                            const Quillon::String &terminator)
{
    if (isEmptied(recorder_, "SerialPort::receive", port_, data, timeLimit, terminator))
        return false;
    if (!data)
        throw Common::GeneralException("There is no buffer.");
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeLimit);
    const size_t size = size_t(data->size());
    std::unique_lock lock(mutex_);
    const auto isOver = [&] { return !state_.enabled || state_.answer.size() >= size; };
    if (!changed_.wait_until(lock, deadline, isOver) || !state_.enabled)
        return false;
    std::memcpy(data->data(), state_.answer.data(), size);
    state_.answer.erase(0, size);
    return true;
}

void SerialChannel::setEnabled(bool enabled)
{
    if (isEmptied(recorder_, "SerialPort::setEnabled", port_, enabled))
        return;
    const std::lock_guard lock(mutex_);
    state_.enabled = enabled;
    changed_.notify_all();
}

bool SerialChannel::isEnabled()
{
    if (isEmptied(recorder_, "SerialPort::isEnabled", port_))
        return false;
    const std::lock_guard lock(mutex_);
    return state_.enabled;
}

void SerialChannel::setBaudRate(uint32_t rate)
{
    if (isEmptied(recorder_, "SerialPort::setBaudRate", port_, rate))
        return;
    const std::lock_guard lock(mutex_);
    state_.baudRate = rate;
}

uint32_t SerialChannel::baudRate()
{
    if (isEmptied(recorder_, "SerialPort::baudRate", port_))
        return 0;
    const std::lock_guard lock(mutex_);
    return state_.baudRate;
}

void SerialChannel::setStopBits(uint8_t bits)
{
    if (isEmptied(recorder_, "SerialPort::setStopBits", port_, bits))
        return;
    const std::lock_guard lock(mutex_);
    state_.stopBits = bits;
}

void SerialChannel::setParity(uint8_t parity)
{
    if (isEmptied(recorder_, "SerialPort::setParity", port_, parity))
        return;
    const std::lock_guard lock(mutex_);
    state_.parity = parity;
}

void SerialChannel::setWatermark(uint32_t watermark)
{
    if (isEmptied(recorder_, "SerialPort::setWatermark", port_, watermark))
        return;
    const std::lock_guard lock(mutex_);
    state_.watermark = watermark;
}

uint32_t SerialChannel::watermarkLimit()
{
    if (isEmptied(recorder_, "SerialPort::watermarkLimit", port_))
        return 0;
    return kMostWatermark;
}

void SerialChannel::reset()
{
    const std::lock_guard lock(mutex_);
    state_ = State();
    changed_.notify_all();
}

std::vector<std::string> SerialChannel::takeLines(const char *bytes, uint64_t size)
{
    const std::lock_guard lock(mutex_);
    if (!state_.enabled)
        throw Common::GeneralException("The serial channel is not enabled.");
    std::vector<std::string> lines;
    if (!port_.camera().isPresent())
        return lines;
    for (const char *end = bytes + size; bytes != end; ++bytes) {
        if (*bytes == '\r') {
            lines.push_back(std::exchange(state_.line, std::string()));
        } else if (*bytes != '\n' && state_.line.size() < kLongestLine) {
            state_.line += *bytes;
        }
    }
    return lines;
}

std::string SerialChannel::answerTo(const std::string &line)
{
    const size_t blank = std::min(line.find(' '), line.size());
    const std::string command = line.substr(0, blank);
    const std::string rest = line.substr(std::min(blank + 1, line.size()));
    if (line == "id")
        return "simulated camera on " + port_.description().name;
    if (command == "echo")
        return rest;
    if (line == "start" || line == "stop") {
        line == "start" ? port_.camera().wake() : port_.camera().silence();
        port_.cameraChanged();
        return "ok";
    }

    const std::lock_guard lock(mutex_);
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
    const std::lock_guard lock(mutex_);
    if (state_.answer.size() + answer.size() < kLongestAnswer)
        state_.answer += answer + '\r';
    changed_.notify_all();
}

} // namespace simulator
