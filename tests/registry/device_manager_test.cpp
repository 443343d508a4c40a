#include "registry/device_manager.h"

#include "emulator/emulator_test.h"
#include "support/environment.h"

#include <gtest/gtest.h>

#include <system_error>
#include <thread>

namespace tavu {
namespace {

using test::ScopedVariable;

/// A library without recorders. The simulated one shows what is made of recorders.
class EmptyLibrary : public RecorderLibrary
{
public:
    struct Script
    {
        std::function<void()> changed; ///< what the library was given to call
        std::function<void()> duringCount = [] {};
        int unregistrations = 0;
    };

    explicit EmptyLibrary(Script &script) : script_(script) {}

    void start(uint32_t) override {}
    void release() override {}
    bool hasCollection() const override { return true; }
    uint64_t count() override { return script_.duringCount(), 0; }
    std::string deviceName(uint32_t) override { return {}; }
    bool isDisconnected(uint32_t) override { return false; }
    std::string alternativeName(uint32_t) override { return {}; }
    uint32_t registerChangeCallback(std::function<void()> callback) override
    {
        script_.changed = std::move(callback);
        return 77;
    }
    void unregisterChangeCallback(uint32_t id) override
    {
        EXPECT_EQ(id, 77u);
        ++script_.unregistrations;
        throw std::runtime_error("broken");
    }
    std::unique_ptr<RecorderDevice> createDevice() override { return nullptr; }
    const char *failureText() noexcept override { return nullptr; }

private:
    Script &script_;
};

class DeviceManagerTest : public testing::Test
{
protected:
    EmptyLibrary::Script script;
    DeviceManager manager{{std::make_unique<EmptyLibrary>(script),
                           [] { return std::make_unique<TavuDeviceEmulator>(); }}};
};

TEST_F(DeviceManagerTest, QueueIdsAreReusedLowestFirstExceptThoseThatHoldTheirLastEvent)
{
    for (const uint32_t id : {0u, 1u, 2u})
        EXPECT_EQ(manager.createQueue(), id);
    manager.broadcast(DeviceEvent{EventType::FilesChanged, 5, 0});
    manager.destroyQueue(0, true);
    manager.destroyQueue(1, false);
    DeviceEvent event;
    for (const uint32_t id : {0u, 1u, 3u, 0xFFFFFFFFu}) {
        const std::string text = "Inalid event queue id.";
        EXPECT_EQ(errorOf([&] { manager.readEvent(id, event); }), text);
        EXPECT_EQ(errorOf([&] { manager.tryReadEvent(id, event); }), text);
        EXPECT_EQ(errorOf([&] { manager.destroyQueue(id, false); }), text);
    }
    manager.broadcast(DeviceEvent{EventType::FilesChanged, 6, 0});
    EXPECT_EQ(manager.createQueue(), 0u);
    EXPECT_EQ(manager.createQueue(), 3u);
    EXPECT_FALSE(manager.tryReadEvent(0, event));
    for (const uint32_t device : {5u, 6u}) {
        ASSERT_TRUE(manager.tryReadEvent(2, event));
        EXPECT_EQ(event.device, device);
    }
}

TEST_F(DeviceManagerTest, CallTakesTheIndexFirstAndAnnouncesSuccessAlone)
{
    const TemporaryFolder folder;
    const ScopedVariable data("XDG_DATA_HOME", folder.path.string());
    const ScopedVariable enabled("TAVUSRV_ENABLE_EMULATOR", "1");
    useDataFolder(folder.path);
    manager.start();
    const uint32_t queue = manager.createQueue();
    const std::optional<DeviceEvent> announcement = DeviceEvent{EventType::FilesChanged, 5, 6};
    DeviceEvent event;
    int calls = 0;
    const auto work = [&](ITavuDevice &device, uint8_t port) {
        ++calls;
        // No lock of the manager is held, and nobody is told before the device has succeeded.
        EXPECT_EQ(manager.deviceCount(), 1u);
        EXPECT_FALSE(manager.tryReadEvent(queue, event));
        return device.pairedTo(port);
    };
    EXPECT_EQ(errorOf([&] { manager.call(1, announcement, work, uint8_t(0)); }),
              "Invalid device index.");
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(errorOf([&] { manager.call(0, announcement, work, uint8_t(1)); }), "Invalid port");
    EXPECT_FALSE(manager.tryReadEvent(queue, event));
    EXPECT_EQ(manager.call(0, announcement, work, uint8_t(0)), "");
    ASSERT_TRUE(manager.tryReadEvent(queue, event));
    EXPECT_EQ(event.type, EventType::FilesChanged);
    EXPECT_EQ(event.device, 5u);
    EXPECT_EQ(event.port, 6u);
}

TEST_F(DeviceManagerTest, StopLetsGoOfTheLibraryOnce)
{
    manager.start();
    manager.stop();
    script.changed(); // may still come from the library's thread, and must do no harm
    manager.stop();
    EXPECT_EQ(script.unregistrations, 1);
}

TEST_F(DeviceManagerTest, UpdateThreadCannotStopItself)
{
    manager.start();
    std::string complaint;
    script.duringCount = [&] { complaint = errorOf([&] { manager.stop(); }); };
    const uint32_t queue = manager.createQueue();
    script.changed();
    DeviceEvent event;
    for (int i = 0; i < 60 && event.type != EventType::DevicesChanged; ++i)
        manager.readEvent(queue, event);
    manager.stop();
    const auto deadlock = std::make_error_code(std::errc::resource_deadlock_would_occur);
    EXPECT_EQ(complaint, std::system_error(deadlock).what());
}

} // namespace
} // namespace tavu
