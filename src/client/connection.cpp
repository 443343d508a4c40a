#include "client/connection.h"

#include "service/transport/local_socket.h"

#include <chrono>
#include <exception>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tavu::client {

namespace {

/// How long a service may be busy with other clients before it can take this one.
constexpr std::chrono::seconds kBusyLimit(5);

std::unique_ptr<LocalSocket> connectedSocket(const std::string &name)
{
    using namespace std::chrono;
    auto socket = std::make_unique<LocalSocket>();
    const auto deadline = steady_clock::now() + kBusyLimit;
    while (!socket->connect(name)) {
        const auto left = duration_cast<milliseconds>(deadline - steady_clock::now());
        if (left <= milliseconds(0) || !awaitLocalSocket(name, left))
            throw ConnectionError::noService(localSocketAddress(name));
        // Another client may be quicker, again and again.
        std::this_thread::sleep_for(milliseconds(1));
    }
    if (const auto user = socket->stranger())
        throw ConnectionError::strangersService(localSocketAddress(name), *user);
    return socket;
}

/// Reads a whole reply. Returns the text of an error reply.
std::optional<std::string> readReply(MessageReader &reader,
                                     const std::function<void(MessageReader &)> &decode)
{
    const uint32_t pairCount = reader.readMapHeader();
    if (pairCount == 0)
        return std::nullopt;
    std::string key;
    reader.readString(key);
    if (pairCount != 1 || (key != "result" && key != "error"))
        throw std::runtime_error("it is neither a result nor an error");
    if (key == "result") {
        decode(reader);
        return std::nullopt;
    }
    std::string text;
    reader.readString(text);
    return text;
}

} // namespace

Connection::Connection(const std::string &name) : Connection(connectedSocket(name)) {}

Connection::Connection(std::unique_ptr<Channel> channel)
    : channel_(std::move(channel)), replies_([this](void *buffer, uint64_t byteCount) {
          return channel_->readSome(buffer, byteCount);
      })
{
    const std::string command = "the version check";
    const Reply reply(command, exchange(command, encodeHandshake(kProtocolVersion)));
    if (reply.u64("ver") != kProtocolVersion)
        throw ProtocolError("the service speaks another version of the protocol");
}

Connection::~Connection() = default;

void Connection::close()
{
    channel_->close();
}

ObjectValue Connection::call(uint32_t ordinal, const ObjectValue &params)
{
    const CommandInfo *info = findCommand(ordinal);
    const std::string name = info ? info->name : "command " + std::to_string(ordinal);
    return exchange(name, encodeRequest(ordinal, params));
}

Reply Connection::execute(Command command, std::initializer_list<Param> params)
{
    const std::string name = commandInfo(command).name;
    return Reply(name, exchange(name, encodeRequest(static_cast<uint32_t>(command), params)));
}

ObjectValue Connection::exchange(const std::string &command, const std::vector<uint8_t> &request)
{
    ObjectValue values;
    exchange(command, request, [&values](MessageReader &reader) { reader.readObject(values); });
    return values;
}

void Connection::exchange(const std::string &command, const std::vector<uint8_t> &request,
                          const Decoder &decode)
{
    send(request);
    std::optional<std::string> error;
    try {
        MessageReader reader(replies_);
        error = readReply(reader, decode);
        if (replies_.hasPending())
            throw std::runtime_error("there are bytes behind its end");
    } catch (const std::exception &fault) {
        failReading(command, fault.what());
    }
    if (error)
        throw ServiceError(*error);
}

void Connection::send(const std::vector<uint8_t> &request)
{
    if (channel_->write(request.data(), request.size()) == request.size())
        return;
    channel_->close();
    throw ConnectionError("the connection to the service is lost");
}

void Connection::failReading(const std::string &command, const char *reason)
{
    channel_->close();
    if (replies_.ended())
        throw ConnectionError("the connection to the service was lost while it worked on " +
                              command);
    throw ProtocolError("the reply to " + command + " can't be read: " + reason);
}

} // namespace tavu::client
