#pragma once

#include "hardware/library/instance.h"
#include "registry/recorder_library.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tavu {

/// The recorder maker's library, bound at its first use. Where it is absent or incomplete, every
/// operation that needs it raises std::runtime_error "delayload failure".
class QuillonLibrary final : public RecorderLibrary
{
public:
    void start(uint32_t hostInterfaceSet) override;
    void release() override;
    bool hasCollection() const override { return collection_ != nullptr; }

    uint64_t count() override;
    std::string deviceName(uint32_t index) override;
    bool isDisconnected(uint32_t index) override;
    std::string alternativeName(uint32_t index) override;
    uint32_t registerChangeCallback(std::function<void()> callback) override;
    void unregisterChangeCallback(uint32_t id) override;
    std::unique_ptr<RecorderDevice> createDevice() override;
    const char *failureText() noexcept override;

private:
    // In this order: the collection goes first.
    boost::shared_ptr<Quillon::Instance> instance_;
    boost::shared_ptr<Quillon::DeviceCollection> collection_;
};

} // namespace tavu
