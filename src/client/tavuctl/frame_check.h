#pragma once

#include "client/region.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace tavu::ctl {

// Devices without a real camera make frames whose contents can be foretold. Each of these tells
// what is wrong with a frame, in words that go on from "frame 7 "; nothing when it is right.

/// A recorded frame of the emulated device: its header holds its number. Raises Failure where the
/// frame is too narrow for that.
std::string faultOfEmulatedFrame(uint64_t number, const client::FrameView &frame);

/// A frame of a simulated recorder: all of its pixels follow from its number and from the port,
/// counted from 1. \a port 0 stands for any.
std::string faultOfSimulatedFrame(uint64_t number, uint32_t port, const client::FrameView &frame);

/// The number that stands in a frame of a simulated recorder, if it has pixels enough.
std::optional<uint64_t> simulatedNumber(const client::FrameView &frame);

/// Counts the frames that aren't right and remembers the first of them.
class FrameCheck
{
public:
    using FaultOf = std::function<std::string(uint64_t, const client::FrameView &)>;

    explicit FrameCheck(FaultOf faultOf) : faultOf_(std::move(faultOf)) {}

    void check(uint64_t number, const client::FrameView &frame);

    uint64_t wrong() const { return wrong_; }
    /// The first wrong frame, in words.
    const std::string &first() const { return first_; }
    /// Raises Failure when one of \a count frames was wrong.
    void require(uint64_t count) const;

private:
    FaultOf faultOf_;
    uint64_t wrong_ = 0;
    std::string first_;
};

} // namespace tavu::ctl
