// Recorders as they come and go, and what a client can ask and set up.

#include "harness/lab.h"

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
    recordFrames(client, 1, 5);
    const std::string files = client.result(26, "D").text;
    EXPECT_EQ(client.result(0, "").text, R"({"queueId":0})");
    const auto waitForChange = [&] {
        return waitUntil(
            [&] { return client.result(2, "queueId=0")["event"]["type"].number == 1; });
    };

    lab.describe("b", description);
    EXPECT_TRUE(waitForChange());
    EXPECT_EQ(client.result(4)["count"].number, 2u);
    // Pulled out in mid-recording: what was listed goes, the port table stays.
    EXPECT_EQ(client.call(42, recordingOf(1)), "{}");
    lab.remove("a");
    EXPECT_TRUE(waitForChange());
    Script script;
    script.play(R"(
        A 6 D -> {"connected":false}
        A 26 D -> {"files":[]}
        A 35 P -> {"pairedTo":"Cam 0"}
        A 24 D -> {"count":2}
        A 47 P -> !a is not connected.
        A 24 deviceId=1 -> {"count":2}
    )");
    lab.describe("a", description);
    EXPECT_TRUE(waitForChange());
    script.play(R"(
        A 6 D -> {"connected":true}
        A 43 D -> ok
        A 4 -> {"count":2}
    )");
    EXPECT_EQ(client.result(26, "D").text, files);
    EXPECT_EQ(client.result(7, "D").text, R"({"hasIncompleteFile":true})");
}

TEST(Recorder, AFaultOfTheLibraryAtItsStartLeavesNone)
{
    for (const char *fault :
         {"Instance::initialize 1 raise x", "Instance::deviceCollection 1 raise x",
          "Instance::initialize 1 empty", "DeviceCollection::registerChangeCallback 1 raise x",
          "DeviceCollection::count 1 raise x", "Instance::deviceCollection 1 empty"}) {
        Lab lab;
        lab.describe("a", "");
        writeFile(lab.file("faults.conf"), fault);
        const Service service({}, lab.path());
        EXPECT_EQ(Client().result(4)["count"].number, 0u) << fault;
    }
    Lab lab;
    lab.describe("a", "");
    writeFile(lab.file("library.conf"), "version = 2.1.0.39");
    const Service service({}, lab.path());
    EXPECT_EQ(Client().result(4)["count"].number, 0u);
}

} // namespace
} // namespace tavu::test
