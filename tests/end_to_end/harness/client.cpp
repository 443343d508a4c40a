#include "client.h"

#include "recording.h"
#include "support/environment.h"
#include "support/wait.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>

namespace tavu::test {

Client::Client(bool handshake, const std::function<bool()> &gaveUp)
{
    bool connected = false;
    waitUntil([&] { return (connected = pipe_.connect()) || (gaveUp && gaveUp()); });
    if (!connected)
        throw std::runtime_error("nobody listens");
    if (!handshake)
        return;
    send(encodeMap("act='verCheck' ver=0"));
    EXPECT_EQ(reply().text, R"({"result":{"ver":0}})");
}

bool Client::send(const Bytes &bytes)
{
    return pipe_.send(bytes);
}

void Client::request(std::string_view command, std::string_view params)
{
    send(encodeRequest(command, encodeMap(params)));
}

Value Client::reply()
{
    return decode([this](uint64_t count) {
        Bytes bytes;
        while (bytes.size() < count) {
            const Bytes piece = pipe_.receiveSome(count - bytes.size());
            if (piece.empty())
                throw std::runtime_error("the service closed the connection");
            bytes += piece;
        }
        return bytes;
    });
}

std::string Client::call(std::string_view command, std::string_view params)
{
    request(command, params);
    return reply().text;
}

void Client::does(std::string_view command, std::string_view params)
{
    EXPECT_EQ(call(command, params), "{}") << command << ' ' << params;
}

void Client::fails(std::string_view command, std::string_view params, std::string_view text)
{
    EXPECT_EQ(call(command, params), error(text)) << command << ' ' << params;
}

Value Client::result(std::string_view command, std::string_view params)
{
    request(command, params);
    return reply()["result"];
}

Bytes Client::receiveUntilEnd()
{
    Bytes bytes, piece;
    while (!(piece = pipe_.receiveSome(4096)).empty())
        bytes += piece;
    return bytes;
}

std::string error(std::string_view text)
{
    return concat(R"({"error":")", text, "\"}");
}

void Script::play(std::string_view lines)
{
    std::istringstream stream{std::string(lines)};
    for (std::string line; std::getline(stream, line);) {
        line.erase(0, line.find_first_not_of(' '));
        if (line.empty())
            continue;
        SCOPED_TRACE(line);
        playLine(line);
    }
}

void Script::playLine(const std::string &line)
{
    const size_t arrow = std::min(line.find(" -> "), line.find(" => "));
    std::istringstream left(line.substr(0, arrow));
    std::string name, word, params;
    left >> name >> word >> std::ws;
    std::getline(left, params);
    Client &client = (*this)[name];
    if (word == "leaves") {
        clients_.erase(name);
    } else if (word == "configures") {
        configure(client, static_cast<uint32_t>(std::stoul(params)),
                  static_cast<uint32_t>(std::stoul(params.substr(params.find(' ')))));
    } else if (word == "records") {
        record(client, std::stoull(params));
    } else {
        const std::string expected = line.substr(arrow + 4);
        std::string whole = expected == "ok"     ? "{}"
                            : expected[0] == '!' ? error(expected.substr(1))
                                                 : R"({"result":)" + expected + "}";
        if (expected.find('*', 1) != std::string::npos)
            whole = decode(encode(whole)).text;
        const bool hasTime = whole.find("TIME") != std::string::npos;
        const auto reply = [&] {
            const std::string text = client.call(word, params);
            return hasTime ? withoutTimes(text) : text;
        };
        if (line[arrow + 1] == '=')
            EXPECT_TRUE(waitUntil([&] { return reply() == whole; }));
        else if (const std::string text = reply(); expected == "*")
            EXPECT_NE(text.find("result"), std::string::npos) << text;
        else
            EXPECT_EQ(text, whole);
    }
}

Client &Script::operator[](const std::string &name)
{
    std::unique_ptr<Client> &client = clients_[name];
    if (!client)
        client = std::make_unique<Client>();
    return *client;
}

Region::Region(const Value &result) : name(result["mapping"].string)
{
    if (!region_.open(name))
        throw std::runtime_error("can't map the region " + name);
}

Bytes Region::bytes(uint64_t count, uint64_t offset) const
{
    if (offset + count > region_.viewSize())
        throw std::runtime_error("the region is too small");
    return {static_cast<const char *>(region_.view()) + offset, count};
}

bool Region::isReachable()
{
    if (onWindows()) { // a name leads to its region for as long as anybody has it mapped
        region_.close();
        return region_.open(name);
    }
    SharedRegion other;
    if (!other.open(name))
        return false;
    const auto *there = static_cast<const volatile char *>(other.view());
    auto *here = static_cast<volatile char *>(region_.view());
    for (char mark = 1; mark < 8; mark++) {
        *here = mark;
        if (*there != mark)
            return false;
    }
    return true;
}

} // namespace tavu::test
