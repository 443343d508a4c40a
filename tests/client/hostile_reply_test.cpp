#include "client/connection.h"
#include "client/tavuctl/json_values.h"
#include "scripted_service.h"

#include <gtest/gtest.h>

namespace tavu::client {
namespace {

const std::string kResult = "81A6726573756C74", kFiles = kResult + "81A566696C6573";
const std::string kName = "A46E616D65A178", kTower = "a tower of a million arrays";

enum class Outcome
{
    Protocol, ///< the reply can't be read: the connection is closed
    Lost,     ///< the reply ends too early: the connection is closed
    Refused,  ///< the reply can be read, but doesn't fit the command: the connection stays
};

struct Case
{
    const char *what;
    std::string reply; ///< in hexadecimal, with kTower at its end for deep nesting
    Outcome outcome;
};

std::string bytesOf(const std::string &hex)
{
    if (!hex.ends_with(kTower))
        return test::fromHex(hex);
    return test::fromHex(hex.substr(0, hex.size() - kTower.size())) +
           std::string(1'000'000, '\x91') + '\x01';
}

void expectOutcome(const Case &c, const std::function<void(Connection &)> &call)
{
    SCOPED_TRACE(c.what);
    Scripted scripted({bytesOf(c.reply), test::encode("{'result':{'count':1}}")});
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
        {"nothing", "", Outcome::Lost},
        {"half a key", "81A6726573", Outcome::Lost},
        {"no value", kResult, Outcome::Lost},
        {"a number", "05", Outcome::Protocol},
        {"an extension", "C70000", Outcome::Protocol},
        {"a reserved byte", "C1", Outcome::Protocol},
        {"a key that is no text", "810102", Outcome::Protocol},
        {"another key", "81A3666F6F80", Outcome::Protocol},
        {"two pairs", "82A6726573756C7480A56572726F72A178", Outcome::Protocol},
        {"an error that is no text", "81A56572726F7201", Outcome::Protocol},
        {"bytes behind the end", "8080", Outcome::Protocol},
        {"a text of 4 GiB", kResult + "DBFFFFFFFF78", Outcome::Lost},
        {"a blob of 4 GiB", kResult + "C6FFFFFFFF78", Outcome::Lost},
        {"a map of 4 G pairs", kResult + "DFFFFFFFFFA1", Outcome::Lost},
        {"an array of 4 G values", kResult + "DDFFFFFFFF01", Outcome::Lost},
        {"deep nesting", kResult + kTower, Outcome::Refused},
        {"no values", "80", Outcome::Refused},
        {"a result that is no map", kResult + "93010203", Outcome::Refused},
        {"another value", kResult + "81A3666F6F01", Outcome::Refused},
        {"a negative count", kResult + "81A5636F756E74FF", Outcome::Refused},
        {"a count past 32 bits", kResult + "81A5636F756E74CF0000000100000000", Outcome::Refused},
    };
    for (const Case &c : cases)
        expectOutcome(c, [](Connection &connection) { connection.deviceCount(); });
}

TEST(HostileReply, ToListFilesCostsNoMoreThanTheConnection)
{
    std::string names;
    for (int i = 0; i < 14; ++i)
        names += kName;
    const Case cases[] = {
        {"no list", "80", Outcome::Refused},
        {"another key", kResult + "81A5666972657390", Outcome::Protocol},
        {"a list cut in its head", kFiles + "DC00", Outcome::Lost},
        {"a long list cut in its head", kFiles + "DC000100", Outcome::Lost},
        {"a list of 4 G entries", kFiles + "DDFFFFFFFF8E", Outcome::Lost},
        {"an entry without fields", kFiles + "9180", Outcome::Protocol},
        {"an entry cut off", kFiles + "918E" + kName + kName, Outcome::Lost},
        {"one field in the place of all", kFiles + "918E" + names, Outcome::Protocol},
        {"a width past 16 bits", kFiles + "9181A57769647468CE00010000", Outcome::Protocol},
        {"a field that nobody knows", kFiles + "9181A178" + kTower, Outcome::Protocol},
    };
    for (const Case &c : cases)
        expectOutcome(c, [](Connection &connection) { connection.listFiles(0); });
}

TEST(HostileReply, IsNotShownBeyondReason)
{
    Scripted scripted({bytesOf(kResult + kTower)});
    const ObjectValue value = scripted.connection->call(4, ObjectValue());
    EXPECT_THROW(ctl::toJson(value), ProtocolError);
}

} // namespace
} // namespace tavu::client
