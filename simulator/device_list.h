#pragma once

#include "hardware/library/instance.h"
#include "recorder.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace simulator {

class Session;

/// The recorders of an installation that are attached by some of the host's interfaces.
class DeviceList final : public Quillon::DeviceCollection
{
public:
    DeviceList(std::shared_ptr<Session> session, uint32_t interfaces);
    DeviceList(const DeviceList &) = delete;
    DeviceList &operator=(const DeviceList &) = delete;
    virtual ~DeviceList();

    uint64_t count() override;
    Quillon::String deviceName(uint32_t index) override;
    uint32_t deviceState(uint32_t index) override;
    boost::shared_ptr<Quillon::Device> device(uint32_t index) override;
    uint32_t registerChangeCallback(const ChangeCallback &callback) override;
    void unregisterChangeCallback(uint32_t id) override;

private:
    bool isAttached(const Recorder &recorder) const;
    uint64_t countSeen();
    boost::shared_ptr<Recorder> at(uint32_t index);

    const std::shared_ptr<Session> session_;
    const uint32_t interfaces_; ///< a set of bits
    std::mutex mutex_;
    std::vector<boost::shared_ptr<Recorder>> seen_;
};

} // namespace simulator
