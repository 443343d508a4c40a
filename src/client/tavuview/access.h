#pragma once

#include "client/tavuview/web.h"

#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

namespace tavu::view {

/// Decides who may drive the recorders: only a browser that came by an address of ours. Such an
/// address holds a token that is good once, and brings the browser a cookie for all that follows.
/// From any thread.
class Access
{
public:
    /// For a server on \a port of this machine.
    explicit Access(uint16_t port);

    /// An address with a new token. The sixteen newest tokens are good.
    std::string newAddress();

    /// What is to be answered to a request that may not be served; empty when it may. A request
    /// with a good token is answered by the cookie and a way to the page itself.
    std::optional<WebReply> refusal(const WebRequest &request);
    /// The same for a request that opens a web socket.
    std::optional<WebReply> socketRefusal(const WebRequest &request);

private:
    bool hasCookie(const WebRequest &request) const;
    bool takeToken(const std::string &token);
    std::optional<WebReply> originFault(const WebRequest &request) const;

    const std::string port_;
    const std::string secret_;
    std::mutex mutex_;
    std::deque<std::string> tokens_;
};

} // namespace tavu::view
