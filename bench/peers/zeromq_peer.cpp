#include "peers/trip_peers.h"

#include <memory>
#include <stdexcept>
#include <zmq.h>

namespace tavu::bench {

namespace {

/// A socket with a context of its own, both ended with the last copy.
std::shared_ptr<void> openSocket(int type)
{
    const std::shared_ptr<void> context(::zmq_ctx_new(), ::zmq_ctx_term);
    return {::zmq_socket(context.get(), type), [context](void *socket) { ::zmq_close(socket); }};
}

std::string endpoint(const std::string &name)
{
    return "ipc://" + localSocketAddress(name);
}

} // namespace

void serveZeromq(const std::string &name)
{
    const auto socket = openSocket(ZMQ_REP);
    if (::zmq_bind(socket.get(), endpoint(name).c_str()) != 0)
        throw std::runtime_error("ZeroMQ can't listen");
    char request[64];
    const uint32_t count = 1;
    while (::zmq_recv(socket.get(), request, sizeof request, 0) >= 0 &&
           ::zmq_send(socket.get(), &count, sizeof count, 0) >= 0) {
    }
}

Trip connectZeromq(const std::string &name)
{
    const auto socket = openSocket(ZMQ_REQ);
    if (::zmq_connect(socket.get(), endpoint(name).c_str()) != 0)
        throw std::runtime_error("ZeroMQ can't connect");
    return [socket] {
        const uint32_t question = 4;
        uint32_t count = 0;
        if (::zmq_send(socket.get(), &question, sizeof question, 0) < 0 ||
            ::zmq_recv(socket.get(), &count, sizeof count, 0) != sizeof count)
            throw std::runtime_error("ZeroMQ's reply is missing");
    };
}

} // namespace tavu::bench
