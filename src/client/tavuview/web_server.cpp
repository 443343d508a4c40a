#include "client/tavuview/web_server.h"

#include "client/tavuview/web_connection.h"

#include <chrono>
#include <csignal>
#include <stdexcept>

namespace tavu::view {

namespace {

/// A browser that watches eight ports and plays a recording has some fifteen.
constexpr size_t kMostConnections = 256;
constexpr std::string_view kTooMany =
    "HTTP/1.1 503 Service Unavailable\r\nContent-Type: text/plain\r\nConnection: close\r\n"
    "Content-Length: 46\r\n\r\nToo many connections at once; try again later\n";

} // namespace

struct WebServer::State
{
    net::io_context context{1};
    Tcp::acceptor acceptor{context};
    net::signal_set signals{context, SIGINT, SIGTERM};
    WebSite *site = nullptr;
    std::shared_ptr<size_t> connections = std::make_shared<size_t>(0);

    void accept()
    {
        acceptor.async_accept([this](beast::error_code error, Tcp::socket socket) {
            if (error == net::error::operation_aborted)
                return;
            // A lack of descriptors, say, passes: what is open now will be closed.
            if (error)
                return acceptLater();
            if (*connections < kMostConnections)
                serve(std::move(socket));
            else
                turnAway(std::move(socket));
            accept();
        });
    }

    void acceptLater()
    {
        const auto timer = std::make_shared<net::steady_timer>(context, std::chrono::seconds(1));
        timer->async_wait([this, timer](beast::error_code error) {
            if (!error)
                accept();
        });
    }

    void serve(Tcp::socket socket)
    {
        beast::error_code ignored;
        socket.set_option(Tcp::no_delay(true), ignored);
        ++*connections;
        serveConnection(
            std::move(socket), *site,
            std::shared_ptr<void>(nullptr, [count = connections](void *) { --*count; }));
    }

    static void turnAway(Tcp::socket socket)
    {
        const auto kept = std::make_shared<Tcp::socket>(std::move(socket));
        net::async_write(*kept, net::buffer(kTooMany), [kept](beast::error_code, size_t) {});
    }
};

WebServer::WebServer(uint16_t port) : state_(std::make_shared<State>())
{
    const Tcp::endpoint address(net::ip::address_v4::loopback(), port);
    try {
        state_->acceptor.open(address.protocol());
#ifndef _WIN32
        // There it would let another program take the address from us.
        state_->acceptor.set_option(net::socket_base::reuse_address(true));
#endif
        state_->acceptor.bind(address);
        state_->acceptor.listen();
    } catch (const boost::system::system_error &error) {
        throw std::runtime_error("can't listen on port " + std::to_string(port) + ": " +
                                 error.code().message());
    }
}

WebServer::~WebServer() = default;

uint16_t WebServer::port() const
{
    return state_->acceptor.local_endpoint().port();
}

void WebServer::run(WebSite &site)
{
    state_->site = &site;
    state_->signals.async_wait([this](beast::error_code error, int) {
        if (!error)
            state_->context.stop();
    });
    state_->accept();
    state_->context.run();
}

void WebServer::stop()
{
    state_->context.stop();
}

} // namespace tavu::view
