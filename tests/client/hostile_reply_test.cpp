#include "client/connection.h"
#include "client/tools/json_values.h"
#include "scripted_service.h"

#include <gtest/gtest.h>

namespace tavu::client {
namespace {

using test::fromHex;

const std::string kResult = fromHex("81A6726573756C74"), kCount = fromHex("81A5636F756E74"),
                  kFiles = kResult + fromHex("81A566696C6573"), kName = fromHex("A46E616D65A178"),
                  kTower = std::string(1'000'000, '\x91') + '\x01'; // arrays in arrays

enum class Outcome
{
    Protocol, ///< the reply can't be read: the connection is closed
    Lost,     ///< the reply ends too early: the connection is closed
    Refused,  ///< the reply can be read, but doesn't fit the command: the connection stays
};

/// What becomes of a call by its reply.
void expectOutcomes(void (*call)(Connection &),
                    const std::vector<std::pair<Outcome, std::vector<std::string>>> &cases)
{
    for (const auto &[outcome, replies] : cases) {
        for (const std::string &reply : replies) {
            SCOPED_TRACE(testing::PrintToString(reply.substr(0, 40)));
            Scripted scripted({reply, test::encode("{'result':{'count':1}}")});
            if (outcome == Outcome::Lost)
                EXPECT_THROW(call(*scripted.connection), ConnectionError);
            else
                EXPECT_THROW(call(*scripted.connection), ProtocolError);
            if (outcome == Outcome::Refused)
                EXPECT_EQ(scripted.connection->deviceCount(), 1u);
            else
                EXPECT_THROW(scripted.connection->deviceCount(), ConnectionError);
        }
    }
}

TEST(HostileReply, CostsNoMoreThanTheConnection)
{
    expectOutcomes(
        [](Connection &connection) { connection.deviceCount(); },
        {// Nothing, half a key, no value; then 4 GiB of text and bytes, 4 G pairs and elements.
         {Outcome::Lost,
          {"", kResult.substr(0, 5), kResult, kResult + fromHex("DBFFFFFFFF78"),
           kResult + fromHex("C6FFFFFFFF78"), kResult + fromHex("DFFFFFFFFFA1"),
           kResult + fromHex("DDFFFFFFFF01")}},
         // A number, an extension, a reserved byte; a key that is no text, and another one; two
         // pairs, an error that is no text, bytes behind the end.
         {Outcome::Protocol,
          {"\x05", fromHex("C70000"), "\xC1", fromHex("810102"), fromHex("81A3666F6F80"),
           fromHex("82A6726573756C7480A56572726F72A178"), fromHex("81A56572726F7201"), "\x80\x80"}},
         // Deep nesting, no values, a result that is no map, another value; a count that is
         // negative, and one past 32 bits.
         {Outcome::Refused,
          {kResult + kTower, "\x80", kResult + fromHex("93010203"),
           kResult + fromHex("81A3666F6F01"), kResult + kCount + '\xFF',
           kResult + kCount + fromHex("CF0000000100000000")}}});
}

TEST(HostileReply, ToListFilesCostsNoMoreThanTheConnection)
{
    std::string names;
    for (int i = 0; i < 14; ++i)
        names += kName;
    expectOutcomes(
        [](Connection &connection) { connection.listFiles(0); },
        {{Outcome::Refused, {"\x80"}},
         // A list that ends in its head, whichever that is, 4 G entries, an entry cut off.
         {Outcome::Lost,
          {kFiles + fromHex("DC00"), kFiles + fromHex("DC000100"), kFiles + fromHex("DDFFFFFFFF8E"),
           kFiles + "\x91\x8E" + kName + kName}},
         // Another key; an entry without fields, with the same one 14 times, with a width past
         // 16 bits, and with a field that nobody knows.
         {Outcome::Protocol,
          {kResult + fromHex("81A5666972657390"), kFiles + "\x91\x80", kFiles + "\x91\x8E" + names,
           kFiles + fromHex("9181A57769647468CE00010000"),
           kFiles + fromHex("9181A178") + kTower}}});
}

TEST(HostileReply, IsNotShownBeyondReason)
{
    Scripted scripted({kResult + kTower});
    const ObjectValue value = scripted.connection->call(4, ObjectValue());
    EXPECT_THROW(tools::toJson(value), ProtocolError);
}

} // namespace
} // namespace tavu::client
