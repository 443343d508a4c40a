#include "registry/device_manager.h"

#include "registry/fake_recorders.h"
#include "support/environment.h"
#include "support/error_of.h"

#include <gtest/gtest.h>

#include <system_error>
#include <thread>
#include <tuple>

namespace tavu {
namespace {

using Fault = FakeRecorders::Fault;
using test::errorOf, test::ScopedVariable;

class DeviceManagerTest : public testing::Test
{
protected:
    static DeviceSources sources(const std::shared_ptr<FakeRecorders> &recorders)
    {
        return {std::make_unique<FakeLibrary>(recorders),
                [] { return std::make_unique<FakeDevice>(std::make_shared<FakeRecorders>()); }};
    }

    /// Starts a manager and returns what it printed.
    static std::string start(DeviceManager &started)
    {
        testing::internal::CaptureStdout();
        started.start();
        return testing::internal::GetCapturedStdout();
    }

    std::string start()
    {
        const std::string printed = start(manager);
        queue = manager.createQueue();
        return printed;
    }

    /// Lets the library report a change and returns what the update that follows printed.
    std::string update()
    {
        testing::internal::CaptureStdout();
        std::thread(fake->callback).join();
        EXPECT_EQ(nextEvent(), "1 0 0");
        return testing::internal::GetCapturedStdout();
    }

    std::string nextEvent()
    {
        DeviceEvent event;
        for (int i = 0; i < 60 && event.type == EventType::NoEvent; ++i)
            manager.readEvent(queue, event);
        return std::to_string(uint32_t(event.type)) + " " + std::to_string(event.device) + " " +
               std::to_string(event.port);
    }

    static std::string nameOf(DeviceManager &devices, uint32_t index)
    {
        return devices.call(index, std::nullopt, &ITavuDevice::name);
    }

    std::string names()
    {
        std::string result;
        for (uint32_t i = 0; i < manager.deviceCount(); ++i)
            result += nameOf(manager, i) +
                      (manager.call(i, std::nullopt, &ITavuDevice::isConnected) ? "+ " : "- ");
        return result;
    }

    std::shared_ptr<FakeRecorders> fake = std::make_shared<FakeRecorders>();
    DeviceManager manager{sources(fake)};
    uint32_t queue = 0;
};

TEST_F(DeviceManagerTest, hostInterfacesFollowTheEnvironment)
{
    const ScopedVariable empty("TAVUSRV_SATA_ONLY", "");
    start();
    EXPECT_EQ(fake->takeCalls(), "start 7;count;");
    const ScopedVariable set("TAVUSRV_SATA_ONLY", "0");
    DeviceManager other(sources(fake));
    other.start();
    EXPECT_EQ(fake->takeCalls(), "start 3;count;");
}

TEST_F(DeviceManagerTest, emulatedDeviceStandsBeforeTheRecorders)
{
    const ScopedVariable enabled("TAVUSRV_ENABLE_EMULATOR", "1");
    fake->change({{"A", "", false}});
    start();
    fake->takeCalls();
    update();
    EXPECT_EQ(manager.deviceCount(), 2u);
    EXPECT_EQ(nameOf(manager, 1), "A");
    EXPECT_EQ(fake->takeCalls(), "count;deviceName 0;reconnect 0;");
    const ScopedVariable empty("TAVUSRV_ENABLE_EMULATOR", "");
    DeviceManager other(sources(std::make_shared<FakeRecorders>()));
    other.start();
    EXPECT_EQ(other.deviceCount(), 0u);
}

TEST_F(DeviceManagerTest, followsRecordersThatComeAndGo)
{
    fake->change({{"A", "", false}, {"B", "", true}});
    EXPECT_EQ(start(), "Updating device list.\nFound device: A\nFound device: B (disconnected)\n"
                       "Done updating device list.\n");
    EXPECT_EQ(names(), "A+ B- ");
    fake->takeCalls();

    fake->change({{"A", "", true}, {"B", "", false}, {"C", "", false}});
    EXPECT_EQ(update(), "Updating device list.\nFound device: A (existing, disconnected)\n"
                        "Found device: B (existing)\nFound device: C\n"
                        "Done updating device list.\n");
    EXPECT_EQ(fake->takeCalls(), "count;deviceName 0;markDisconnected 0;deviceName 1;reconnect 1;"
                                 "deviceName 2;connect 2;");
    EXPECT_EQ(names(), "A- B+ C+ ");

    // The collection must not shrink. Where it does, the devices stay, and keep their indices.
    fake->change({{"A", "", false}});
    const std::string log = update();
    EXPECT_TRUE(log.starts_with("Updating device list.\nFound device: A (existing)\nCaught "));
    EXPECT_NE(log.find("Done"), log.npos);
    EXPECT_EQ(manager.deviceCount(), 3u);
    EXPECT_EQ(nameOf(manager, 2), "C");
}

TEST_F(DeviceManagerTest, failureHurtsOneDeviceOnly)
{
    fake->change({{"A", "", false}, {"B", "", false}, {"C", "", false}, {"D", "", false}});
    fake->faults = {{"connect 0", Fault::WithText},
                    {"connect 1", Fault::WithoutText},
                    {"deviceName 2", Fault::WithText},
                    {"reconnect 0", Fault::WithText}};
    EXPECT_EQ(start(), "Updating device list.\nFound device: A\n"
                       "Caught exception: connect 0 failed\nFound device: B\n"
                       "Caught exception: deviceName 2 failed\nFound device: D\n"
                       "Done updating device list.\n");
    EXPECT_EQ(names(), "A+ B+ D+ ");
    EXPECT_EQ(update(), "Updating device list.\nFound device: A (existing)\n"
                        "Caught exception: reconnect 0 failed\nFound device: B (existing)\n"
                        "Found device: D (existing)\n"
                        "Caught exception: deviceName 2 failed\nDone updating device list.\n");
    // A count that fails ends this update alone, and clients get their event all the same.
    fake->faults = {{"count", Fault::WithText}};
    EXPECT_EQ(update(), "Updating device list.\nCaught exception: count failed\n");
    fake->faults.clear();
    fake->change(
        {{"A", "", false}, {"B", "", false}, {"C", "", false}, {"D", "", false}, {"E", "", false}});
    update();
    // The recorder whose name couldn't be read was tried again at each update.
    EXPECT_EQ(names(), "A+ B+ D+ C+ E+ ");
}

TEST_F(DeviceManagerTest, filtersDecideOnceAndForAll)
{
    // The filter, what it lets through, and whether alternative names are asked for.
    const std::tuple<const char *, const char *, const char *, bool> cases[] = {
        {"NAME_WHITELIST", "lab*|x", "Lab1 Lab2 ", false},
        {"NAME_BLACKLIST", "lab?", "Hall ", false},
        {"NAME_BLACKLIST", "none", "Lab1 Lab2 Hall ", false},
        {"ALT_NAME_WHITELIST", "north", "Lab1 ", true},
        {"ALT_NAME_BLACKLIST", "north", "Lab2 ", true},
    };
    for (const auto &[filter, value, names, asks] : cases) {
        auto recorders = std::make_shared<FakeRecorders>();
        recorders->change(
            {{"Lab1", "North", false}, {"Lab2", "South", false}, {"Hall", "", false}});
        recorders->faults["alternativeName 2"] = Fault::WithText;
        DeviceManager filtered(sources(recorders));
        const ScopedVariable variable(std::string("TAVUSRV_DEVICE_") + filter, value);
        EXPECT_EQ(start(filtered).find("Caught"), std::string::npos);
        std::string kept;
        for (uint32_t i = 0; i < filtered.deviceCount(); ++i)
            kept += nameOf(filtered, i) + " ";
        EXPECT_EQ(kept, names) << filter << "=" << value;
        const std::string calls = recorders->takeCalls();
        for (const char *call : {"alternativeName 0", "alternativeName 1", "alternativeName 2"})
            EXPECT_EQ(calls.find(call) != calls.npos, asks) << filter;
    }

    fake->change({{"Lab", "", false}, {"Hall", "", false}});
    {
        const ScopedVariable blacklist("TAVUSRV_DEVICE_NAME_BLACKLIST", "lab");
        start();
    }
    update();
    update();
    EXPECT_EQ(names(), "Hall+ ");
}

TEST_F(DeviceManagerTest, queueIdsAreReusedLowestFirstExceptThoseThatHoldTheirLastEvent)
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

TEST_F(DeviceManagerTest, callTakesTheIndexFirstAndAnnouncesSuccessAlone)
{
    const std::optional<DeviceEvent> announcement = DeviceEvent{EventType::FilesChanged, 5, 6};
    fake->change({{"A", "", false}});
    start();
    fake->takeCalls();
    const auto setUp = [&](uint32_t index) {
        manager.call(index, announcement, &ITavuDevice::setup);
    };
    DeviceEvent event;
    EXPECT_EQ(errorOf([&] { setUp(1); }), "Invalid device index.");
    EXPECT_EQ(fake->takeCalls(), "");

    // The device works without a lock of the manager, and nobody is told before it has succeeded.
    fake->duringSetup = [&] {
        EXPECT_EQ(manager.deviceCount(), 1u);
        EXPECT_FALSE(manager.tryReadEvent(queue, event));
    };
    setUp(0);
    EXPECT_EQ(nextEvent(), "4 5 6");

    fake->faults = {{"setup", Fault::WithText}};
    EXPECT_EQ(errorOf([&] { setUp(0); }), "setup failed");
    EXPECT_FALSE(manager.tryReadEvent(queue, event));
}

TEST_F(DeviceManagerTest, stopLetsGoOfTheLibraryOnceAndKeepsTheDevices)
{
    fake->change({{"A", "", false}});
    start();
    fake->takeCalls();
    fake->faults = {{"unregister 77", Fault::WithText}};
    manager.stop();
    fake->callback(); // may still come from the library's thread, and must do no harm
    manager.stop();
    EXPECT_EQ(fake->takeCalls(), "unregister 77;");
    EXPECT_EQ(names(), "A+ ");
}

TEST_F(DeviceManagerTest, updateThreadCannotStopItself)
{
    fake->change({{"A", "", false}});
    std::string complaint;
    fake->duringReconnect = [&] { complaint = errorOf([&] { manager.stop(); }); };
    start();
    update();
    manager.stop();
    const auto deadlock = std::make_error_code(std::errc::resource_deadlock_would_occur);
    EXPECT_EQ(complaint, std::system_error(deadlock).what());
}

} // namespace
} // namespace tavu
