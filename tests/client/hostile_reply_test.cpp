#include "client/connection.h"
#include "client/tavuctl/json_values.h"
#include "scripted_service.h"

#include <gtest/gtest.h>

namespace tavu::client {
namespace {

const Wire kResult = wire("\x81\xA6result");
const Wire kFiles = kResult + wire("\x81\xA5"
                                   "files");

Wire repeated(uint8_t byte, size_t count)
{
    return Wire(count, byte);
}

enum class Outcome
{
    Protocol, ///< the reply can't be read: the connection is closed
    Lost,     ///< the end came first: the connection is closed
    Refused,  ///< the reply was read, but isn't what the command brings
};

struct Case
{
    const char *what;
    Wire reply;
    Outcome outcome;
};

void expectOutcome(const Case &c, const std::function<void(Connection &)> &call)
{
    SCOPED_TRACE(c.what);
    Scripted scripted({c.reply, wire("\x81\xA6result\x81\xA5"
                                     "count\x01")});
    if (c.outcome == Outcome::Lost)
        EXPECT_THROW(call(*scripted.connection), ConnectionError);
    else
        EXPECT_THROW(call(*scripted.connection), ProtocolError);
    if (c.outcome == Outcome::Refused)
        EXPECT_EQ(scripted.connection->deviceCount(), 1u);
    else
        EXPECT_THROW(scripted.connection->deviceCount(), ConnectionError);
}

TEST(HostileReply, CostsNoMoreThanTheConnection)
{
    const Case cases[] = {
        {"nothing", {}, Outcome::Lost},
        {"half a key", wire("\x81\xA6res"), Outcome::Lost},
        {"no value", kResult, Outcome::Lost},
        {"a number", {0x05}, Outcome::Protocol},
        {"an extension", {0xC7, 0x00, 0x00}, Outcome::Protocol},
        {"a reserved byte", {0xC1}, Outcome::Protocol},
        {"a key that is no text", {0x81, 0x01, 0x02}, Outcome::Protocol},
        {"another key",
         wire("\x81\xA3"
              "foo\x80"),
         Outcome::Protocol},
        {"two pairs",
         wire("\x82\xA6result\x80\xA5"
              "error\xA1x"),
         Outcome::Protocol},
        {"an error that is no text",
         wire("\x81\xA5"
              "error\x01"),
         Outcome::Protocol},
        {"bytes behind the end", Wire{0x80, 0x80}, Outcome::Protocol},
        {"a text of 4 GiB", kResult + Wire{0xDB, 0xFF, 0xFF, 0xFF, 0xFF, 'x'}, Outcome::Lost},
        {"a blob of 4 GiB", kResult + Wire{0xC6, 0xFF, 0xFF, 0xFF, 0xFF, 'x'}, Outcome::Lost},
        {"a map of 4 G pairs", kResult + Wire{0xDF, 0xFF, 0xFF, 0xFF, 0xFF, 0xA1}, Outcome::Lost},
        {"an array of 4 G values", kResult + Wire{0xDD, 0xFF, 0xFF, 0xFF, 0xFF, 0x01},
         Outcome::Lost},
        {"a tower of a million arrays", kResult + repeated(0x91, 1'000'000) + Wire{0x01},
         Outcome::Refused},
        {"no values", Wire{0x80}, Outcome::Refused},
        {"a result that is no map", kResult + Wire{0x93, 1, 2, 3}, Outcome::Refused},
        {"another value",
         kResult + wire("\x81\xA3"
                        "foo\x01"),
         Outcome::Refused},
        {"a negative count",
         kResult + wire("\x81\xA5"
                        "count\xFF"),
         Outcome::Refused},
        {"a count past 32 bits",
         kResult +
             wire("\x81\xA5"
                  "count\xCF") +
             Wire{0, 0, 0, 1, 0, 0, 0, 0},
         Outcome::Refused},
    };
    for (const Case &c : cases)
        expectOutcome(c, [](Connection &connection) { connection.deviceCount(); });
}

TEST(HostileReply, ToListFilesCostsNoMoreThanTheConnection)
{
    const Wire name = wire("\xA4name\xA1x");
    Wire names;
    for (int i = 0; i < 14; ++i)
        names = names + name;
    const Case cases[] = {
        {"no list", Wire{0x80}, Outcome::Refused},
        {"another key",
         kResult + wire("\x81\xA5"
                        "fires\x90"),
         Outcome::Protocol},
        {"a list cut in its head", kFiles + Wire{0xDC, 0x00}, Outcome::Lost},
        {"a long list cut in its head", kFiles + Wire{0xDC, 0x00, 0x01, 0x00}, Outcome::Lost},
        {"a list of 4 G entries", kFiles + Wire{0xDD, 0xFF, 0xFF, 0xFF, 0xFF, 0x8E}, Outcome::Lost},
        {"an entry without fields", kFiles + Wire{0x91, 0x80}, Outcome::Protocol},
        {"an entry cut off", kFiles + Wire{0x91, 0x8E} + name + name, Outcome::Lost},
        {"one field in the place of all", kFiles + Wire{0x91, 0x8E} + names, Outcome::Protocol},
        {"a width past 16 bits",
         kFiles + Wire{0x91, 0x81} + wire("\xA5width\xCE") + Wire{0, 1, 0, 0}, Outcome::Protocol},
        {"a field that nobody knows, nested deep",
         kFiles + Wire{0x91, 0x81} + wire("\xA1x") + repeated(0x91, 1'000'000) + Wire{0x01},
         Outcome::Protocol},
    };
    for (const Case &c : cases)
        expectOutcome(c, [](Connection &connection) { connection.listFiles(0); });
}

TEST(HostileReply, IsNotShownBeyondReason)
{
    Scripted scripted({kResult + repeated(0x91, 1'000'000) + Wire{0x01}});
    const ObjectValue value = scripted.connection->call(4, ObjectValue());
    EXPECT_THROW(ctl::toJson(value), ProtocolError);
}

} // namespace
} // namespace tavu::client
