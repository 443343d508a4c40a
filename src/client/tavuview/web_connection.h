#pragma once

#include "client/tavuview/web.h"

#include <utility> // Boost.Asio of Debian 12 lacks it in C++20

#include <boost/asio.hpp>
#include <boost/beast.hpp>

#include <memory>

namespace tavu::view {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using Tcp = boost::asio::ip::tcp;
using HttpRequest = http::request<http::string_body>;

/// Serves what comes over a connection until it ends. \a place is kept as long.
void serveConnection(Tcp::socket socket, WebSite &site, std::shared_ptr<void> place);

/// Makes the connection on which \a request asks for it a web socket.
void serveWebSocket(beast::tcp_stream stream, const HttpRequest &request, const WebRequest &asked,
                    WebSite &site, std::shared_ptr<void> place);

} // namespace tavu::view
