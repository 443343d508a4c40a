#include "harness/recording.h"
#include "harness/service.h"
#include "service/transport/local_socket.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <gtest/gtest.h>
#include <thread>

namespace tavu::test {
namespace {

namespace fs = std::filesystem;

/// Ends the service: a client connects and leaves.
void stop(Service &service)
{
    {
        Client passing(false);
    }
    EXPECT_EQ(service.waitForExit(), 0);
}

TEST(LifeCycle, ReadsOneOption)
{
    for (const char *argument : {"noautoclose", "NoAutoCLOSE"}) {
        Service service({"-x", argument, "--help"});
        for (int i = 0; i < 30; i++)
            EXPECT_EQ(Client().result("deviceCount")["count"].text, "1");
    }
    Service service({"noautoclos", "noautoclose ", "autoclose"});
    stop(service);
}

TEST(LifeCycle, OneInstanceServesAndTheOthersEndSilently)
{
    if (onWine())
        GTEST_SKIP() << "this system lets two services listen";
    Service service;
    stop(service);
    std::vector<std::unique_ptr<ChildProcess>> processes;
    const auto areRunning = [&](std::ptrdiff_t count) {
        return std::count_if(processes.begin(), processes.end(),
                             [](auto &process) { return !process->exitStatus(); }) == count;
    };
    for (int i = 0; i < 6; i++)
        processes.push_back(service.startAnother());
    {
        Client client;
        EXPECT_TRUE(waitUntil([&] { return areRunning(1); }));
        configure(client, 4, 4);
        Region region(client.result("startLive", "P"));
        processes.push_back(service.startAnother());
        EXPECT_TRUE(waitUntil([&] { return areRunning(1); }));
        EXPECT_TRUE(region.isReachable());
        EXPECT_EQ(Client().result("deviceCount")["count"].text, "1");
    }
    EXPECT_TRUE(waitUntil([&] { return areRunning(0); }));
    for (const auto &process : processes)
        EXPECT_EQ(process->exitStatus(), 0);
    EXPECT_EQ(service.output() + service.errors(), "");
}

TEST(LifeCycle, ClientsThatComeAndGoDisturbNobody)
{
    Service service;
    Client worker;
    const auto comeAndGo = [] {
        for (int round = 0; round < 200; round++)
            LocalSocket().connect("tavusrv");
    };
    const std::jthread first(comeAndGo), second(comeAndGo), third(comeAndGo);
    for (int round = 0; round < 200; round++)
        EXPECT_EQ(worker.result("deviceCount")["count"].text, "1");
}

TEST(LifeCycle, AKilledServiceIsReplaced)
{
    Service service;
    for (int round = 0; round < 3; round++) {
        Client client;
        configure(client, 64, 64);
        Region region(client.result("startLive", "P"));
        EXPECT_TRUE(region.isReachable());
        service.kill();
        EXPECT_EQ(client.receiveUntilEnd(), "");
        service.start();
        stop(service);
        EXPECT_FALSE(region.isReachable()) << "the next start removes what a killed service left";
        service.start();
    }
}

TEST(LifeCycle, AForeignObjectAtTheAddressIsLeftAlone)
{
    if (onWindows())
        GTEST_SKIP() << "no variable says where things are on this system";
    Service service;
    stop(service);
    const fs::path address = service.folder.path / "tavusrv";
    writeFile(address, "precious");
    service.start();
    EXPECT_EQ(service.waitForExit(), 0);
    EXPECT_EQ(readFile(address), "precious");
    fs::remove(address);
    setVariable("XDG_RUNTIME_DIR", (service.folder.path / "missing").string());
    service.start();
    EXPECT_EQ(service.waitForExit(), 0);
    EXPECT_EQ(service.output() + service.errors(), "");
}

TEST(LifeCycle, NeedsNoStandardOutput)
{
    Service service;
    stop(service);
    service.hasOutput = false;
    service.start();
    Script().play(R"(
        A 58 -> !Unrecognized function.
        A configures 4 4
        A records 2
        A 59 -> !Unrecognized function.
    )");
    EXPECT_EQ(service.waitForExit(), 0);
    const Bytes frames = expectedFrame(0, 4, 4) + expectedFrame(1, 4, 4);
    EXPECT_EQ(readFile(service.emulatorFolder / "Emu/1"), frames);
}

TEST(LifeCycle, StopsWithStatusZeroWhileTheDeviceRecords)
{
    Service service;
    std::unique_ptr<Region> live, playback;
    {
        Client client;
        configure(client, 100, 100);
        record(client, 1);
        live = std::make_unique<Region>(client.result("startLive", "P"));
        playback = std::make_unique<Region>(client.result("openFile", "D fileId=1 streamId=0"));
        startRecording(client);
    }
    EXPECT_EQ(service.waitForExit(), 0);
    EXPECT_FALSE(live->isReachable() || playback->isReachable());
    EXPECT_EQ(service.errors(), "");
    const Bytes frames = readFile(service.emulatorFolder / "Emu/.incomplete");
    ASSERT_GE(frames.size(), 4u * 20000);
    EXPECT_EQ(frames.size() % 20000, 0u);
    EXPECT_EQ(frames.substr(frames.size() - 20000),
              expectedFrame(frames.size() / 20000 - 1, 100, 100));
}

class DeadClient : public testing::TestWithParam<bool>
{
};

TEST_P(DeadClient, LosesAllThatItHeld)
{
    Service service;
    Script script;
    script.play(R"(
        A configures 16 16
        A records 2
        B createEventQueue -> {"queueId":0}
        B lockGlobal -> ok
    )");
    std::vector<std::unique_ptr<Region>> regions;
    for (const auto &[command, params] : {std::pair("openFile", "D fileId=1 streamId=0"),
                                          {"openFile", "D fileId=1 streamId=0"},
                                          {"startLive", "P"}})
        regions.push_back(std::make_unique<Region>(script["B"].result(command, params)));
    for (const auto &region : regions) {
        EXPECT_TRUE(region->name.starts_with("orek_tavu") && region->isReachable());
        EXPECT_EQ(region->name.find_first_not_of("0123456789ABCDEF", 9), std::string::npos);
    }
    script.play("A removeFile D fileId=1 streamId=0 -> !File is open");
    script["A"].request("lockGlobal");
    const bool byFault = GetParam();
    if (byFault)
        script["B"].send(fromHex("90"));
    else
        script["B"].close();
    // The lock is given back last: who gets it finds all else free.
    EXPECT_EQ(script["A"].reply().text, "{}");
    for (const auto &region : regions)
        EXPECT_FALSE(region->isReachable());
    script.play(R"(
        A liveFrame P -> !Live not started
        A createEventQueue -> {"queueId":0}
        A removeFile D fileId=1 streamId=0 -> ok
    )");
}

INSTANTIATE_TEST_SUITE_P(LifeCycle, DeadClient, testing::Bool());

TEST(LifeCycle, FindsItsDataFolder)
{
    if (onWindows())
        GTEST_SKIP() << "no variable says where things are on this system";
    Service service;
    stop(service);
    setVariable("XDG_DATA_HOME", std::nullopt);
    service.start();
    Script().play("A configures 4 4");
    EXPECT_TRUE(fs::exists(service.folder.path / ".local/share/OREK Systems/TAVU/Emulator/.meta"));
    EXPECT_EQ(service.waitForExit(), 0);

    const std::string file = (service.folder.path / "file").string();
    writeFile(file, "where the folder should be");
    setVariable("XDG_DATA_HOME", file);
    service.start();
    const std::string failure =
        " -> !Failed to open file: " + file + "/OREK Systems/TAVU/Emulator/.meta\n";
    Script().play("A createEventQueue -> {\"queueId\":0}\n"
                  "A pairPort P identity='a' info=#01 numFramesPerPacket=1" +
                  failure +
                  "A pairedTo P -> {\"pairedTo\":\"a\"}\n"
                  "A tryReadEvent queueId=0 -> {\"ok\":false}");
}

} // namespace
} // namespace tavu::test
