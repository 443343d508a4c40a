#include "client/connection.h"

#include "client/tools/json_values.h"
#include "scripted_service.h"
#include "service/transport/local_socket.h"
#include "support/commands.h"
#include "support/error_of.h"

#include <gtest/gtest.h>
#include <set>
#include <type_traits>

namespace tavu::client {
namespace {

using test::concat, test::encode, test::encodeMap, test::encodeRequest, test::errorOf;
using C = Connection;

const char *const kFile = "name='n' port='p' camera='c' fileId=4294967295 streamId=2 width=65535 "
                          "height=4 numFrames=5 numDroppedFrames=6 size=7 "
                          "timestamp=18446744073709551615 duration=9 startTime=10 endTime=11";

/// Calls the operations of a connection, and compares their requests with those of the protocol.
class CommandTest : public testing::Test
{
protected:
    /// A command that returns nothing.
    template <typename Operation, typename... Arguments>
    void sends(const char *command, Operation operation, const Arguments &...arguments)
    {
        Scripted scripted({encode("{}")});
        std::invoke(operation, *scripted.connection, arguments...);
        expectRequest(command, *scripted.script);
    }

    /// A command that returns what it finds in the values below "result".
    template <typename Operation, typename... Arguments>
    void brings(const char *command, const std::string &values,
                std::invoke_result_t<Operation, C &, Arguments...> expected, Operation operation,
                const Arguments &...arguments)
    {
        Scripted scripted({encode("{'result':" + values + "}")});
        EXPECT_EQ(std::invoke(operation, *scripted.connection, arguments...), expected) << command;
        expectRequest(command, *scripted.script);
    }

    std::set<uint64_t> tested_;

private:
    void expectRequest(const char *command, const Script &script)
    {
        const uint64_t ordinal = test::ordinalOf(command);
        ASSERT_EQ(script.requests.size(), 2u) << command;
        // Byte for byte: the order of the parameters is part of the protocol.
        const std::string params = encodeMap(test::commands()[ordinal].params);
        EXPECT_EQ(script.requests[1], encodeRequest(command, params)) << command;
        tested_.insert(ordinal);
    }
};

TEST_F(CommandTest, IsSentInOneWriteAndItsReplyIsRead)
{
    constexpr uint32_t kMost = 4294967295;
    const Pairing pairing = {"cam", {5, 6}, 65535};
    brings("createEventQueue", "{'queueId':7}", 7, &C::createEventQueue);
    sends("destroyEventQueue", &C::destroyEventQueue, 7);
    const std::string event = "'event':{'type':2,'device':1,'port':5}}";
    const auto textOf = [](const Event &e) { return concat(int(e.type), e.device, e.port); };
    brings("readEvent", "{" + event, "215", [&](C &c) { return textOf(c.readEvent(7)); });
    brings("tryReadEvent", "{'ok':true," + event, "215",
           [&](C &c) { return textOf(c.tryReadEvent(7).value()); });
    brings("tryReadEvent", "{'ok':false}", false, [](C &c) { return bool(c.tryReadEvent(7)); });
    brings("deviceCount", "{'count':2}", 2, &C::deviceCount);
    brings("deviceName", "{'name':'Kamera \u00e4'}", "Kamera \u00e4", &C::deviceName, 0);
    brings("deviceConnected", "{'connected':true}", true, &C::deviceConnected, 0);
    brings("hasIncompleteFile", "{'hasIncompleteFile':true}", true, &C::hasIncompleteFile, 0);
    sends("discardIncompleteFile", &C::discardIncompleteFile, 0);
    sends("startRecovery", &C::startRecovery, 0);
    sends("cancelRecovery", &C::cancelRecovery, 0);
    brings("recoveryStatus", "{'status':3}", RecoveryStatus::Done, &C::recoveryStatus, 0);
    brings("recoveryError", "{'error':'broken'}", "broken", &C::recoveryError, 0);
    sends("finishRecovery", &C::finishRecovery, 0);
    sends("serialOpen", &C::serialOpen, 0, 1, SerialSettings{4000000000, 3, 255});
    brings("serialGetBaudRate", "{'baudRate':9600}", 9600, &C::serialGetBaudRate, 0, 1);
    sends("serialSetBaudRate", &C::serialSetBaudRate, 0, 1, 4000000000);
    brings("serialRead", "{'data':#00FF}", {0, 255}, &C::serialRead, 0, 1, 3);
    brings("serialWrite", "{'size':2}", 2, &C::serialWrite, 0, 1, Bytes{13, 10});
    sends("serialClear", &C::serialClear, 0, 1);
    sends("serialClose", &C::serialClose, 0, 1);
    brings("registerRead", "{'data':#}", {}, &C::registerRead, 0, 1, kMost, 3);
    sends("registerWrite", &C::registerWrite, 0, 1, kMost, Bytes());
    brings("isCxp", "{'isCxp':true}", true, &C::isCxp, 0);
    brings("portCount", "{'count':255}", 255, &C::portCount, 0);
    brings("portName", "{'name':''}", "", &C::portName, 0, 1);
    brings("listFiles", "{'files':[]}", 0, [](C &c) { return c.listFiles(0).size(); });
    brings("openFile", "{'openFileId':4,'mapping':'orek_tavu1F'}", "4 orek_tavu1F", [](C &c) {
        const OpenedFile file = c.openFile(0, kMost, 3);
        return concat(file.openFileId, ' ', file.mapping);
    });
    brings("fileInfo", "{'width':3,'height':4,'imageSize':5,'numFrames':6,'size':7}", "34567",
           [](C &c) {
               const auto [width, height, imageSize, numFrames, size] = c.fileInfo(0, 2);
               return concat(width, height, imageSize, numFrames, size);
           });
    sends("closeFile", &C::closeFile, 0, 2);
    sends("readFrame", &C::readFrame, 0, 2, ~uint64_t(0));
    sends("removeFile", &C::removeFile, 0, kMost, 3);
    brings("fileIdentity", "{'data':#0102}", {1, 2}, &C::fileIdentity, 0, kMost, 3);
    sends("setup", &C::setup, 0);
    sends("pairPort", &C::pairPort, 0, 1, pairing);
    brings("pairedTo", "{'pairedTo':'cam'}", "cam", &C::pairedTo, 0, 1);
    sends("repairPort", &C::repairPort, 0, 1, pairing);
    sends("unpairPort", &C::unpairPort, 0, 1);
    brings("portIdentity", "{'data':#AA}", {170}, &C::portIdentity, 0, 1);
    brings("framesPerPacket", "{'numFramesPerPacket':8}", 8, &C::framesPerPacket, 0, 1);
    brings("getPortConfig", "{'width':3,'height':4,'pixelFormat':5,'tapGeometry':6}", "3456",
           [](C &c) {
               const auto [width, height, pixelFormat, tapGeometry] = c.getPortConfig(0, 1);
               return concat(width, height, pixelFormat, tapGeometry);
           });
    sends("setPortConfig", &C::setPortConfig, 0, 1, PortConfig{65535, 4, kMost, 6});
    sends("startRecording", &C::startRecording, 0,
          RecordingSettings{kMost, trigger::kStart | trigger::kStopVariant, StopCondition::Time,
                            5000000000, true, 6000000000});
    sends("stopRecording", &C::stopRecording, 0);
    sends("softwareTrigger", &C::softwareTrigger, 0);
    brings("isRecordingDone", "{'done':true}", true, &C::isRecordingDone, 0);
    brings("recordingFile", "{'fileId':3,'streamId':4}", "34", [](C &c) {
        const RecordingTarget target = c.recordingFile(0, 1);
        return concat(target.fileId, target.streamId);
    });
    brings("recordingProgress", "{'numFrames':3,'inPretrigger':true}", "31", [](C &c) {
        const RecordingProgress progress = c.recordingProgress(0, 1);
        return concat(progress.numFrames, progress.inPretrigger);
    });
    sends("renameFile", &C::renameFile, 0, kMost, 3, "x", false);
    brings("setFileInfo", "{'name':'x1'}", "x1", &C::setFileInfo, 0, kMost, 3,
           FileUpdate{"x", 65535, 5, 6, 7, 8, 9, 10}, true);
    sends("notifyFilesChanged", &C::notifyFilesChanged, 0);
    brings("percentUsed", "{'percent':5}", 5, &C::percentUsed, 0);
    brings("startLive", "{'mapping':'orek_tavu2'}", "orek_tavu2", &C::startLive, 0, 1);
    sends("stopLive", &C::stopLive, 0, 1);
    brings("liveFrame", "{'width':3,'height':4,'imageSize':24}", "3 4 24", [](C &c) {
        const FrameGeometry frame = c.liveFrame(0, 1);
        return concat(frame.width, ' ', frame.height, ' ', frame.imageSize);
    });
    sends("lockGlobal", &C::lockGlobal);
    sends("unlockGlobal", &C::unlockGlobal);
    brings("hardwareType", "{'hardwareType':1}", 1, &C::hardwareType, 0);
    EXPECT_EQ(tested_.size(), test::commands().size());
}

TEST(Connection, ShakesHands)
{
    EXPECT_EQ(Scripted({}).script->requests[0], encodeMap("act='verCheck' ver=0"));
    const auto connect = [](const std::string &reply) {
        Connection(std::make_unique<ScriptedService>(std::make_shared<Script>(Script{{reply}})));
    };
    EXPECT_THROW(connect(encode("{'error':'Unsupported version.'}")), ServiceError);
    EXPECT_THROW(connect(encode("{'result':{'ver':1}}")), ProtocolError);
    EXPECT_THROW(connect(""), ConnectionError);
}

TEST(Connection, ReadsFileEntriesWhateverTheOrderOfTheirKeys)
{
    std::vector<test::Field> reversed = test::parseFields(kFile);
    reversed.push_back({"unknown", '!', encode("[1,2,{}]")});
    std::reverse(reversed.begin(), reversed.end());
    Scripted scripted({test::fromHex("81A6726573756C74 81A566696C6573 92") + encodeMap(kFile) +
                       encodeMap(reversed)});
    scripted.script->pieceSize = 3;
    const std::vector<FileEntry> files = scripted.connection->listFiles(0);
    ASSERT_EQ(files.size(), 2u);
    for (const FileEntry &file : files) {
        EXPECT_EQ(concat(file.name, file.port, file.camera, file.fileId, ' ', file.streamId, ' ',
                         file.width, ' ', file.height, ' ', file.numFrames),
                  "npc4294967295 2 65535 4 5");
        EXPECT_EQ(concat(file.numDroppedFrames, ' ', file.size, ' ', file.timestamp, ' ',
                         file.duration, ' ', file.startTime, ' ', file.endTime),
                  "6 7 18446744073709551615 9 10 11");
    }
}

TEST(Connection, ReadsListsOfAnyLengthInFewReads)
{
    // A count above 65535 has four bytes, although the byte before it announces two.
    for (const auto &[head, count] :
         {std::pair("9F", 15u), {"DC0010", 16u}, {"DC0100", 256u}, {"DC00010002", 65538u}}) {
        std::string bytes = test::fromHex("81A6726573756C74 81A566696C6573") + test::fromHex(head);
        for (size_t i = 0; i < count; ++i)
            bytes += encodeMap(kFile);
        Scripted scripted({bytes, encode("{'result':{'count':1}}")});
        EXPECT_EQ(scripted.connection->listFiles(0).size(), count);
        EXPECT_LE(scripted.script->reads, 3 + bytes.size() / 65536);
        EXPECT_EQ(scripted.connection->deviceCount(), 1u);
    }
}

TEST(Connection, PassesAnErrorOnUnchangedAndGoesOnUntilItsEnd)
{
    const std::string error = encode("{'error':'Not paried to this camera'}");
    Scripted scripted({error, error, encode("{'result':{'count':1}}"), encode("{}")});
    EXPECT_THROW(scripted.connection->pairedTo(0, 0), ServiceError);
    EXPECT_EQ(errorOf([&] { scripted.connection->pairedTo(0, 0); }), "Not paried to this camera");
    EXPECT_EQ(scripted.connection->deviceCount(), 1u);
    scripted.connection->close();
    EXPECT_THROW(scripted.connection->deviceCount(), ConnectionError);
}

TEST(Connection, CallsAnythingWithAnything)
{
    Scripted scripted({encode("{}"), encode("{'result':{'x':[1,!FF,!C0]}}")});
    EXPECT_EQ(scripted.connection->call(99, ObjectValue()).type(), ObjectType::Nil);
    EXPECT_EQ(scripted.script->requests[1], encodeMap("act='exec' ord=99"));
    const ObjectValue params = tools::toObjectValue(tools::Json::parse(R"({"a":[true,1.5,"x"]})"));
    EXPECT_EQ(tools::toJson(scripted.connection->call(4, params)).dump(), R"({"x":[1,-1,null]})");
    EXPECT_EQ(scripted.script->requests[2],
              encodeRequest("4", encode("{'a':[true,!CB3FF8000000000000,'x']}")));
}

TEST(Connection, SaysHowToStartTheServiceWhenThereIsNone)
{
    const char *const name = "tavu_client_test_nobody";
    const std::string text = errorOf([&] { Connection connection{name}; });
    EXPECT_NE(text.find(localSocketAddress(name)), std::string::npos);
    EXPECT_NE(text.find("tavusvc noautoclose"), std::string::npos);
}

} // namespace
} // namespace tavu::client
