// Recorders that come and go.

#include "harness/recording.h"
#include "harness/service.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

TEST(Recorder, ComesAndGoesWhileClientsWork)
{
    Lab lab;
    const std::string description = "ports = 2\ndrive sets = 1\n[ports]\nframe rate = 200";
    lab.describe("a", description);
    Service service({}, lab.path());
    Client client;
    configurePorts(client, 1, 16, 4);
    record(client, 5);
    const std::string files = client.result("listFiles", "D").text;
    EXPECT_EQ(client.result("createEventQueue", "").text, R"({"queueId":0})");
    const auto waitForChange = [&] {
        return waitUntil(
            [&] { return client.result("readEvent", "queueId=0")["event"]["type"].number == 1; });
    };

    lab.describe("b", description);
    EXPECT_TRUE(waitForChange());
    EXPECT_EQ(client.result("deviceCount")["count"].number, 2u);
    // Without its recorder a device that records loses its list of files, but not its ports.
    client.does("startRecording", recordingOf(1));
    lab.remove("a");
    EXPECT_TRUE(waitForChange());
    Script script;
    script.play(R"(
        A deviceConnected D -> {"connected":false}
        A listFiles D -> {"files":[]}
        A pairedTo P -> {"pairedTo":"Cam 0"}
        A portCount D -> {"count":2}
        A recordingProgress P -> !a is not connected.
        A portCount deviceId=1 -> {"count":2}
    )");
    lab.describe("a", description);
    EXPECT_TRUE(waitForChange());
    script.play(R"(
        A deviceConnected D -> {"connected":true}
        A stopRecording D -> ok
        A deviceCount -> {"count":2}
    )");
    EXPECT_EQ(client.result("listFiles", "D").text, files);
    EXPECT_EQ(client.result("hasIncompleteFile", "D").text, R"({"hasIncompleteFile":true})");
}

TEST(Recorder, AFaultOfTheLibraryAtItsStartLeavesNone)
{
    for (const char *fault :
         {"Instance::initialize 1 raise x", "Instance::deviceCollection 1 raise x",
          "Instance::initialize 1 empty", "DeviceCollection::registerChangeCallback 1 raise x",
          "DeviceCollection::count 1 raise x", "Instance::deviceCollection 1 empty"}) {
        Lab lab;
        lab.describe("a", "");
        lab.write("", "faults.conf", fault);
        const Service service({}, lab.path());
        EXPECT_EQ(Client().result("deviceCount")["count"].number, 0u) << fault;
    }
    Lab lab;
    lab.describe("a", "");
    lab.write("", "library.conf", "version = 2.1.0.39");
    const Service service({}, lab.path());
    EXPECT_EQ(Client().result("deviceCount")["count"].number, 0u);
}

} // namespace
} // namespace tavu::test
