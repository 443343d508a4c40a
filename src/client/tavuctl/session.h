#pragma once

#include "client/connection.h"
#include "client/tools/failure.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tavu::ctl {

// What is shared with the other client programs.
using namespace tools;

/// What one run of tavuctl ends with.
enum ExitStatus : int
{
    kSuccess = 0,
    kFailure = 1, ///< the service refused, or the work couldn't be done
    kUsage = 2,
};

/// The reader of our output has gone: time to end without a word.
class OutputClosed : public std::exception
{
};

// Standard output. All raise OutputClosed or Failure when it doesn't take what it is given.
void printBytes(std::span<const uint8_t> bytes);
/// Text reaches a terminal that shows no UTF-8 in ASCII.
void print(std::string_view text);
void printLine(std::string_view text);
void printJson(const nlohmann::ordered_json &value);

/// A line for a person on standard error; that it can't be written is no failure.
void note(std::string_view text);

/// An option of another command in an advice, such as " --port 1"; "" for 0, its default.
std::string optionText(const char *name, uint32_t number);

/// One run of tavuctl: the options that many commands share, and the connection, made when first
/// needed.
class Session
{
public:
    uint32_t device = 0;
    uint32_t port = 0;
    bool json = false;

    uint8_t portNumber() const { return static_cast<uint8_t>(port); }

    client::Connection &service();

    /// The options with which another command reaches the same device, or port.
    std::string deviceOption() const { return optionText("--device", device); }
    std::string portOption() const { return optionText("--port", port); }

    /// What the chosen command does; returns the exit status.
    std::function<int()> action;

private:
    std::unique_ptr<client::Connection> connection_;
};

} // namespace tavu::ctl
