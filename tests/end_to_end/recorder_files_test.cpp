// What recordings leave on a recorder's drives, and what can be done with them.

#include "harness/recording.h"
#include "harness/service.h"

#include <gtest/gtest.h>
#include <optional>

namespace tavu::test {
namespace {

/// The record that a drive file's metadata block begins with.
std::string metadata(const Lab &lab, uint64_t fileId)
{
    return decode(readFile(lab.folder.path / concat("bench/sets/1/", fileId, ".meta"))).text;
}

/// A listed recording up to its times; \a ids are those of its file and stream.
std::string entryHead(uint32_t port, const Value &ids, const std::string &camera)
{
    const std::string &file = ids["fileId"].text, &stream = ids["streamId"].text;
    return concat(R"({"name":")", file, "-", stream, R"(","port":"Port )", port + 1,
                  R"(","camera":")", camera, R"(","fileId":)", file, R"(,"streamId":)", stream,
                  R"(,"width":70,"height":3,"numFrames":6,"numDroppedFrames":0,"size":2520,)",
                  R"("timestamp":)");
}

void expectFrames(Client &client, uint32_t port, const Value &ids, uint64_t count)
{
    const Value opened = client.result("openFile", idsOf(ids));
    const std::string id = concat("D openFileId=", opened["openFileId"].number);
    EXPECT_EQ(client.result("fileInfo", id).text,
              concat(R"({"width":70,"height":3,"imageSize":420,"numFrames":)", count, R"(,"size":)",
                     420 * count, "}"));
    const Region region(opened);
    for (uint64_t i = count; i-- > 0;) {
        client.does("readFrame", concat(id, " frame=", i));
        EXPECT_TRUE(region.bytes(420) == simulatedFrame(port, i, 70, 3)) << port << ", " << i;
    }
    client.fails("readFrame", concat(id, " frame=", count), "Failed to read file.");
    client.does("closeFile", id);
    client.fails("closeFile", id, "File not opened by this connection.");
}

class RecorderFiles : public testing::Test
{
protected:
    void start(const std::string &description)
    {
        client_.reset();
        service_.reset();
        lab_.emplace().describe("bench", description);
        service_.emplace(std::vector<std::string>{"noautoclose"}, lab_->path());
        client_.emplace();
    }
    void restart()
    {
        client_.reset();
        service_->kill();
        service_->start();
        client_.emplace();
    }

    std::optional<Lab> lab_;
    std::optional<Service> service_;
    std::optional<Client> client_;
};

TEST_F(RecorderFiles, AreStoredByteForByteAndSurviveARestart)
{
    for (const bool shared : {false, true}) {
        start(concat("ports = 3\ndrives = 3\ndrive sets = 1\nshared file = ", shared ? "yes" : "no",
                     "\n[ports]\nframe rate = 500\n"));
        configurePorts(*client_, 3, 70, 3);
        client_->does("repairPort", "P identity='Cam 0' info=#0102 numFramesPerPacket=3");
        record(*client_, 6, 5);

        const Value first = client_->result("recordingFile", "P");
        const Value second = client_->result("recordingFile", "D port=2");
        const uint64_t file[] = {first["fileId"].number, second["fileId"].number};
        EXPECT_EQ(file[0] == file[1], shared);
        EXPECT_NE(first["streamId"].number, second["streamId"].number);
        EXPECT_EQ(client_->result("recordingProgress", "P").text,
                  R"({"numFrames":6,"inPretrigger":false})");
        const Value list = client_->result("listFiles", "D");
        const uint64_t time = list["files"][""]["timestamp"].number;
        const std::string listTail = concat(time, R"(,"duration":0,"startTime":0,"endTime":0})");
        const std::string heads[] = {entryHead(0, first, "Cam 0"), entryHead(2, second, "Cam 2")};
        EXPECT_EQ(list.text,
                  concat(R"({"files":[)", heads[0], listTail, ",", heads[1], listTail, "]}"));

        const std::string open = R"({"orek":true,"type":"meta","version":0,"info":[)";
        const std::string tail = concat(time, R"(,"startTime":0,"endTime":0,"duration":0)");
        const std::string entries[] = {heads[0] + tail + R"(,"info":#0102})",
                                       heads[1] + tail + "}"};
        EXPECT_EQ(metadata(*lab_, file[0]),
                  concat(open, entries[0], shared ? "," + entries[1] : "", "]}"));
        if (!shared) {
            EXPECT_EQ(metadata(*lab_, file[1]), concat(open, entries[1], "]}"));
        }
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(client_->result("listFiles", "D").text, list.text);
            EXPECT_EQ(client_->result("fileIdentity", idsOf(first)).text, R"({"data":#0102})");
            client_->fails("fileIdentity", idsOf(second), "There is no file 0.");
            expectFrames(*client_, 0, first, 6);
            expectFrames(*client_, 2, second, 6);
            restart();
        }
        // What the configuration's file has no room for leaves the stored one alone.
        const std::string endless(3 << 20, 'c');
        client_->fails("pairPort", "P info=# numFramesPerPacket=1 identity='" + endless + "'",
                       "eof");
        restart();
        EXPECT_EQ(client_->result("pairedTo", "P")["pairedTo"].string, "Cam 0");
        EXPECT_EQ(client_->result("getPortConfig", "D port=2").text,
                  R"({"width":70,"height":3,"pixelFormat":5,"tapGeometry":0})");
    }
}

TEST_F(RecorderFiles, AreSalvagedAfterTheServiceDied)
{
    start("ports = 2\ndrive sets = 1\nshared file = yes\nrecovery time = 1\n"
          "[ports]\nframe rate = 500\n");
    configurePorts(*client_, 2, 16, 2);
    startRecording(*client_, 3, 20);
    restart();
    EXPECT_NE(service_->errors().find("HasIncompleteFile\n"), std::string::npos);
    client_->does("startRecovery", "D");
    EXPECT_TRUE(
        waitUntil([&] { return client_->result("recoveryStatus", "D")["status"].number == 3; }));
    client_->does("finishRecovery", "D");
    const Value list = client_->result("listFiles", "D")["files"];
    ASSERT_EQ(list.members.size(), 2u);
    for (uint32_t port = 0; port < 2; ++port) {
        const Value &file = list.members[port].second;
        EXPECT_GE(file["numFrames"].number, 20u);
        const Region region(client_->result("openFile", idsOf(file)));
        for (const uint64_t frame : {uint64_t(0), file["numFrames"].number - 1}) {
            client_->does("readFrame", concat("D openFileId=", port, " frame=", frame));
            EXPECT_TRUE(region.bytes(64) == simulatedFrame(port, frame, 16, 2)) << frame;
        }
    }
}

} // namespace
} // namespace tavu::test
