#include "harness/recording.h"
#include "harness/service.h"
#include "support/commands.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>

namespace tavu::test {
namespace {

const std::string kMissing = error("Key not found in map.");

/// Of a service without devices.
std::string replyTo(std::string_view command)
{
    static const std::map<std::string_view, const char *> errors = {
        {"destroyEventQueue", "Inalid event queue id."},
        {"readEvent", "A connection can only read from an event queue that it created."},
        {"tryReadEvent", "A connection can only read from an event queue that it created."},
        {"fileInfo", "File not opened by this connection."},
        {"closeFile", "File not opened by this connection."},
        {"readFrame", "File not opened by this connection."},
        {"stopLive", "Live not started by this connection."},
    };
    if (command == "notifyFilesChanged")
        return "{}";
    const auto found = errors.find(command);
    return error(found == errors.end() ? "Invalid device index." : found->second);
}

std::vector<Command> commandsWithParameters()
{
    std::vector<Command> list(commands().begin(), commands().end());
    std::erase_if(list, [](const Command &command) { return command.params.empty(); });
    return list;
}

std::string typeError(char kind)
{
    static const std::map<char, std::string> types = {
        {'0', "positive integer"}, {'\'', "string"}, {'t', "bool"}, {'#', "blob"}};
    const std::string &type = types.at(kind);
    return error("Object type is not " + type + ", but " + type + " expected.");
}

class Parameters : public testing::Test
{
protected:
    std::string ask(const Command &command, const std::vector<Field> &fields)
    {
        client->send(encodeRequest(command.name, encodeMap(fields)));
        return client->reply().text;
    }

    Parameters()
    {
        // An empty variable counts as none: the service starts anew without a device.
        Client().close();
        EXPECT_EQ(service.waitForExit(), 0);
        setVariable("TAVUSRV_ENABLE_EMULATOR", "");
        service.start();
        client = std::make_unique<Client>();
    }

    Service service;
    std::unique_ptr<Client> client;
};

bool isOptional(const Field &field)
{
    return field.name == "startTime" || field.name == "endTime";
}

TEST_F(Parameters, TheFirstFaultInTableOrderDecides)
{
    const std::vector<Field> samples = parseFields("n=1 s='x' b=true x=#00 i=!FF f=!CA3FC00000 "
                                                   "z=!C0 m=!80 a=!90");
    for (const Command &command : commandsWithParameters()) {
        const std::vector<Field> fields = parseFields(command.params);
        for (size_t i = 0; i < fields.size(); i++) {
            SCOPED_TRACE(concat(command.name, ' ', fields[i].name));
            std::vector<Field> faulty(fields.begin(), fields.begin() + i);
            EXPECT_EQ(ask(command, faulty), kMissing);
            for (const Field &sample : samples) {
                if (sample.kind == fields[i].kind)
                    continue;
                faulty.resize(i);
                faulty.push_back({fields[i].name, '!', sample.encoded});
                EXPECT_EQ(ask(command, faulty), typeError(fields[i].kind));
            }
            faulty = fields;
            for (size_t later = i + 1; later < fields.size(); later++)
                faulty[later].encoded = fromHex("C0");
            faulty[i].name += 'x';
            if (!isOptional(fields[i])) {
                EXPECT_EQ(ask(command, faulty), kMissing);
            }
        }
    }
}

TEST_F(Parameters, OrderAndOtherKeysDoNotMatter)
{
    for (const Command &command : commandsWithParameters()) {
        SCOPED_TRACE(command.name);
        client->send(encodeMap(concat("act='exec' ord=", ordinalOf(command.name))));
        EXPECT_EQ(client->reply().text, kMissing);
        for (const char *notAMap : {"07", "90", "C0", "A0"}) {
            client->send(encodeRequest(command.name, fromHex(notAMap)));
            EXPECT_EQ(client->reply().text, error("Object is not a map."));
        }
        std::vector<Field> fields = parseFields(command.params);
        EXPECT_EQ(ask(command, fields), replyTo(command.name));
        std::reverse(fields.begin(), fields.end());
        fields.insert(fields.begin(), {"other", '!', fromHex("81A1789291C0C2")});
        fields.push_back({"deviceId", '!', fromHex("A0")});
        EXPECT_EQ(ask(command, fields), replyTo(command.name));
        std::erase_if(fields, isOptional);
        EXPECT_EQ(ask(command, fields), replyTo(command.name));
    }
    EXPECT_EQ(client->call("deviceCount"), R"({"result":{"count":0}})");
}

TEST(Emulator, AnswersItsConstantsAndRefusals)
{
    Service service;
    Script script;
    script.play(R"(
        A deviceCount -> {"count":1}
        A deviceName deviceId=4294967296 -> {"name":"Emulator"}
        A deviceName deviceId=4294967295 -> !Invalid device index.
        A deviceConnected D -> {"connected":true}
        A isCxp D -> {"isCxp":false}
        A portCount D -> {"count":1}
        A percentUsed D -> {"percent":5}
        A hardwareType D -> {"hardwareType":1}
        A cancelRecovery D -> ok
        A recoveryError D -> {"error":""}
        A softwareTrigger D -> ok
        A serialRead D port=9 size=4294967296 -> !not supported
    )");
    for (const auto &[command, params] : commands()) {
        if (params.find(" port=1") == params.npos || command == "stopLive")
            continue;
        const bool isPassThrough = command.starts_with("serial") || command.starts_with("register");
        EXPECT_EQ(script["A"].call(command, params),
                  command == "portName" ? R"({"result":{"name":"Emu"}})"
                                        : error(isPassThrough ? "not supported" : "Invalid port"))
            << command;
    }
}

TEST(Emulator, CutsNumbersToTheirWidthAndTextsAtTheirNul)
{
    Service service;
    Script script;
    script.play(R"(
        A pairPort deviceId=4294967296 port=256 identity=!A3610062 info=#00FF numFramesPerPacket=65539 -> ok
        A pairedTo D port=512 -> {"pairedTo":"a"}
        A framesPerPacket P -> {"numFramesPerPacket":3}
        A portIdentity P -> {"data":#00FF}
        A setPortConfig P width=65540 height=4294967300 pixelFormat=4294967305 tapGeometry=!D10007 -> ok
        A getPortConfig P -> {"width":4,"height":4,"pixelFormat":9,"tapGeometry":7}
        A startRecording D portMask=4294967297 externalTrigger=256 type=257 count=1 usePretrigger=true pretriggerCount=9 -> ok
        A stopRecording D -> ok
        A createEventQueue -> {"queueId":0}
        A tryReadEvent queueId=4294967296 -> {"ok":false}
    )");
    EXPECT_EQ(script["A"].result("openFile", "D fileId=4294967297 streamId=8")["openFileId"].text,
              "0");
    script.play(R"(
        A readFrame D openFileId=4294967296 frame=0 -> ok
        A readFrame D openFileId=0 frame=4294967296 -> !Invalid frame index
    )");
}

} // namespace
} // namespace tavu::test
