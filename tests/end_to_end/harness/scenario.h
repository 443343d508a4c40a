#pragma once

#include "service.h"

#include <map>
#include <optional>

namespace tavu::test {

/// What clients do all day on device 0, in which faults may be planted: pair, configure, record
/// twice, rename, edit, play, watch, remove. It keeps book of what the service has confirmed.
class Scenario
{
public:
    /// \a frame makes the bytes that a frame of this number must have. Frames are 16 by 3.
    explicit Scenario(std::function<Bytes(uint64_t)> frame) : frame_(std::move(frame)) {}

    static constexpr uint32_t kWidth = 16, kHeight = 3;

    /// With faults about: requests may be refused. A closed connection raises std::runtime_error.
    void tryAll(Client &client);
    /// Ends what a refused request has left open, does it all again, and nothing may be refused.
    void doAll(Client &client);
    /// What was confirmed is listed, what was removed isn't, and all that is listed can be played.
    void check(Client &client);

private:
    struct Kept
    {
        std::string name; ///< empty when an edit was refused
        uint64_t frames = 0;
    };
    using Ids = std::string; ///< as parameters

    void run();
    std::optional<Value> ask(uint64_t ordinal, std::string_view params);
    std::optional<Ids> record(uint64_t frames);
    std::optional<Ids> keepStopped();
    void edit(uint64_t ordinal, const Ids &ids, std::string_view params, const std::string &name);
    void play(const Ids &ids, uint64_t frames);

    std::function<Bytes(uint64_t)> frame_;
    Client *client_ = nullptr;
    bool mayFail_ = false;
    std::map<Ids, Kept> kept_; ///< no frames: removed
};

} // namespace tavu::test
