#include "harness/emulator.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace tavu::test {
namespace {

namespace fs = std::filesystem;

const std::string kOneDevice = R"({"result":{"count":1}})";

ProcessOptions besides(const Service &service)
{
    ProcessOptions options = service.processOptions;
    options.outputPath += "2";
    options.errorPath += "2";
    return options;
}

TEST(LifeCycle, EndsWhenTheLastClientLeaves)
{
    Service service;
    {
        Client last(service);
        {
            Client first(service);
        }
        for (int i = 0; i < 20; i++)
            EXPECT_EQ(last.call(4), kOneDevice);
    }
    EXPECT_EQ(service.waitForExit(), 0);
    EXPECT_EQ(service.output() + service.errors(), "");
}

TEST(LifeCycle, EndsWithAClientThatOnlyConnected)
{
    Service service;
    Client(service, false);
    EXPECT_EQ(service.waitForExit(), 0);
}

TEST(LifeCycle, StaysWithNoAutoCloseInAnyCase)
{
    const std::vector<std::string> lines[] = {{"noautoclose"},
                                              {"-x", "NoAutoCLOSE", "--help", "noautoclose"}};
    for (const auto &arguments : lines) {
        Service service({.arguments = arguments, .environment = {}});
        for (int i = 0; i < 30; i++)
            EXPECT_EQ(Client(service).call(4), kOneDevice);
    }
}

TEST(LifeCycle, IgnoresOtherArguments)
{
    Service service({.arguments = {"noautoclos", "noautoclose ", "autoclose"}, .environment = {}});
    {
        Client last(service);
    }
    EXPECT_EQ(service.waitForExit(), 0);
}

TEST(LifeCycle, ASecondInstanceLeavesTheFirstAlone)
{
    Service service;
    Client client(service);
    EXPECT_EQ(client.call(0), R"({"result":{"queueId":0}})");
    configure(client, 4, 4);
    const std::string mapping = client.result(52, "deviceId=0 port=0")["mapping"].string;
    Region region(mapping);
    for (int i = 0; i < 3; i++)
        EXPECT_EQ(ChildProcess(besides(service)).waitForExit(kLimit), 0);
    EXPECT_EQ(readFile(besides(service).outputPath) + readFile(besides(service).errorPath), "");
    EXPECT_TRUE(region.isReachable());
    EXPECT_EQ(client.call(3, "queueId=0"), R"({"result":{"ok":false}})");
    EXPECT_EQ(Client(service).call(4), kOneDevice);
}

TEST(LifeCycle, OnlyOneOfManyInstancesServes)
{
    Service service;
    Client(service, false);
    EXPECT_EQ(service.waitForExit(), 0);
    std::vector<std::unique_ptr<ChildProcess>> processes;
    for (int i = 0; i < 6; i++)
        processes.push_back(std::make_unique<ChildProcess>(besides(service)));
    const auto areRunning = [&](size_t expected) {
        size_t count = 0;
        for (const auto &process : processes)
            count += !process->exitStatus().has_value();
        return count == expected;
    };
    Client client(service);
    EXPECT_TRUE(waitUntil([&] { return areRunning(1); }));
    EXPECT_EQ(client.call(4), kOneDevice);
    client.pipe.close();
    EXPECT_TRUE(waitUntil([&] { return areRunning(0); }));
    for (const auto &process : processes)
        EXPECT_EQ(process->exitStatus(), 0);
}

TEST(LifeCycle, AKilledServiceIsReplaced)
{
    Service service;
    for (int round = 0; round < 3; round++) {
        Client client(service);
        configure(client, 64, 64);
        Region region(client.result(52, "deviceId=0 port=0")["mapping"].string);
        EXPECT_TRUE(region.isReachable());
        service.kill();
        EXPECT_EQ(client.pipe.receiveUntilEnd(), "");
        service.start();
        EXPECT_EQ(Client(service).call(4), kOneDevice);
        EXPECT_EQ(service.waitForExit(), 0);
        EXPECT_FALSE(region.isReachable()) << "the next start removes what a killed service left";
        service.start();
    }
}

TEST(LifeCycle, AForeignObjectAtTheAddressIsLeftAlone)
{
    Service service;
    Client(service, false);
    EXPECT_EQ(service.waitForExit(), 0);
    const std::string address = service.folder.path + "/tavusrv";
    const ProcessOptions options = besides(service);

    writeFile(address, "precious");
    EXPECT_EQ(ChildProcess(options).waitForExit(kLimit), 0);
    EXPECT_EQ(readFile(address), "precious");
    fs::remove(address);

    fs::create_directory(address);
    EXPECT_EQ(ChildProcess(options).waitForExit(kLimit), 0);
    EXPECT_TRUE(fs::is_directory(address));
    fs::remove(address);

    for (const std::string &folder : {service.folder.path + "/missing",
                                      service.folder.path + '/' + std::string(120, 'x')}) {
        ProcessOptions elsewhere = options;
        elsewhere.environment["XDG_RUNTIME_DIR"] = folder;
        EXPECT_EQ(ChildProcess(elsewhere).waitForExit(kLimit), 0);
    }
    EXPECT_EQ(readFile(options.outputPath) + readFile(options.errorPath), "");
    service.start();
    EXPECT_EQ(Client(service).call(4), kOneDevice);
}

TEST(LifeCycle, NeedsNoStandardOutput)
{
    for (const StandardOutput output : {StandardOutput::Closed, StandardOutput::Broken}) {
        Service service({.arguments = {}, .environment = {}, .output = output});
        Client client(service);
        for (int i = 0; i < 3; i++)
            EXPECT_EQ(client.call(58), error("Unrecognized function."));
        configure(client, 4, 4);
        EXPECT_EQ(record(client, 2), 1u);
        EXPECT_EQ(readFile(service.emulatorFolder + "Emu/1").size(), 64u);
        client.pipe.close();
        EXPECT_EQ(service.waitForExit(), 0);
    }
}

TEST(LifeCycle, StopsWithStatusZeroWhileTheDeviceRecords)
{
    Service service;
    {
        Client client(service);
        configure(client, 100, 100);
        startRecording(client, std::nullopt);
        EXPECT_TRUE(waitUntil([&] {
            return client.result(47, "deviceId=0 port=0")["numFrames"].number >= 5;
        }));
    }
    EXPECT_EQ(service.waitForExit(), 0);
    EXPECT_EQ(service.errors(), "");
    const std::string frames = readFile(service.emulatorFolder + "Emu/.incomplete");
    ASSERT_GE(frames.size(), 5u * 20000);
    EXPECT_EQ(frames.size() % 20000, 0u);
    const uint64_t last = frames.size() / 20000 - 1;
    EXPECT_EQ(frames.substr(last * 20000), expectedFrame(last, 100, 100));
}

class DeadClient : public testing::TestWithParam<bool>
{
};

TEST_P(DeadClient, LosesAllThatItHeld)
{
    Service service;
    Client heir(service), client(service);
    configure(heir, 16, 16);
    record(heir, 2);
    std::vector<std::unique_ptr<Region>> regions;
    EXPECT_EQ(client.call(0), R"({"result":{"queueId":0}})");
    for (int i = 0; i < 2; i++)
        regions.push_back(std::make_unique<Region>(
            client.result(27, "deviceId=0 fileId=1 streamId=0")["mapping"].string));
    regions.push_back(
        std::make_unique<Region>(client.result(52, "deviceId=0 port=0")["mapping"].string));
    EXPECT_EQ(client.call(55), "{}");
    EXPECT_EQ(heir.call(52, "deviceId=0 port=0"), error("Live alrady started"));
    EXPECT_EQ(heir.call(31, "deviceId=0 fileId=1 streamId=0"), error("File is open"));
    for (const auto &region : regions)
        EXPECT_TRUE(region->isReachable());

    heir.request(55);
    const bool byFault = GetParam();
    if (byFault) {
        client.pipe.send(fromHex("90"));
        EXPECT_EQ(client.pipe.receiveUntilEnd(), "");
    } else {
        client.pipe.close();
    }
    // The lock is given back last, so that all else is free as soon as it is had.
    EXPECT_EQ(heir.reply().text, "{}");
    EXPECT_EQ(heir.call(54, "deviceId=0 port=0"), error("Live not started"));
    EXPECT_EQ(heir.call(0), R"({"result":{"queueId":0}})");
    for (const auto &region : regions)
        EXPECT_FALSE(region->isReachable());
    EXPECT_EQ(heir.result(27, "deviceId=0 fileId=1 streamId=0")["openFileId"].text, "0");
}

INSTANTIATE_TEST_SUITE_P(LifeCycle, DeadClient, testing::Bool());

TEST(LifeCycle, KeepsItsDataBelowHomeWithoutADataVariable)
{
    const std::optional<std::string> values[] = {std::nullopt, ""};
    for (const auto &value : values) {
        Service service({.arguments = {}, .environment = {{"XDG_DATA_HOME", value}}});
        Client client(service);
        configure(client, 4, 4);
        EXPECT_TRUE(fs::exists(service.folder.path + "/.local/share/OREK Systems/TAVU/Emulator/.meta"));
        EXPECT_TRUE(fs::is_directory(service.folder.path + "/.local/share/OREK Systems/TAVU/Emulator/Emu"));
    }
}

TEST(LifeCycle, LeavesNoRegionAndNoSocketBehind)
{
    Service service;
    std::vector<std::unique_ptr<Region>> regions;
    {
        Client client(service);
        configure(client, 30, 20);
        record(client, 1);
        for (int i = 0; i < 3; i++)
            regions.push_back(std::make_unique<Region>(
                client.result(27, "deviceId=0 fileId=1 streamId=0")["mapping"].string));
        regions.push_back(
            std::make_unique<Region>(client.result(52, "deviceId=0 port=0")["mapping"].string));
    }
    EXPECT_EQ(service.waitForExit(), 0);
    for (const auto &region : regions) {
        EXPECT_TRUE(region->name.starts_with("orek_tavu"));
        EXPECT_EQ(region->name.find_first_not_of("0123456789ABCDEF", 9), std::string::npos);
        EXPECT_FALSE(region->isReachable());
    }
    EXPECT_FALSE(RawPipe().connect(service.folder.path));
}

} // namespace
} // namespace tavu::test
