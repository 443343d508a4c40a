#include "harness/service.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>

namespace tavu::test {
namespace {

const std::string kMissing = error("Key not found in map.");

struct Command
{
    uint64_t ordinal;
    std::string params; ///< in the order in which they are read
    std::string reply;  ///< of a service without devices
};

std::vector<Command> allCommands()
{
    // Ordinals that share their parameters, the parameters, and the reply if the device isn't
    // asked.
    const char *const groups[][3] = {
        {"5 6 7 8 9 10 11 12 13 23 24 26 33 43 44 45 51 57", "D", ""},
        {"15 19 20 25 35 37 38 39 40 46 47 52 54", "P", ""},
        {"53", "P", "Live not started by this connection."},
        {"14", "P baudRate=9600 parity=0 stopBits=1", ""},
        {"16", "P baudRate=9600", ""},
        {"17", "P size=4", ""},
        {"18", "P data=#0102", ""},
        {"21", "P addr=12300 size=4", ""},
        {"22", "P addr=12300 data=#01", ""},
        {"27 31 32", "D fileId=1 streamId=0", ""},
        {"28 29", "D openFileId=0", "File not opened by this connection."},
        {"30", "D openFileId=0 frame=0", "File not opened by this connection."},
        {"34 36", "P identity='Cam' info=#0102 numFramesPerPacket=1", ""},
        {"41", "P width=1 height=1 pixelFormat=1 tapGeometry=1", ""},
        {"42",
         "D portMask=1 externalTrigger=0 type=1 count=1 usePretrigger=false pretriggerCount=0", ""},
        {"48", "D fileId=1 streamId=0 name='n' notify=true", ""},
        {"49",
         "D fileId=1 streamId=0 name='n' width=1 height=1 numImages=1 numDroppedFrames=0 "
         "startTime=1 endTime=2 duration=1 notify=true",
         ""},
        {"1", "queueId=0", "Inalid event queue id."},
        {"2 3", "queueId=0", "A connection can only read from an event queue that it created."},
    };
    std::vector<Command> commands = {{50, "D", "{}"}};
    for (const auto &[ordinals, params, reply] : groups) {
        std::istringstream stream(ordinals);
        for (uint64_t ordinal = 0; stream >> ordinal;)
            commands.push_back({ordinal, params, error(*reply ? reply : "Invalid device index.")});
    }
    return commands;
}

std::string typeError(char kind)
{
    static const std::map<char, std::string> types = {
        {'n', "positive integer"}, {'s', "string"}, {'b', "bool"}, {'x', "blob"}};
    const std::string &type = types.at(kind);
    return error("Object type is not " + type + ", but " + type + " expected.");
}

class Parameters : public testing::Test
{
protected:
    std::string ask(const Command &command, const std::vector<Field> &fields)
    {
        client->send(encodeRequest(command.ordinal, encodeMap(fields)));
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
    for (const Command &command : allCommands()) {
        const std::vector<Field> fields = parseFields(command.params);
        for (size_t i = 0; i < fields.size(); i++) {
            SCOPED_TRACE(concat("ordinal ", command.ordinal, ", ", fields[i].name));
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
    for (const Command &command : allCommands()) {
        SCOPED_TRACE(command.ordinal);
        client->send(encodeMap(concat("act='exec' ord=", command.ordinal)));
        EXPECT_EQ(client->reply().text, kMissing);
        for (const char *notAMap : {"07", "90", "C0", "A0"}) {
            client->send(encodeRequest(command.ordinal, fromHex(notAMap)));
            EXPECT_EQ(client->reply().text, error("Object is not a map."));
        }
        std::vector<Field> fields = parseFields(command.params);
        EXPECT_EQ(ask(command, fields), command.reply);
        std::reverse(fields.begin(), fields.end());
        fields.insert(fields.begin(), {"other", '!', fromHex("81A1789291C0C2")});
        fields.push_back({"deviceId", 's', fromHex("A0")});
        EXPECT_EQ(ask(command, fields), command.reply);
        std::erase_if(fields, isOptional);
        EXPECT_EQ(ask(command, fields), command.reply);
    }
    EXPECT_EQ(client->call(4), R"({"result":{"count":0}})");
}

TEST(Emulator, AnswersItsConstantsAndRefusals)
{
    Service service;
    Script script;
    script.play(R"(
        A 4 -> {"count":1}
        A 5 deviceId=4294967296 -> {"name":"Emulator"}
        A 5 deviceId=4294967295 -> !Invalid device index.
        A 6 D -> {"connected":true}
        A 23 D -> {"isCxp":false}
        A 24 D -> {"count":1}
        A 51 D -> {"percent":5}
        A 57 D -> {"hardwareType":1}
        A 10 D -> ok
        A 12 D -> {"error":""}
        A 44 D -> ok
        A 17 D port=9 size=4294967296 -> !not supported
    )");
    for (const Command &command : allCommands()) {
        if (!command.params.starts_with('P') || command.ordinal == 53)
            continue;
        SCOPED_TRACE(command.ordinal);
        const bool isPassThrough = command.ordinal >= 14 && command.ordinal <= 22;
        EXPECT_EQ(script["A"].call(command.ordinal, "D port=1" + command.params.substr(1)),
                  command.ordinal == 25 ? R"({"result":{"name":"Emu"}})"
                                        : error(isPassThrough ? "not supported" : "Invalid port"));
    }
}

TEST(Emulator, CutsNumbersToTheirWidthAndTextsAtTheirNul)
{
    Service service;
    Script script;
    script.play(R"(
        A 34 deviceId=4294967296 port=256 identity=!A3610062 info=#00FF numFramesPerPacket=65539 -> ok
        A 35 D port=512 -> {"pairedTo":"a"}
        A 39 P -> {"numFramesPerPacket":3}
        A 38 P -> {"data":#00FF}
        A 41 P width=65540 height=4294967300 pixelFormat=4294967305 tapGeometry=!D10007 -> ok
        A 40 P -> {"width":4,"height":4,"pixelFormat":9,"tapGeometry":7}
        A 42 D portMask=4294967297 externalTrigger=256 type=257 count=1 usePretrigger=true pretriggerCount=9 -> ok
        A 43 D -> ok
        A 0 -> {"queueId":0}
        A 3 queueId=4294967296 -> {"ok":false}
    )");
    EXPECT_EQ(script["A"].result(27, "D fileId=4294967297 streamId=8")["openFileId"].text, "0");
    script.play(R"(
        A 30 D openFileId=4294967296 frame=0 -> ok
        A 30 D openFileId=0 frame=4294967296 -> !Invalid frame index
    )");
}

} // namespace
} // namespace tavu::test
