#include "harness/recording.h"
#include "harness/service.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

const Bytes kHandshake = fromHex("82 A3616374 A8766572436865636B A3766572 00");
const Bytes kCount = fromHex("83 A3616374 A465786563 A36F7264 04 A6706172616D73 80");
const Bytes kHandshakeReply = fromHex("81 A6726573756C74 81 A3766572 00");
const Bytes kCountReply = fromHex("81 A6726573756C74 81 A5636F756E74 01");
const Bytes kBadVersion = encode("{'error':'Unsupported version.'}");
const Bytes kBadFunction = encode("{'error':'Unrecognized function.'}");
const Bytes kMissingKey = encode("{'error':'Key not found in map.'}");
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
    {encodeMap("act='exec' ord=0"), encode("{'result':{'queueId':0}}")},
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
        Client client(false);
        for (size_t i = 0; i < requests.size(); i += piece)
            client.send(requests.substr(i, piece));
        // A fault at the end makes the service close the connection.
        client.send(fromHex("90"));
        EXPECT_EQ(client.receiveUntilEnd(), replies);
    }
}

TEST(Envelope, FaultsEndTheConnectionWithoutAWord)
{
    std::vector<Bytes> faults = {kBadVersionRequest + kCount, kCount,
                                 encodeMap("act='exec' ord=58")};
    const size_t firstWithHandshake = faults.size();
    for (const char *hex : {"90", "05", "A3616374", "C0", "80", "C1", "81 01 02"})
        faults.push_back(fromHex(hex));
    for (const char *fields :
         {"ord=4 ver=0", "act=4 ord=4", "act=#65786563 ord=4", "act='' ord=4", "act='run' ord=4",
          "act='Exec' ord=4", "act='verCheck' ord=4", "act='verCheck' ver=!FF",
          "act='verCheck' ver='0'", "act='verCheck' ver=!CA00000000", "act='exec' params=!80",
          "act='exec' ord=!D0FF", "act='exec' ord='4'", "act=!D40100 ord=4",
          "act='exec' ord=4 x=!C7010100", "act='exec' ord=4 x=!81C001"})
        faults.push_back(encodeMap(fields));
    Service service;
    Client witness;
    for (size_t i = 0; i < faults.size(); ++i) {
        SCOPED_TRACE(i);
        Client client(i >= firstWithHandshake);
        client.send(faults[i]);
        EXPECT_EQ(client.receiveUntilEnd(), i == 0 ? kBadVersion : "");
    }
    witness.fails("deviceName", "deviceId=7", "Invalid device index.");
    // Error replies are printed, and flushed. What ends a connection isn't.
    const std::string expected = "ResponseError: Unsupported version.\n"
                                 "ResponseError: Invalid device index.\n";
    EXPECT_TRUE(waitUntil([&] { return service.output().size() >= expected.size(); }));
    EXPECT_EQ(service.output(), expected);
    EXPECT_EQ(service.errors(), "");
}

} // namespace
} // namespace tavu::test
