#pragma once

#include "pipe.h"
#include "service/transport/shared_region.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace tavu::test {

/// A connection to a service, for requests and replies.
class Client
{
public:
    /// Waits until the service listens, and makes the handshake unless told not to. Raises
    /// std::runtime_error when it waits too long, or \a gaveUp.
    explicit Client(bool handshake = true, const std::function<bool()> &gaveUp = {});

    /// False when the service has closed its end.
    bool send(const Bytes &bytes);
    void request(std::string_view command, std::string_view params = "");
    Value reply();
    /// The whole reply as text.
    std::string call(std::string_view command, std::string_view params = "");
    /// Expects that the command succeeds, and brings nothing.
    void does(std::string_view command, std::string_view params = "");
    /// Expects that it is refused with this text.
    void fails(std::string_view command, std::string_view params, std::string_view text);
    /// What stands below "result"; raises std::runtime_error on another reply.
    Value result(std::string_view command, std::string_view params = "");
    /// All that comes until the service closes its end.
    Bytes receiveUntilEnd();
    void close() { pipe_.close(); }

private:
    Pipe pipe_;
};

/// The text of an error reply.
std::string error(std::string_view text);

/// Plays lines such as "A fileInfo D openFileId=0 -> !File not open": the client, which connects
/// when it is first named, a command or its number, the parameters, and the reply: "ok", an error's
/// text behind "!", "*" for any result, or what stands below "result" (as encode() reads it, with
/// TIME for a time). With "=>" the request is made until it has that reply. "A configures 4 3",
/// "A records 2" and "A leaves" are lines too.
class Script
{
public:
    void play(std::string_view lines);
    Client &operator[](const std::string &name);

private:
    void playLine(const std::string &line);

    std::map<std::string, std::unique_ptr<Client>> clients_;
};

/// A region of the service, mapped.
class Region
{
public:
    /// Maps the region that a reply with a "mapping" names; raises std::runtime_error.
    explicit Region(const Value &result);

    Bytes bytes(uint64_t count, uint64_t offset = 0) const;
    /// Whether the name still leads to this region: a later region can get the same name. Writes
    /// into the region to find out.
    bool isReachable();

    std::string name;

private:
    SharedRegion region_;
};

} // namespace tavu::test
