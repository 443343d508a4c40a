#include "harness/emulator.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

const std::string kBadId = error("Invalid fileId");
const std::string kNotMine = error("File not opened by this connection.");

std::string mappingOf(Client &client, uint64_t fileId = 1)
{
    return client.result(27, concat("deviceId=0 fileId=", fileId, " streamId=0"))["mapping"].string;
}

std::string liveMapping(Client &client) { return client.result(52, "deviceId=0 port=0")["mapping"].string; }

std::string geometryText(uint64_t width, uint64_t height)
{
    return concat(R"({"result":{"width":)", width, R"(,"height":)", height, R"(,"imageSize":)",
                  width * height * 2, "}}");
}

TEST(Playback, ShowsEachFrameInTheRegion)
{
    Service service;
    Client client(service);
    configure(client, 70, 3);
    record(client, 40);
    Region region(mappingOf(client));
    EXPECT_EQ(client.call(28, "deviceId=0 openFileId=0"),
              R"({"result":{"width":70,"height":3,"imageSize":420,"numFrames":40,"size":16800}})");
    for (const uint64_t n : {0, 39, 1, 38, 31, 30, 2})
        for (int again = 0; again < 2; again++) {
            EXPECT_EQ(client.call(30, concat("deviceId=0 openFileId=0 frame=", n)), "{}");
            EXPECT_EQ(region.bytes(420), expectedFrame(n, 70, 3));
        }
    for (const char *frame : {"40", "18446744073709551615"})
        EXPECT_EQ(client.call(30, concat("deviceId=0 openFileId=0 frame=", frame)),
                  error("Invalid frame index"));
}

TEST(Playback, SlotsBelongToConnectionsAndAreReused)
{
    Service service;
    Client client(service), other(service);
    configure(client, 4, 4);
    record(client, 1);
    const auto open = [&](Client &by) {
        return by.result(27, "deviceId=0 fileId=1 streamId=0")["openFileId"].number;
    };
    EXPECT_EQ(client.call(27, "deviceId=0 fileId=2 streamId=0"), kBadId);
    EXPECT_EQ(open(client), 0u);
    EXPECT_EQ(open(other), 1u);
    EXPECT_EQ(open(client), 2u);
    EXPECT_EQ(client.call(28, "deviceId=0 openFileId=1"), kNotMine);
    EXPECT_EQ(client.call(28, "deviceId=1 openFileId=0"), kNotMine);
    EXPECT_EQ(other.call(30, "deviceId=0 openFileId=0 frame=0"), kNotMine);
    EXPECT_EQ(other.call(29, "deviceId=0 openFileId=0"), kNotMine);
    EXPECT_EQ(client.call(31, "deviceId=0 fileId=1 streamId=0"), error("File is open"));
    EXPECT_EQ(client.call(29, "deviceId=0 openFileId=0"), "{}");
    EXPECT_EQ(client.call(29, "deviceId=0 openFileId=0"), kNotMine);
    EXPECT_EQ(client.call(30, "deviceId=0 openFileId=0 frame=0"), kNotMine);
    EXPECT_EQ(open(other), 0u);
    EXPECT_EQ(client.call(31, "deviceId=0 fileId=1 streamId=0"), error("File is open"));
    for (const char *request : {"deviceId=0 openFileId=0", "deviceId=0 openFileId=1"})
        EXPECT_EQ(other.call(29, request), "{}");
    EXPECT_EQ(client.call(30, "deviceId=0 openFileId=2 frame=0"), "{}");
    EXPECT_EQ(client.call(29, "deviceId=0 openFileId=2"), "{}");
    EXPECT_EQ(client.call(31, "deviceId=0 fileId=1 streamId=0"), "{}");
    EXPECT_EQ(client.call(27, "deviceId=0 fileId=1 streamId=0"), kBadId);
}

TEST(Playback, FollowsTheCountThatClientsSet)
{
    Service service;
    Client client(service);
    configure(client, 4, 4);
    record(client, 3);
    Region region(mappingOf(client));
    EXPECT_EQ(client.call(49, "deviceId=0 fileId=1 streamId=0 name='n' width=99 height=98 "
                              "numImages=1099511627776 numDroppedFrames=0 duration=0 notify=false"),
              R"({"result":{"name":"n"}})");
    EXPECT_EQ(client.call(28, "deviceId=0 openFileId=0"),
              R"({"result":{"width":4,"height":4,"imageSize":32,"numFrames":1099511627776,"size":96}})");
    region.fill(0x55);
    EXPECT_EQ(client.call(30, "deviceId=0 openFileId=0 frame=3"), "{}");
    EXPECT_EQ(region.bytes(32), Bytes(32, 0x55)) << "a read behind the end leaves the older bytes";
    // The offset is 32 bits wide: this one comes round to frame 1.
    EXPECT_EQ(client.call(30, "deviceId=0 openFileId=0 frame=134217729"), "{}");
    EXPECT_EQ(region.bytes(32), expectedFrame(1, 4, 4));
    EXPECT_EQ(client.call(30, "deviceId=0 openFileId=0 frame=67108864"), "{}");
    EXPECT_EQ(client.call(30, "deviceId=0 openFileId=0 frame=1099511627775"), "{}");
    EXPECT_EQ(client.call(30, "deviceId=0 openFileId=0 frame=1099511627776"),
              error("Invalid frame index"));
}

TEST(Playback, SurvivesAnIdThatComesBackWithAnotherGeometry)
{
    Service service;
    Client client(service);
    configure(client, 4, 4);
    record(client, 2);
    Region small(mappingOf(client));
    client.call(30, "deviceId=0 openFileId=0 frame=1");
    client.call(33, "deviceId=0");
    EXPECT_EQ(client.call(30, "deviceId=0 openFileId=0 frame=0"), kBadId);
    configure(client, 1000, 1000);
    EXPECT_EQ(record(client, 2), 1u);
    for (const char *frame : {"0", "1"})
        EXPECT_EQ(client.call(30, concat("deviceId=0 openFileId=0 frame=", frame)), "{}");
    EXPECT_EQ(small.bytes(4096 - 32, 32), Bytes(4096 - 32, '\0')) << "written past the frame";
    Region large(mappingOf(client));
    EXPECT_EQ(client.call(30, "deviceId=0 openFileId=1 frame=1"), "{}");
    EXPECT_EQ(large.bytes(2000000), expectedFrame(1, 1000, 1000));
    EXPECT_EQ(client.call(29, "deviceId=0 openFileId=0"), "{}");
}

TEST(Live, RunsOnFromFrameToFrame)
{
    Service service;
    Client client(service), other(service);
    const std::string notRunning = error("Live not started");
    EXPECT_EQ(client.call(52, "deviceId=0 port=0"), error("Failed to create memory mapping"));
    configure(client, 300, 100);
    EXPECT_EQ(client.call(54, "deviceId=0 port=0"), notRunning);
    for (int round = 0; round < 2; round++) {
        Region region(liveMapping(client));
        EXPECT_EQ(other.call(52, "deviceId=0 port=0"), error("Live alrady started"));
        EXPECT_EQ(other.call(53, "deviceId=0 port=0"), error("Live not started by this connection."));
        for (uint64_t n = 0; n < 4; n++) {
            EXPECT_EQ((n % 2 == 0 ? client : other).call(54, "deviceId=0 port=0"), geometryText(300, 100));
            EXPECT_EQ(region.bytes(60000), expectedRamp(n * 30000, 30000));
        }
        EXPECT_EQ(client.call(53, "deviceId=0 port=0"), "{}");
        EXPECT_EQ(client.call(53, "deviceId=0 port=0"), error("Live not started by this connection."));
        EXPECT_EQ(other.call(54, "deviceId=0 port=0"), notRunning);
    }
}

TEST(Live, KeepsItsFrameWhenTheGeometryChanges)
{
    Service service;
    Client client(service);
    configure(client, 4, 4);
    Region region(liveMapping(client));
    client.call(54, "deviceId=0 port=0");
    const std::pair<uint32_t, uint32_t> geometries[] = {{2000, 2000}, {1, 1}, {0, 5}, {50000, 40000}};
    uint64_t first = 16;
    for (const auto &[width, height] : geometries) {
        configure(client, width, height);
        EXPECT_EQ(client.call(54, "deviceId=0 port=0"), geometryText(width, height));
        EXPECT_EQ(region.bytes(32), expectedRamp(first, 16));
        EXPECT_EQ(region.bytes(4096 - 32, 32), Bytes(4096 - 32, '\0')) << "written past the frame";
        first += 16;
    }
}

TEST(Live, SurvivesSizesThatWrap)
{
    Service service;
    Client client(service);
    // 46341 x 46341 x 2 is 9266 bytes above 2^32.
    configure(client, 46341, 46341);
    Region region(liveMapping(client));
    EXPECT_EQ(client.call(54, "deviceId=0 port=0"),
              R"({"result":{"width":46341,"height":46341,"imageSize":9266}})");
    EXPECT_EQ(region.bytes(9266), expectedRamp(0, 4633));
    EXPECT_EQ(region.bytes(12288 - 9266, 9266), Bytes(12288 - 9266, '\0'));
    client.call(53, "deviceId=0 port=0");

    configure(client, 65535, 65535);
    client.request(52, "deviceId=0 port=0");
    const std::string answer = client.reply().text;
    EXPECT_TRUE(answer == error("Failed to create memory mapping") ||
                answer.starts_with(R"({"result":{"mapping":"orek_tavu)"))
        << answer;
    EXPECT_EQ(client.call(4), R"({"result":{"count":1}})");
}

} // namespace
} // namespace tavu::test
