#pragma once

#include "protocol/client_state.h"
#include "service/transport/local_socket.h"

#include <thread>
#include <utility>

namespace tavu {

/// One client: its socket, what commands need of it, and the thread that serves it. The thread must
/// be joined or detached before the record goes.
struct ClientConnection
{
    explicit ClientConnection(LocalSocket &&accepted) : socket(std::move(accepted)), state(socket)
    {
    }

    LocalSocket socket;
    ClientState state;
    std::thread thread;
    /// The server destroys this record, not the thread. Guarded by the server's mutex.
    bool closing = false;
};

} // namespace tavu
