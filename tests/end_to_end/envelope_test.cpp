#include "harness/service.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

const Bytes kHandshake = fromHex("82 A3616374 A8766572436865636B A3766572 00");
const Bytes kCount = fromHex("83 A3616374 A465786563 A36F7264 04 A6706172616D73 80");

const Bytes kHandshakeReply = fromHex("81 A6726573756C74 81 A3766572 00");
const Bytes kCountReply = fromHex("81 A6726573756C74 81 A5636F756E74 01");
const Bytes kBadVersion = fromHex("81 A56572726F72 B4556E737570706F727465642076657273696F6E2E");
const Bytes kBadFunction =
    fromHex("81 A56572726F72 B6556E7265636F676E697A65642066756E6374696F6E2E");
const Bytes kMissingKey = fromHex("81 A56572726F72 B54B6579206E6F7420666F756E6420696E206D61702E");
const Bytes kBadVersionRequest = encodeMap("act='verCheck' ver=1");

const struct
{
    Bytes request, reply;
} kExchanges[] = {
    {kBadVersionRequest, kBadVersion},
    {encodeMap("act='verCheck' ver=4294967296"), kBadVersion},
    {kHandshake, kHandshakeReply},
    {kCount, kCountReply},
    {kBadVersionRequest, kBadVersion},
    {kCount, kCountReply},
    {encodeMap("ver=!D000 act='verCheck'"), kHandshakeReply},
    {encodeMap("ord=4 x=!81A092C0CB3FF8000000000000 act='exec' y=!DC0001D0FB"), kCountReply},
    {encodeMap("act='exec' ord=4 ord=58 act='verCheck'"), kCountReply},
    {encodeMap("act='exec' ord=!CF0000000000000004 params=7"), kCountReply},
    {encodeMap("act='exec' ord=58"), kBadFunction},
    {encodeMap("act='exec' ord=4294967300"), kBadFunction},
    {encodeMap("act='exec' ord=!CFFFFFFFFFFFFFFFFF params=7"), kBadFunction},
    {encodeMap("act='exec' ord=0"), fromHex("81 A6726573756C74 81 A77175657565496400")},
    {encodeMap("act='exec' ord=55 params=!90"), fromHex("80")},
    {encodeMap("act='exec' ord=56 params='x'"), fromHex("80")},
    {encodeMap("act='exec' ord=5"), kMissingKey},
};

TEST(Envelope, RepliesByteForByteHoweverTheBytesArrive)
{
    Bytes requests, replies;
    for (const auto &exchange : kExchanges) {
        requests += exchange.request;
        replies += exchange.reply;
    }
    for (const size_t piece : {size_t(1), size_t(7), requests.size()}) {
        Service service;
        Client client(service, false);
        for (size_t i = 0; i < requests.size(); i += piece)
            client.pipe.send(requests.substr(i, piece));
        // A fault of the envelope ends what would otherwise wait for more.
        client.pipe.send(fromHex("90"));
        EXPECT_EQ(client.receiveUntilEnd(), replies);
    }
}

TEST(Envelope, FaultsEndTheConnectionWithoutAWord)
{
    const struct
    {
        bool handshake;
        Bytes request;
    } faults[] = {
        {false, kCount},
        {false, encodeMap("act='exec' ord=58")},
        {false, kBadVersionRequest + kCount},
        {true, fromHex("90")},
        {true, fromHex("05")},
        {true, fromHex("A3616374")},
        {true, fromHex("C0")},
        {true, fromHex("80")},
        {true, encodeMap("ord=4 ver=0")},
        {true, encodeMap("act=4 ord=4")},
        {true, encodeMap("act=#65786563 ord=4")},
        {true, encodeMap("act='' ord=4")},
        {true, encodeMap("act='run' ord=4")},
        {true, encodeMap("act='Exec' ord=4")},
        {true, encodeMap("act='verCheck' ord=4")},
        {true, encodeMap("act='verCheck' ver=!FF")},
        {true, encodeMap("act='verCheck' ver='0'")},
        {true, encodeMap("act='verCheck' ver=!CA00000000")},
        {true, encodeMap("act='exec' params=!80")},
        {true, encodeMap("act='exec' ord=!D0FF")},
        {true, encodeMap("act='exec' ord='4'")},
        {true, fromHex("81 01 02")},
        {true, fromHex("C1")},
        {true, encodeMap("act=!D40100 ord=4")},
        {true, encodeMap("act='exec' ord=4 x=!C7010100")},
        {true, encodeMap("act='exec' ord=4 x=!81C001")},
    };
    Service service;
    Client witness(service);
    for (const auto &fault : faults) {
        SCOPED_TRACE(&fault - faults);
        Client client(service, fault.handshake);
        client.pipe.send(fault.request);
        EXPECT_EQ(client.receiveUntilEnd(), &fault == &faults[2] ? kBadVersion : "");
    }
    EXPECT_EQ(witness.call(5, "deviceId=7"), error("Invalid device index."));
    // What a command tells its client is printed, and flushed, too; what ended a client isn't.
    const std::string expected = "ResponseError: Unsupported version.\n"
                                 "ResponseError: Invalid device index.\n";
    EXPECT_TRUE(waitUntil([&] { return service.output().size() >= expected.size(); }));
    EXPECT_EQ(service.output(), expected);
    EXPECT_EQ(service.errors(), "");
}

} // namespace
} // namespace tavu::test
