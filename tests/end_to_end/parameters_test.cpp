#include "harness/service.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace tavu::test {
namespace {

const std::string kMissing = error("Key not found in map.");
const std::string kNoDevice = error("Invalid device index.");

struct Command
{
    uint64_t ordinal;
    const char *params;            ///< in the order in which they are read
    std::string reply = kNoDevice; ///< of a service without devices
};

const Command kCommands[] = {
    {1, "queueId=0", error("Inalid event queue id.")},
    {2, "queueId=0", error("A connection can only read from an event queue that it created.")},
    {3, "queueId=0", error("A connection can only read from an event queue that it created.")},
    {5, "deviceId=0"},
    {6, "deviceId=0"},
    {7, "deviceId=0"},
    {8, "deviceId=0"},
    {9, "deviceId=0"},
    {10, "deviceId=0"},
    {11, "deviceId=0"},
    {12, "deviceId=0"},
    {13, "deviceId=0"},
    {14, "deviceId=0 port=0 baudRate=9600 parity=0 stopBits=1"},
    {15, "deviceId=0 port=0"},
    {16, "deviceId=0 port=0 baudRate=9600"},
    {17, "deviceId=0 port=0 size=4"},
    {18, "deviceId=0 port=0 data=#0102"},
    {19, "deviceId=0 port=0"},
    {20, "deviceId=0 port=0"},
    {21, "deviceId=0 port=0 addr=12300 size=4"},
    {22, "deviceId=0 port=0 addr=12300 data=#01"},
    {23, "deviceId=0"},
    {24, "deviceId=0"},
    {25, "deviceId=0 port=0"},
    {26, "deviceId=0"},
    {27, "deviceId=0 fileId=1 streamId=0"},
    {28, "deviceId=0 openFileId=0", error("File not opened by this connection.")},
    {29, "deviceId=0 openFileId=0", error("File not opened by this connection.")},
    {30, "deviceId=0 openFileId=0 frame=0", error("File not opened by this connection.")},
    {31, "deviceId=0 fileId=1 streamId=0"},
    {32, "deviceId=0 fileId=1 streamId=0"},
    {33, "deviceId=0"},
    {34, "deviceId=0 port=0 identity='Cam' info=#0102 numFramesPerPacket=1"},
    {35, "deviceId=0 port=0"},
    {36, "deviceId=0 port=0 identity='Cam' info=# numFramesPerPacket=1"},
    {37, "deviceId=0 port=0"},
    {38, "deviceId=0 port=0"},
    {39, "deviceId=0 port=0"},
    {40, "deviceId=0 port=0"},
    {41, "deviceId=0 port=0 width=1 height=1 pixelFormat=1 tapGeometry=1"},
    {42, "deviceId=0 portMask=1 externalTrigger=0 type=1 count=1 usePretrigger=false "
         "pretriggerCount=0"},
    {43, "deviceId=0"},
    {44, "deviceId=0"},
    {45, "deviceId=0"},
    {46, "deviceId=0 port=0"},
    {47, "deviceId=0 port=0"},
    {48, "deviceId=0 fileId=1 streamId=0 name='n' notify=true"},
    {49, "deviceId=0 fileId=1 streamId=0 name='n' width=1 height=1 numImages=1 numDroppedFrames=0 "
         "startTime=1 endTime=2 duration=1 notify=true"},
    {50, "deviceId=0", "{}"},
    {51, "deviceId=0"},
    {52, "deviceId=0 port=0"},
    {53, "deviceId=0 port=0", error("Live not started by this connection.")},
    {54, "deviceId=0 port=0"},
    {57, "deviceId=0"},
};

std::string typeError(char kind)
{
    const std::string type = kind == 'n'   ? "positive integer"
                             : kind == 's' ? "string"
                             : kind == 'b' ? "bool"
                                           : "blob";
    return error("Object type is not " + type + ", but " + type + " expected.");
}

class Parameters : public testing::Test
{
protected:
    std::string ask(const Command &command, const std::vector<Field> &fields)
    {
        client.pipe.send(encodeRequest(command.ordinal, encodeMap(fields)));
        return client.reply().text;
    }

    Service service{{}, {{"TAVUSRV_ENABLE_EMULATOR", ""}}};
    Client client{service};
};

bool isOptional(const Field &field)
{
    return field.name == "startTime" || field.name == "endTime";
}

TEST_F(Parameters, TheFirstFaultInTableOrderDecides)
{
    const std::vector<Field> samples = parseFields("n=1 s='x' b=true x=#00 i=!FF f=!CA3FC00000 "
                                                   "z=!C0 m=!80 a=!90");
    for (const Command &command : kCommands) {
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
    for (const Command &command : kCommands) {
        SCOPED_TRACE(command.ordinal);
        client.pipe.send(encodeMap(concat("act='exec' ord=", command.ordinal)));
        EXPECT_EQ(client.reply().text, kMissing);
        for (const char *notAMap : {"07", "90", "C0", "A0"}) {
            client.pipe.send(encodeRequest(command.ordinal, fromHex(notAMap)));
            EXPECT_EQ(client.reply().text, error("Object is not a map."));
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
    EXPECT_EQ(client.call(4), R"({"result":{"count":0}})");
}

TEST(Emulator, AnswersItsConstantsAndRefusals)
{
    Service service;
    Script(service).play(R"(
        A 4 -> {"count":1}
        A 5 D -> {"name":"Emulator"}
        A 5 deviceId=4294967296 -> {"name":"Emulator"}
        A 5 deviceId=1 -> !Invalid device index.
        A 5 deviceId=4294967295 -> !Invalid device index.
        A 6 D -> {"connected":true}
        A 23 D -> {"isCxp":false}
        A 24 D -> {"count":1}
        A 25 P -> {"name":"Emu"}
        A 25 D port=200 -> {"name":"Emu"}
        A 51 D -> {"percent":5}
        A 57 D -> {"hardwareType":1}
        A 14 D port=9 baudRate=9600 parity=0 stopBits=1 -> !not supported
        A 15 D port=9 -> !not supported
        A 16 D port=9 baudRate=1 -> !not supported
        A 17 D port=9 size=0 -> !not supported
        A 17 D port=9 size=4294967296 -> !not supported
        A 18 D port=9 data=# -> !not supported
        A 19 D port=9 -> !not supported
        A 20 D port=9 -> !not supported
        A 21 D port=9 addr=0 size=65536 -> !not supported
        A 22 D port=9 addr=0 data=#00 -> !not supported
        A 34 D port=1 identity='a' info=# numFramesPerPacket=1 -> !Invalid port
        A 35 D port=255 -> !Invalid port
        A 36 D port=1 identity='a' info=# numFramesPerPacket=1 -> !Invalid port
        A 37 D port=1 -> !Invalid port
        A 38 D port=1 -> !Invalid port
        A 39 D port=1 -> !Invalid port
        A 40 D port=1 -> !Invalid port
        A 41 D port=1 width=1 height=1 pixelFormat=1 tapGeometry=1 -> !Invalid port
        A 46 D port=1 -> !Invalid port
        A 47 D port=1 -> !Invalid port
        A 52 D port=1 -> !Invalid port
        A 54 D port=1 -> !Invalid port
        A 10 D -> ok
        A 12 D -> {"error":""}
        A 44 D -> ok
    )");
}

TEST(Emulator, CutsNumbersToTheirWidthAndTextsAtTheirNul)
{
    Service service;
    Script script(service);
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
