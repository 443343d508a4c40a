#include "lab.h"

#include <array>
#include <atomic>
#include <future>
#include <thread>

namespace tavu {
namespace {

std::string nameOf(Lab &lab, uint32_t index)
{
    return lab.recorders->deviceName(index).c_str();
}

TEST(InstallationTest, SaysWhyThereAreNoRecorders)
{
    Lab lab;
    for (const auto &folder : {std::filesystem::path(), lab.folder.path / "nowhere"}) {
        setSimulatorFolder(folder);
        testing::internal::CaptureStderr();
        lab.start();
        EXPECT_NE(testing::internal::GetCapturedStderr().find("no recorders"), std::string::npos);
        EXPECT_EQ(lab.recorders->count(), 0u);
        lab.recorders.reset();
        lab.instance.reset();
    }
}

TEST(InstallationTest, ReadsRecordersInTheOrderOfTheirFolders)
{
    Lab lab;
    lab.describe("b", "\xef\xbb\xbfname = Lower # not the folder's\r\nPORTS=3\r\n"
                      "Device  Type = 0x46\r\nalternative name = second = two\r\nvirtual = yes\r\n"
                      "[port 2]\r\nlink mode = 2\r\n[ports]\r\nlink mode = 7\r\ncamera = no\r\n");
    lab.describe("a", "");
    lab.describe("c", "interface = 1\n");
    lab.write("not one", "readme.txt", "");
    lab.start();
    ASSERT_EQ(lab.recorders->count(), 3u);
    EXPECT_EQ(nameOf(lab, 0), "a");
    const auto device = lab.device(1);
    EXPECT_STREQ(device->name().c_str(), "Lower");
    EXPECT_STREQ(device->altName().c_str(), "second = two");
    EXPECT_EQ(device->kind(), 1u);
    EXPECT_EQ(device->hardwareInfo(0)->deviceType, 0x46u);
    EXPECT_EQ(device->portCount(), 3u);
    EXPECT_STREQ(device->port(1)->name().c_str(), "Port 2");
    EXPECT_EQ(device->port(1)->linkMode(), 2u);
    EXPECT_EQ(device->port(2)->linkMode(), 7u);
    EXPECT_FALSE(device->port(1)->isCameraDetected());
    EXPECT_EQ(libraryErrorOf([&] { device->port(3); }), "There is no such port.");
    // Through two of the host's three interfaces, only the last one is seen.
    lab.recorders = lab.instance->deviceCollection(Quillon::HostInterfaceType(3), false);
    ASSERT_EQ(lab.recorders->count(), 1u);
    EXPECT_EQ(nameOf(lab, 0), "c");
}

TEST(InstallationTest, RefusesWhatItDoesNotUnderstandAndSaysWhere)
{
    const struct
    {
        const char *content;
        const char *message;
    } cases[] = {
        {"ports = 256", "recorder.conf:1: 256 is not between 0 and 255"},
        {"\n\nports = two", ":3: \"two\" is not a number"},
        {"ports = 2\nports = 3", ":2: \"ports\" stands here twice"},
        {"harbours = 2", ":1: there is no key \"harbours\""},
        {"ports", ":1: neither \"key = value\""},
        {"virtual = true", ":1: \"true\" is neither yes nor no"},
        {"interface = 3", ":1: 3 is not one of"},
        {"drives = 2 + ", ":1: \"\" is not a number"},
        {"drive size = 99999999999G", ":1: "},
        {"cluster size = 0K", ":1: 0K is less than 1"},
        {"[port 2]\nname = B", ":2: [port 2]: the count of \"ports\" is 1"},
        {"[harbour]\nname = B", ":2: there is no section [harbour]"},
        {"[port 1]\nframe size = 640", ":2: \"640\" is not of the form"},
        {"[port 1]\nframe rate = fast", ":2: \"fast\" is not a number"},
        {"[port 1]\nregister 0xFFFFFFFF = 1", "no memory for register"},
        {"ports = 2\n[ports]\nname = B", "two ports are called B"},
    };
    Lab lab;
    std::string last;
    for (const auto &row : cases) {
        last = std::to_string(&row - cases + 10);
        lab.describe(last, row.content);
    }
    testing::internal::CaptureStderr();
    lab.start();
    const std::string printed = testing::internal::GetCapturedStderr();
    for (const auto &row : cases)
        EXPECT_NE(printed.find(row.message), std::string::npos) << row.message << "\n" << printed;
    EXPECT_EQ(lab.recorders->count(), 0u);

    lab.describe(last, "name = mended");
    ASSERT_TRUE(eventually([&] { return lab.recorders->count() == 1; }));
    testing::internal::CaptureStderr();
    lab.describe(last, "ports = two");
    lab.describe("other", "");
    ASSERT_TRUE(eventually([&] { return lab.recorders->count() == 2; }));
    EXPECT_NE(testing::internal::GetCapturedStderr().find("\"two\""), std::string::npos);
    EXPECT_EQ(nameOf(lab, 0), "mended");
    EXPECT_EQ(lab.device(0)->portCount(), 1u);
}

TEST(InstallationTest, LibraryConfTakesEffectAsItChanges)
{
    Lab lab;
    lab.describe("a", "");
    lab.write("", "faults.conf", "Device::altName * raise x");
    lab.start();
    const auto device = lab.device(0);
    const auto log = [&] { return readFile(lab.folder.path / "calls.log"); };
    const auto call = [&] { return libraryErrorOf([&] { device->altName(); }); };
    lab.write("", "library.conf", "call log = calls.log\nversion = 3.0.12.1");
    EXPECT_TRUE(eventually([&] { return call() == "x" && !log().empty(); }));
    const Quillon::VersionInfo version = lab.instance->version();
    EXPECT_EQ((std::array{version.majorNumber, version.minorNumber, version.thirdNumber,
                          version.fourthNumber}),
              (std::array<uint32_t, 4>{3, 0, 12, 1}));
    const size_t before = log().size();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int k = 0; k < 200; ++k)
                call();
        });
    for (std::thread &thread : threads)
        thread.join();
    std::string expected;
    for (int i = 0; i < 800; ++i)
        expected += "a Device::altName\n";
    EXPECT_EQ(log().substr(before), expected);
    lab.write("", "library.conf", "");
    EXPECT_TRUE(eventually([&] {
        const std::string text = log();
        return call() == "x" && log() == text;
    }));
}

TEST(InstallationTest, FaultsHitTheCallsTheyName)
{
    Lab lab;
    lab.describe("a", "");
    lab.describe("b", "");
    lab.write(
        "", "faults.conf",
        "Device::portCount 2-3 raise Both # calls of a and b\nDeviceCollection::device 4- empty");
    lab.write("a", "faults.conf", "Device::portCount 3- raise A alone\nDevice::altName * take 60");
    lab.start();
    const auto a = lab.device(0), b = lab.device(1);
    const auto count = [](auto &device) { return libraryErrorOf([&] { device->portCount(); }); };
    EXPECT_EQ(count(a), "");
    EXPECT_EQ(count(b), "Both");
    EXPECT_EQ(count(a), "Both");
    EXPECT_EQ(count(b), "");
    EXPECT_EQ(count(a), "A alone");
    const auto before = std::chrono::steady_clock::now();
    a->altName();
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(60));
    EXPECT_TRUE(lab.recorders->device(0));
    EXPECT_FALSE(lab.recorders->device(0));
    // A new file counts anew, a bad one changes nothing.
    lab.write("a", "faults.conf", "Device::portCount 2 raise Second");
    ASSERT_TRUE(eventually([&] { return count(a) == "Second"; }));
    EXPECT_EQ(count(a), "");
    testing::internal::CaptureStderr();
    lab.write("", "faults.conf", "Device::harbourCount 1 empty");
    lab.describe("c", "");
    ASSERT_TRUE(eventually([&] { return lab.recorders->count() == 3; }));
    EXPECT_NE(testing::internal::GetCapturedStderr().find(":1: there is no operation"),
              std::string::npos);
    EXPECT_FALSE(lab.recorders->device(0));
}

TEST(InstallationTest, RecordersComeAndGoAndProgramsHearOfIt)
{
    Lab lab;
    lab.describe("m", "ports = 2");
    lab.start();
    std::atomic<int> calls = 0;
    const uint32_t id = lab.recorders->registerChangeCallback([&](uint32_t) { ++calls; });
    const auto heard = [&](int count) { return eventually([&] { return calls == count; }); };
    const auto device = lab.device(0);
    const auto port = device->port(0);
    port->startGrab({true, 4}, 0);

    lab.describe("m", "ports = 2\nconnected = no\nalternative name = gone");
    ASSERT_TRUE(heard(1));
    EXPECT_EQ(lab.recorders->deviceState(0), 1u);
    EXPECT_EQ(device->connectionState(), 1u);
    EXPECT_STREQ(device->altName().c_str(), "gone");
    EXPECT_EQ(libraryErrorOf([&] { device->portCount(); }), "m is not connected.");
    EXPECT_EQ(libraryErrorOf([&] { port->isGrabbing(); }), "m is not connected.");

    lab.describe("a", ""); // alphabetically before, but later
    ASSERT_TRUE(heard(2));
    EXPECT_EQ(nameOf(lab, 1), "a");
    lab.describe("m", "ports = 3");
    ASSERT_TRUE(heard(3));
    EXPECT_EQ(lab.recorders->deviceState(0), 0u);
    EXPECT_EQ(device->portCount(), 3u);
    EXPECT_FALSE(port->isGrabbing()); // pulled out, it has forgotten
    std::filesystem::remove_all(lab.folder.path / "a");
    ASSERT_TRUE(heard(4));
    EXPECT_EQ(lab.recorders->deviceState(1), 1u);
    EXPECT_EQ(lab.recorders->count(), 2u);

    lab.recorders->unregisterChangeCallback(id);
    lab.describe("m", "name = quiet");
    ASSERT_TRUE(eventually([&] { return nameOf(lab, 0) == "quiet"; }));
    EXPECT_EQ(calls, 4);
}

TEST(InstallationTest, UnregisteringWaitsForTheCallButNotForItself)
{
    Lab lab;
    lab.describe("m", "");
    lab.start();
    std::atomic<bool> entered = false, left = false, ownLeft = false;
    std::promise<void> gate;
    const uint32_t slow = lab.recorders->registerChangeCallback([&](uint32_t) {
        entered = true;
        gate.get_future().wait();
        left = true;
    });
    uint32_t own = 0;
    own = lab.recorders->registerChangeCallback([&](uint32_t) {
        lab.recorders->unregisterChangeCallback(own);
        ownLeft = true;
    });
    lab.describe("m", "ports = 2");
    ASSERT_TRUE(eventually([&] { return entered.load(); }));
    std::thread opener([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        gate.set_value();
    });
    lab.recorders->unregisterChangeCallback(slow);
    EXPECT_TRUE(left);
    EXPECT_TRUE(eventually([&] { return ownLeft.load(); }));
    opener.join();
}

TEST(LibraryTypesTest, BehaveAtTheirEdges)
{
    using Common::Buffer;
    EXPECT_EQ(libraryErrorOf([] { Buffer(uint64_t(1) << 60); }), "Out of memory.");
    EXPECT_EQ(Buffer::create(nullptr, uint64_t(4) << 30)->size(), uint64_t(4) << 30);
    EXPECT_EQ(libraryErrorOf([] { Buffer(4).ptr(5); }), "Offset out of range.");
    Quillon::String text("abc");
    text = text.c_str() + 1;
    EXPECT_STREQ(text.c_str(), "bc");
    Quillon::Vector<uint32_t> list;
    for (uint32_t i = 0; i < 9; ++i)
        list.append(i);
    auto position = list.begin();
    ++ ++position;
    list.erase(position);
    Quillon::Vector<uint32_t> copy(list);
    copy.append(9);
    std::string all;
    for (auto i = copy.begin(); i != copy.end(); ++i)
        all += std::to_string(*i);
    EXPECT_EQ(all, "013456789");
    EXPECT_EQ(list.size(), 8u);
    EXPECT_EQ(libraryErrorOf([&] { list[8]; }), "Index out of range.");
}

} // namespace
} // namespace tavu
