#include "harness/service.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

const Bytes kHandshake = fromHex("82 A3616374 A8766572436865636B A3766572 00");
const Bytes kHandshakeReply = fromHex("81 A6726573756C74 81 A3766572 00");

const Bytes kCount = fromHex("83 A3616374 A465786563 A36F7264 04 A6706172616D73 80");
const Bytes kCountReply = fromHex("81 A6726573756C74 81 A5636F756E74 01");

const Bytes kBadVersion = fromHex("81 A56572726F72 B4556E737570706F727465642076657273696F6E2E");
const Bytes kBadFunction = fromHex("81 A56572726F72 B6556E7265636F676E697A65642066756E6374696F6E2E");

struct Exchange
{
    Bytes request;
    Bytes reply;
};

const Exchange kExchanges[] = {
    {encodeMap("act='verCheck' ver=1"), kBadVersion},
    {encodeMap("act='verCheck' ver=4294967296"), kBadVersion},
    {kHandshake, kHandshakeReply},
    {kCount, kCountReply},
    {encodeMap("act='verCheck' ver=1"), kBadVersion},
    {kCount, kCountReply},
    {encodeMap("ver=!D000 act='verCheck'"), kHandshakeReply},
    {encodeMap("ord=4 x=!8192C0CB3FF8000000000000C3 act='exec' y=!DC0001D0FB"), kCountReply},
    {encodeMap("act='exec' ord=4 ord=58 act='verCheck'"), kCountReply},
    {encodeMap("act='exec' ord=!CF0000000000000004 params=7"), kCountReply},
    {encodeMap("act='exec' ord=58"), kBadFunction},
    {encodeMap("act='exec' ord=4294967300"), kBadFunction},
    {encodeMap("act='exec' ord=!CFFFFFFFFFFFFFFFFF params=7"), kBadFunction},
    {encodeMap("act='exec' ord=0"), fromHex("81 A6726573756C74 81 A77175657565496400")},
    {encodeMap("act='exec' ord=55 params=!90"), fromHex("80")},
    {encodeMap("act='exec' ord=56 params='x'"), fromHex("80")},
    {encodeMap("act='exec' ord=5"),
     fromHex("81 A56572726F72 B54B6579206E6F7420666F756E6420696E206D61702E")},
};

TEST(Envelope, RepliesByteForByte)
{
    Service service;
    for (const Exchange &exchange : kExchanges) {
        SCOPED_TRACE(&exchange - kExchanges);
        Client client(service, &exchange > &kExchanges[2]);
        client.pipe.send(exchange.request);
        EXPECT_EQ(client.pipe.receive(exchange.reply.size()), exchange.reply);
    }
}

TEST(Envelope, TakesBytesInAnyPieces)
{
    Service service;
    Bytes requests, replies;
    for (const Exchange &exchange : kExchanges) {
        requests += exchange.request;
        replies += exchange.reply;
    }
    Client dribbler(service, false);
    for (const char byte : requests)
        dribbler.pipe.send(Bytes(1, byte));
    EXPECT_EQ(dribbler.pipe.receive(replies.size()), replies);

    Client pourer(service, false);
    pourer.pipe.send(requests);
    const Bytes secondQueue = fromHex("81 A6726573756C74 81 A77175657565496401");
    replies.replace(replies.find(secondQueue.substr(0, secondQueue.size() - 1)), secondQueue.size(),
                    secondQueue);
    EXPECT_EQ(pourer.pipe.receive(replies.size()), replies);
}

TEST(Envelope, FaultsEndTheConnectionWithoutAWord)
{
    const struct
    {
        const char *name;
        bool handshake;
        Bytes request;
    } faults[] = {
        {"exec first", false, kCount},
        {"unknown ordinal first", false, encodeMap("act='exec' ord=58")},
        {"a refused version isn't a handshake", false, encodeMap("act='verCheck' ver=1") + kCount},
        {"array", true, fromHex("90")},
        {"number", true, fromHex("05")},
        {"string", true, fromHex("A3616374")},
        {"nil", true, fromHex("C0")},
        {"empty map", true, fromHex("80")},
        {"no act", true, encodeMap("ord=4 ver=0")},
        {"act a number", true, encodeMap("act=4 ord=4")},
        {"act a blob", true, encodeMap("act=#65786563 ord=4")},
        {"act empty", true, encodeMap("act='' ord=4")},
        {"act unknown", true, encodeMap("act='run' ord=4")},
        {"act in capitals", true, encodeMap("act='Exec' ord=4")},
        {"act with more behind it", true, encodeMap("act='exec ' ord=4")},
        {"no ver", true, encodeMap("act='verCheck' ord=4")},
        {"ver negative", true, encodeMap("act='verCheck' ver=!FF")},
        {"ver a string", true, encodeMap("act='verCheck' ver='0'")},
        {"ver a float", true, encodeMap("act='verCheck' ver=!CA00000000")},
        {"ver a bool", true, encodeMap("act='verCheck' ver=false")},
        {"no ord", true, encodeMap("act='exec' params=!80")},
        {"ord negative", true, encodeMap("act='exec' ord=!D0FF")},
        {"ord a string", true, encodeMap("act='exec' ord='4'")},
        {"ord nil", true, encodeMap("act='exec' ord=!C0")},
        {"key not a string", true, fromHex("81 01 02")},
        {"unused lead byte", true, fromHex("C1")},
        {"fixext as act", true, encodeMap("act=!D40100 ord=4")},
        {"ext behind all that counts", true, encodeMap("act='exec' ord=4 x=!C7010100")},
        {"key of a nested map not a string", true, encodeMap("act='exec' ord=4 x=!81C001")},
    };
    Service service;
    Client witness(service);
    for (const auto &fault : faults) {
        SCOPED_TRACE(fault.name);
        Client client(service, fault.handshake);
        client.pipe.send(fault.request);
        const bool versionFirst = fault.request.starts_with(encodeMap("act='verCheck' ver=1"));
        EXPECT_EQ(client.pipe.receiveUntilEnd(), versionFirst ? kBadVersion : "");
    }
    EXPECT_EQ(witness.call(4), R"({"result":{"count":1}})");
    EXPECT_EQ(service.output(), "ResponseError: Unsupported version.\n");
    EXPECT_EQ(service.errors(), "");
}

TEST(Envelope, ErrorsArePrintedAfterTheReply)
{
    Service service;
    Client client(service);
    client.call(58);
    client.call(5, "deviceId=7");
    client.call(5, "deviceId='x'");
    const std::string expected = "ResponseError: Unrecognized function.\n"
                                 "ResponseError: Invalid device index.\n"
                                 "ResponseError: Object type is not positive integer, but positive "
                                 "integer expected.\n";
    EXPECT_TRUE(waitUntil([&] { return service.output().size() >= expected.size(); }));
    EXPECT_EQ(service.output(), expected);
    EXPECT_EQ(service.errors(), "");
}

} // namespace
} // namespace tavu::test
