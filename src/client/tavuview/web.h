#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavu::view {

// What the web server and the viewer behind it say to each other. Nothing here knows the library
// that the server is made with.

using Bytes = std::vector<uint8_t>;
using SharedBytes = std::shared_ptr<const Bytes>;

struct WebRequest
{
    std::string method;
    std::string path; ///< decoded, without the query
    std::map<std::string, std::string> query;
    std::string body;
    // Header fields; empty when they aren't there.
    std::string host;
    std::string origin;
    std::string cookie;
    std::string contentType;

    /// A whole number of the query, at most \a most; \a absent when it isn't there. Raises
    /// BadRequest for anything else.
    uint64_t number(const std::string &key, uint64_t most,
                    std::optional<uint64_t> absent = std::nullopt) const;
};

/// The request can't be what our page sends; what() says why.
class BadRequest : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The body of a long reply, made piece by piece. Used by one thread at a time, not the web
/// server's.
class BodySource
{
public:
    virtual ~BodySource() = default;
    /// The next piece; empty at the end. Raises when there can't be any: the connection then ends
    /// early, so that nobody takes what came for the whole.
    virtual Bytes next() = 0;
};

struct WebReply
{
    unsigned status = 200;
    std::string type = "text/plain; charset=utf-8";
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    /// When set, it makes the body.
    std::shared_ptr<BodySource> source;
    std::optional<uint64_t> sourceSize; ///< bytes of it, where that is known
};

/// The browser's end of a web socket. Its operations may be called from any thread, never wait, and
/// do nothing once the socket is closed.
class WebSocket
{
public:
    virtual ~WebSocket() = default;
    virtual void send(std::string text) = 0;
    virtual void send(SharedBytes bytes) = 0;
    /// \a reason is for the page, at most 120 bytes.
    virtual void close(std::string reason) = 0;
};

/// Our end of one. Called by the web server's thread; must not wait. The socket keeps it, so that
/// it can't keep the socket.
class SocketUser
{
public:
    virtual ~SocketUser() = default;
    /// Raises BadRequest to have the socket closed.
    virtual void received(std::string_view text) = 0;
    /// Everything that was sent has left.
    virtual void sent() {}
    virtual void closed() = 0;
};

/// What stands behind the server. Called by the web server's thread; must not wait.
class WebSite
{
public:
    virtual ~WebSite() = default;

    using Done = std::function<void(WebReply)>;
    /// \a done is called once, by any thread.
    virtual void handle(const WebRequest &request, Done done) = 0;
    /// Why a web socket isn't opened for a request; empty when it is.
    virtual std::optional<WebReply> refusal(const WebRequest &request) = 0;
    virtual std::shared_ptr<SocketUser> open(const WebRequest &request,
                                             std::weak_ptr<WebSocket> socket) = 0;
    /// Has \a work done by another thread: the pieces of a BodySource.
    virtual void post(std::function<void()> work) = 0;
};

} // namespace tavu::view
