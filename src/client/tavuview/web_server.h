#pragma once

#include "client/tavuview/web.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace tavu::view {

/// HTTP and web sockets on 127.0.0.1, all by the thread that calls run(). It limits what a request
/// may take: sizes of headers, bodies and messages, time, and the count of connections.
class WebServer
{
public:
    /// Listens on \a port, or on a free one for 0. Raises std::runtime_error when it can't.
    explicit WebServer(uint16_t port);
    WebServer(const WebServer &) = delete;
    WebServer &operator=(const WebServer &) = delete;
    ~WebServer();

    uint16_t port() const;

    /// Serves until stop(), or until the system asks the program to end (Ctrl-C for instance).
    void run(WebSite &site);

    /// From any thread.
    void stop();

private:
    struct State;
    std::shared_ptr<State> state_;
};

} // namespace tavu::view
