#include "client/connection.h"

#include "client/tavuctl/json_values.h"
#include "encoding/mem_stream.h"
#include "encoding/message_reader.h"
#include "encoding/message_writer.h"
#include "scripted_service.h"
#include "service/transport/local_socket.h"

#include <gtest/gtest.h>
#include <thread>

namespace tavu::client {
namespace {

using ctl::Json;

Wire encode(const ObjectValue &value)
{
    Wire bytes(1 << 20);
    MemStream stream(bytes.data(), bytes.size());
    MessageWriter writer(stream);
    writer.writeObject(value);
    const std::string end = "end of value";
    writer.writeRaw(end.data(), end.size());
    bytes.erase(std::search(bytes.begin(), bytes.end(), end.begin(), end.end()), bytes.end());
    return bytes;
}

Json decode(Wire bytes)
{
    // A memory stream minds being read at its end, even for the nothing of an empty blob.
    bytes.push_back(0);
    MemStream stream(bytes.data(), bytes.size());
    ObjectValue value;
    MessageReader(stream).readObject(value);
    return ctl::toJson(value);
}

Wire reply(const char *json)
{
    return encode(ctl::toObjectValue(Json::parse(json)));
}

const char *const kFile = R"({"name":"n","port":"p","camera":"c","fileId":4294967295,"streamId":2,
    "width":65535,"height":4,"numFrames":5,"numDroppedFrames":6,"size":7,
    "timestamp":18446744073709551615,"duration":9,"startTime":10,"endTime":11})";

struct Call
{
    Command command;
    const char *params;                           ///< what the service must get
    const char *reply;                            ///< the whole of it
    std::function<std::string(Connection &)> run; ///< returns what came out, in words
    const char *result;
};

std::string words(auto... values)
{
    std::ostringstream out;
    ((out << values << ' '), ...);
    return out.str();
}

std::string hex(const Bytes &bytes)
{
    return ctl::toJson(ObjectValue::blob(bytes.data(), uint32_t(bytes.size())))["$bin"];
}

#define CALL(expression) [](Connection &c) -> std::string { return expression; }
#define ACTION(statement)                                                                          \
    [](Connection &c) -> std::string {                                                             \
        statement;                                                                                 \
        return "done";                                                                             \
    }

// Each command with parameters that tell every key from the others.
const Call kCalls[] = {
    {Command::CreateEventQueue, "{}", R"({"result":{"queueId":7}})",
      CALL(words(c.createEventQueue())), "7 "},
    {Command::DestroyEventQueue, R"({"queueId":7})", "{}", ACTION(c.destroyEventQueue(7)), "done"},
    {Command::ReadEvent, R"({"queueId":7})",
      R"({"result":{"event":{"type":2,"device":1,"port":5}}})",
      CALL(words(int(c.readEvent(7).type))), "2 "},
    {Command::TryReadEvent, R"({"queueId":7})",
      R"({"result":{"ok":true,"event":{"type":5,"device":1,"port":3}}})",
      CALL(words(c.tryReadEvent(7)->port)), "3 "},
    {Command::TryReadEvent, R"({"queueId":7})", R"({"result":{"ok":false}})",
      CALL(words(c.tryReadEvent(7).has_value())), "0 "},
    {Command::DeviceCount, "{}", R"({"result":{"count":2}})", CALL(words(c.deviceCount())), "2 "},
    {Command::DeviceName, R"({"deviceId":4294967295})", R"({"result":{"name":"Kamera \u00e4"}})",
      CALL(c.deviceName(~0u)), "Kamera \u00e4"},
    {Command::DeviceConnected, R"({"deviceId":1})", R"({"result":{"connected":true}})",
      CALL(words(c.deviceConnected(1))), "1 "},
    {Command::HasIncompleteFile, R"({"deviceId":1})", R"({"result":{"hasIncompleteFile":true}})",
      CALL(words(c.hasIncompleteFile(1))), "1 "},
    {Command::DiscardIncompleteFile, R"({"deviceId":1})", "{}",
      ACTION(c.discardIncompleteFile(1)), "done"},
    {Command::StartRecovery, R"({"deviceId":1})", "{}", ACTION(c.startRecovery(1)), "done"},
    {Command::CancelRecovery, R"({"deviceId":1})", "{}", ACTION(c.cancelRecovery(1)), "done"},
    {Command::RecoveryStatus, R"({"deviceId":1})", R"({"result":{"status":3}})",
      CALL(words(int(c.recoveryStatus(1)))), "3 "},
    {Command::RecoveryError, R"({"deviceId":1})", R"({"result":{"error":"broken"}})",
      CALL(c.recoveryError(1)), "broken"},
    {Command::FinishRecovery, R"({"deviceId":1})", "{}", ACTION(c.finishRecovery(1)), "done"},
    {Command::SerialOpen, R"({"deviceId":1,"port":2,"baudRate":9600,"parity":3,"stopBits":4})",
      "{}", ACTION(c.serialOpen(1, 2, {9600, 3, 4})), "done"},
    {Command::SerialGetBaudRate, R"({"deviceId":1,"port":2})", R"({"result":{"baudRate":9600}})",
      CALL(words(c.serialGetBaudRate(1, 2))), "9600 "},
    {Command::SerialSetBaudRate, R"({"deviceId":1,"port":2,"baudRate":115200})", "{}",
      ACTION(c.serialSetBaudRate(1, 2, 115200)), "done"},
    {Command::SerialRead, R"({"deviceId":1,"port":2,"size":3})",
      R"({"result":{"data":{"$bin":"00ff"}}})", CALL(hex(c.serialRead(1, 2, 3))), "00ff"},
    {Command::SerialWrite, R"({"deviceId":1,"port":2,"data":{"$bin":"0d0a"}})",
      R"({"result":{"size":2}})", CALL(words(c.serialWrite(1, 2, Bytes{13, 10}))), "2 "},
    {Command::SerialClear, R"({"deviceId":1,"port":2})", "{}", ACTION(c.serialClear(1, 2)), "done"},
    {Command::SerialClose, R"({"deviceId":1,"port":2})", "{}", ACTION(c.serialClose(1, 2)), "done"},
    {Command::RegisterRead, R"({"deviceId":1,"port":2,"addr":12300,"size":0})",
      R"({"result":{"data":{"$bin":""}}})", CALL(hex(c.registerRead(1, 2, 0x300C, 0))), ""},
    {Command::RegisterWrite, R"({"deviceId":1,"port":2,"addr":12300,"data":{"$bin":""}})", "{}",
      ACTION(c.registerWrite(1, 2, 0x300C, {})), "done"},
    {Command::IsCxp, R"({"deviceId":1})", R"({"result":{"isCxp":false}})",
      CALL(words(c.isCxp(1))), "0 "},
    {Command::PortCount, R"({"deviceId":1})", R"({"result":{"count":255}})",
      CALL(words(int(c.portCount(1)))), "255 "},
    {Command::PortName, R"({"deviceId":1,"port":255})", R"({"result":{"name":""}})",
      CALL(c.portName(1, 255)), ""},
    {Command::ListFiles, R"({"deviceId":1})", R"({"result":{"files":[]}})",
      CALL(words(c.listFiles(1).size())), "0 "},
    {Command::OpenFile, R"({"deviceId":1,"fileId":2,"streamId":3})",
      R"({"result":{"openFileId":4,"mapping":"orek_tavu1F"}})",
      CALL(c.openFile(1, 2, 3).mapping), "orek_tavu1F"},
    {Command::FileInfo, R"({"deviceId":1,"openFileId":2})",
      R"({"result":{"width":3,"height":4,"imageSize":24,"numFrames":5,"size":120}})",
      [](Connection &c) {
    const OpenFileInfo info = c.fileInfo(1, 2);
    return words(info.width, info.height, info.imageSize, info.numFrames, info.size);
      }, "3 4 24 5 120 "},
    {Command::CloseFile, R"({"deviceId":1,"openFileId":2})", "{}", ACTION(c.closeFile(1, 2)), "done"},
    {Command::ReadFrame, R"({"deviceId":1,"openFileId":2,"frame":18446744073709551615})", "{}",
      ACTION(c.readFrame(1, 2, ~uint64_t(0))), "done"},
    {Command::RemoveFile, R"({"deviceId":1,"fileId":2,"streamId":3})", "{}",
      ACTION(c.removeFile(1, 2, 3)), "done"},
    {Command::FileIdentity, R"({"deviceId":1,"fileId":2,"streamId":3})",
      R"({"result":{"data":{"$bin":"0102"}}})", CALL(hex(c.fileIdentity(1, 2, 3))), "0102"},
    {Command::Setup, R"({"deviceId":1})", "{}", ACTION(c.setup(1)), "done"},
    {Command::PairPort, R"({"deviceId":1,"port":2,"identity":"cam","info":{"$bin":"05"},
      "numFramesPerPacket":6})", "{}", ACTION(c.pairPort(1, 2, {"cam", {5}, 6})), "done"},
    {Command::PairedTo, R"({"deviceId":1,"port":2})", R"({"result":{"pairedTo":"cam"}})",
      CALL(c.pairedTo(1, 2)), "cam"},
    {Command::RepairPort, R"({"deviceId":1,"port":2,"identity":"cam","info":{"$bin":"05"},
      "numFramesPerPacket":6})", "{}", ACTION(c.repairPort(1, 2, {"cam", {5}, 6})), "done"},
    {Command::UnpairPort, R"({"deviceId":1,"port":2})", "{}", ACTION(c.unpairPort(1, 2)), "done"},
    {Command::PortIdentity, R"({"deviceId":1,"port":2})", R"({"result":{"data":{"$bin":"aa"}}})",
      CALL(hex(c.portIdentity(1, 2))), "aa"},
    {Command::FramesPerPacket, R"({"deviceId":1,"port":2})",
      R"({"result":{"numFramesPerPacket":8}})", CALL(words(c.framesPerPacket(1, 2))), "8 "},
    {Command::GetPortConfig, R"({"deviceId":1,"port":2})",
      R"({"result":{"width":3,"height":4,"pixelFormat":5,"tapGeometry":6}})",
      [](Connection &c) {
    const PortConfig config = c.getPortConfig(1, 2);
    return words(config.width, config.height, config.pixelFormat, config.tapGeometry);
      }, "3 4 5 6 "},
    {Command::SetPortConfig,
      R"({"deviceId":1,"port":2,"width":3,"height":4,"pixelFormat":5,"tapGeometry":6})", "{}",
      ACTION(c.setPortConfig(1, 2, {3, 4, 5, 6})), "done"},
    {Command::StartRecording, R"({"deviceId":1,"portMask":5,"externalTrigger":33,"type":2,
      "count":1000000,"usePretrigger":true,"pretriggerCount":7})", "{}",
      ACTION(c.startRecording(1, {5, trigger::kStart | trigger::kStopVariant, StopCondition::Time,
                                  1000000, true, 7})), "done"},
    {Command::StopRecording, R"({"deviceId":1})", "{}", ACTION(c.stopRecording(1)), "done"},
    {Command::SoftwareTrigger, R"({"deviceId":1})", "{}", ACTION(c.softwareTrigger(1)), "done"},
    {Command::IsRecordingDone, R"({"deviceId":1})", R"({"result":{"done":true}})",
      CALL(words(c.isRecordingDone(1))), "1 "},
    {Command::RecordingFile, R"({"deviceId":1,"port":2})",
      R"({"result":{"fileId":3,"streamId":4}})", CALL(words(c.recordingFile(1, 2).streamId)), "4 "},
    {Command::RecordingProgress, R"({"deviceId":1,"port":2})",
      R"({"result":{"numFrames":3,"inPretrigger":true}})",
      CALL(words(c.recordingProgress(1, 2).numFrames)), "3 "},
    {Command::RenameFile, R"({"deviceId":1,"fileId":2,"streamId":3,"name":"x","notify":false})",
      "{}", ACTION(c.renameFile(1, 2, 3, "x", false)), "done"},
    {Command::SetFileInfo, R"({"deviceId":1,"fileId":2,"streamId":3,"name":"x","width":4,
      "height":5,"numImages":6,"numDroppedFrames":7,"startTime":8,"endTime":9,"duration":10,
      "notify":true})", R"({"result":{"name":"x1"}})",
      CALL(c.setFileInfo(1, 2, 3, {"x", 4, 5, 6, 7, 8, 9, 10})), "x1"},
    {Command::NotifyFilesChanged, R"({"deviceId":1})", "{}", ACTION(c.notifyFilesChanged(1)), "done"},
    {Command::PercentUsed, R"({"deviceId":1})", R"({"result":{"percent":5}})",
      CALL(words(int(c.percentUsed(1)))), "5 "},
    {Command::StartLive, R"({"deviceId":1,"port":2})", R"({"result":{"mapping":"orek_tavu2"}})",
      CALL(c.startLive(1, 2)), "orek_tavu2"},
    {Command::StopLive, R"({"deviceId":1,"port":2})", "{}", ACTION(c.stopLive(1, 2)), "done"},
    {Command::LiveFrame, R"({"deviceId":1,"port":2})",
      R"({"result":{"width":3,"height":4,"imageSize":24}})",
      CALL(words(c.liveFrame(1, 2).imageSize)), "24 "},
    {Command::LockGlobal, "{}", "{}", ACTION(c.lockGlobal()), "done"},
    {Command::UnlockGlobal, "{}", "{}", ACTION(c.unlockGlobal()), "done"},
    {Command::HardwareType, R"({"deviceId":1})", R"({"result":{"hardwareType":1}})",
      CALL(words(int(c.hardwareType(1)))), "1 "},
};

TEST(Connection, SendsEachCommandInOneWriteAndReadsItsReply)
{
    std::vector<bool> seen(kCommandCount);
    for (const Call &call : kCalls) {
        const auto ordinal = static_cast<uint32_t>(call.command);
        SCOPED_TRACE(commandName(ordinal));
        Scripted scripted({reply(call.reply)});
        EXPECT_EQ(call.run(*scripted.connection), call.result);
        ASSERT_EQ(scripted.script->requests.size(), 2u);
        const Json request = decode(scripted.script->requests[1]);
        EXPECT_EQ(request["act"], "exec");
        EXPECT_EQ(request["ord"], ordinal);
        // The order of keys counts: the service names the first one that is wrong.
        EXPECT_EQ(request["params"].dump(), Json::parse(call.params).dump());
        seen[ordinal] = true;
    }
    EXPECT_EQ(std::count(seen.begin(), seen.end(), true), kCommandCount);
}

TEST(Connection, ShakesHandsByteForByte)
{
    const Scripted scripted({});
    EXPECT_EQ(scripted.script->requests[0], wire("\x82\xA3"
                                                 "act\xA8verCheck\xA3ver") +
                                                Wire{0});
    const auto refuse = [](Wire reply) {
        const auto script = std::make_shared<Script>();
        script->replies.push_back(std::move(reply));
        Connection(std::make_unique<ScriptedService>(script));
    };
    EXPECT_THROW(refuse(reply(R"({"error":"Unsupported version."})")), ServiceError);
    EXPECT_THROW(refuse(reply(R"({"result":{"ver":1}})")), ProtocolError);
    EXPECT_THROW(refuse({}), ConnectionError);
}

TEST(Connection, ReadsFileEntriesWhateverTheOrderOfTheirKeys)
{
    Json entry = Json::parse(kFile);
    Json reversed = {{"unknown", {1, 2, Json::object()}}};
    for (auto pair = entry.rbegin(); pair != entry.rend(); ++pair)
        reversed[pair.key()] = *pair;
    const Json list = {{"result", {{"files", Json::array({entry, reversed})}}}};
    Scripted scripted({reply(list.dump().c_str())});
    scripted.script->pieceSize = 3;
    const std::vector<FileEntry> files = scripted.connection->listFiles(0);
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(ctl::toJson(files[0]), ctl::toJson(files[1]));
    EXPECT_EQ(words(files[0].name, files[0].port, files[0].camera, files[0].fileId,
                    files[0].streamId, files[0].width, files[0].height, files[0].numFrames),
              "n p c 4294967295 2 65535 4 5 ");
    EXPECT_EQ(words(files[0].numDroppedFrames, files[0].size, files[0].timestamp, files[0].duration,
                    files[0].startTime, files[0].endTime),
              "6 7 18446744073709551615 9 10 11 ");
}

TEST(Connection, ReadsListsOfAnyLengthInFewReads)
{
    const Wire entry = encode(ctl::toObjectValue(Json::parse(kFile)));
    const Wire head = wire("\x81\xA6result\x81\xA5"
                           "files");
    struct Case
    {
        Wire count;
        size_t entries;
    };
    // Above 65535 the count has four bytes behind the head of the two-byte form.
    for (const Case &c :
         {Case{{0x9F}, 15}, Case{{0xDC, 0x00, 0x10}, 16}, Case{{0xDC, 0x01, 0x00}, 256},
          Case{{0xDC, 0x00, 0x01, 0x00, 0x02}, 65538}}) {
        Wire bytes = head + c.count;
        for (size_t i = 0; i < c.entries; ++i)
            bytes.insert(bytes.end(), entry.begin(), entry.end());
        const size_t size = bytes.size();
        Scripted scripted({std::move(bytes), reply(R"({"result":{"count":1}})")});
        EXPECT_EQ(scripted.connection->listFiles(0).size(), c.entries);
        EXPECT_LE(scripted.script->reads, 3 + size / 65536);
        EXPECT_EQ(scripted.connection->deviceCount(), 1u);
    }
}

TEST(Connection, PassesAnErrorOnUnchangedAndGoesOn)
{
    Scripted scripted(
        {reply(R"({"error":"Not paried to this camera"})"), reply(R"({"result":{"count":1}})")});
    try {
        scripted.connection->pairedTo(0, 0);
        FAIL() << "the error was swallowed";
    } catch (const ServiceError &error) {
        EXPECT_STREQ(error.what(), "Not paried to this camera");
    }
    EXPECT_EQ(scripted.connection->deviceCount(), 1u);
}

TEST(Connection, CallsAnythingWithAnything)
{
    Scripted scripted({reply("{}"), reply(R"({"result":{"x":[1,-1,null]}})")});
    EXPECT_EQ(scripted.connection->call(99, ObjectValue()).type(), ObjectType::Nil);
    EXPECT_EQ(decode(scripted.script->requests[1]).dump(), R"({"act":"exec","ord":99})");
    const ObjectValue params = ctl::toObjectValue(Json::parse(R"({"a":[true,1.5,"x"]})"));
    EXPECT_EQ(ctl::toJson(scripted.connection->call(4, params)).dump(), R"({"x":[1,-1,null]})");
    EXPECT_EQ(decode(scripted.script->requests[2])["params"].dump(), R"({"a":[true,1.5,"x"]})");
}

TEST(Connection, IsOfNoUseAfterItsEnd)
{
    Scripted scripted({reply("{}")});
    scripted.connection->close();
    EXPECT_THROW(scripted.connection->deviceCount(), ConnectionError);
    EXPECT_THROW(scripted.connection->deviceCount(), ConnectionError);
}

TEST(Connection, SaysHowToStartTheServiceWhenThereIsNone)
{
    try {
        Connection("tavu_client_test_nobody");
        FAIL() << "somebody listens";
    } catch (const ConnectionError &error) {
        const std::string text = error.what();
        EXPECT_NE(text.find(localSocketAddress("tavu_client_test_nobody")), std::string::npos);
        EXPECT_NE(text.find("tavusvc noautoclose"), std::string::npos);
    }
}

} // namespace
} // namespace tavu::client
