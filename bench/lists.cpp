#include "cases.h"
#include "catalogue.h"
#include "measure.h"
#include "peers/msgpack_codec.h"
#include "trips.h"

#include <stdexcept>

namespace tavu::bench {

namespace {

using Message = std::vector<unsigned char>;

const std::vector<uint8_t> kRequest =
    client::encodeRequest(static_cast<uint32_t>(Command::ListFiles), {{"deviceId", uint64_t(0)}});

Message listReply(uint32_t count)
{
    const std::vector<FileEntry> files = someFiles(count);
    return encoded([&](MessageWriter &writer) { writeFilesReply(writer, files); },
                   count * kRoomPerFile);
}

void requireSame(LocalSocket &socket, const Message &expected)
{
    Message reply(expected.size());
    exchange(socket, kRequest, reply);
    if (reply != expected)
        throw std::runtime_error("a list isn't the one that was planted");
}

Comparison benchList(uint32_t count)
{
    workplaceWith(count);
    const Message expected = listReply(count);
    const ServiceProcess service;
    const PeerProcess peer({"list", "list", std::to_string(count)});
    Client client;
    const auto peerSocket = connectedSocket("list");
    requireSame(client.socket(), expected);
    requireSame(*peerSocket, expected);

    const auto time = [&](LocalSocket &socket) {
        return secondsOf([&] { fetch(socket, kRequest, expected.size()); });
    };
    const Comparison result = compare(
        25, [&] { return time(client.socket()); }, [&] { return time(*peerSocket); });
    printRow("listFiles of " + std::to_string(count) + " over the pipe", result, 1e3, "ms",
             "<= 1.50");
    return result;
}

} // namespace

void benchLists()
{
    const Comparison few = benchList(10'000);
    const Comparison many = benchList(100'000);
    printGrowth("listFiles: a file of 100,000 to one of 10,000", few, 10'000, many, 100'000);
}

void benchClientList()
{
    constexpr uint32_t count = 10'000;
    workplaceWith(count);
    const Message reply = listReply(count);
    const ServiceProcess service;
    Client client;
    if (client.listFiles(0).size() != count)
        throw std::runtime_error("the client library doesn't list all recordings");
    printRow("the client library's listFiles of 10,000, to decoding alone",
             compare(
                 31, [&] { return secondsOf([&] { client.listFiles(0); }); },
                 [&] { return secondsOf([&] { unpackWithMsgpack(reply); }); }),
             1e3, "ms", "<= 2.00");
}

} // namespace tavu::bench
