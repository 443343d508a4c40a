#include "client/tavuview/web_connection.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <exception>

namespace tavu::view {

namespace {

// A request of ours has a few hundred bytes.
constexpr uint32_t kHeaderLimit = 8 << 10;
constexpr uint64_t kBodyLimit = 64 << 10;
/// For a whole request to come, the time between two on one connection included.
constexpr std::chrono::seconds kRequestTime(20);
/// For a reply, or a piece of it, to be taken.
constexpr std::chrono::seconds kReplyTime(30);

/// A character of a target, in which "%41" stands for one. False for a "%" that isn't followed so.
bool decode(std::string_view &text, std::string &to, bool query)
{
    const char first = text.front();
    text.remove_prefix(1);
    if (first != '%') {
        to += query && first == '+' ? ' ' : first;
        return true;
    }
    uint8_t byte = 0;
    if (text.size() < 2 ||
        std::from_chars(text.data(), text.data() + 2, byte, 16).ptr != text.data() + 2)
        return false;
    to += static_cast<char>(byte);
    text.remove_prefix(2);
    return true;
}

std::string decoded(std::string_view text, bool query)
{
    std::string result;
    while (!text.empty()) {
        if (!decode(text, result, query))
            throw BadRequest("the address can't be read");
    }
    return result;
}

std::string field(const HttpRequest &request, http::field name)
{
    const auto value = request[name];
    return {value.data(), value.size()};
}

WebRequest webRequest(const HttpRequest &request)
{
    WebRequest result;
    result.method = std::string(request.method_string());
    std::string_view target(request.target().data(), request.target().size());
    const size_t mark = target.find('?');
    result.path = decoded(target.substr(0, mark), false);
    std::string_view rest = mark == target.npos ? "" : target.substr(mark + 1);
    while (!rest.empty()) {
        const std::string_view pair = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(rest.size(), pair.size() + 1));
        const size_t equals = std::min(pair.find('='), pair.size());
        result.query[decoded(pair.substr(0, equals), true)] =
            decoded(pair.substr(std::min(equals + 1, pair.size())), true);
    }
    // Two of them might be understood in two ways.
    if (request.count(http::field::host) > 1 || request.count(http::field::origin) > 1)
        throw BadRequest("a header field stands there twice");
    result.body = request.body();
    result.host = field(request, http::field::host);
    result.origin = field(request, http::field::origin);
    result.cookie = field(request, http::field::cookie);
    result.contentType = field(request, http::field::content_type);
    return result;
}

class Connection : public std::enable_shared_from_this<Connection>
{
public:
    Connection(Tcp::socket socket, WebSite &site, std::shared_ptr<void> place)
        : stream_(std::move(socket)), site_(site), place_(std::move(place))
    {
    }

    void read()
    {
        parser_.emplace();
        parser_->header_limit(kHeaderLimit);
        parser_->body_limit(kBodyLimit);
        stream_.expires_after(kRequestTime);
        http::async_read(
            stream_, buffer_, *parser_,
            [self = shared_from_this()](beast::error_code error, size_t) { self->take(error); });
    }

private:
    void take(beast::error_code error)
    {
        keepAlive_ = !error && parser_->get().keep_alive();
        if (error == http::error::header_limit)
            return reply({431, {}, "The request's header is too long.\n", {}, {}, {}});
        if (error == http::error::body_limit)
            return reply({413, {}, "The request's body is too long.\n", {}, {}, {}});
        if (error && error.category() == http::make_error_code(http::error::bad_field).category() &&
            error != http::error::end_of_stream && error != http::error::partial_message)
            return reply({400, {}, "The request can't be read.\n", {}, {}, {}});
        if (error)
            return close();
        try {
            handle();
        } catch (const BadRequest &fault) {
            reply({400, {}, std::string(fault.what()) + "\n", {}, {}, {}});
        }
    }

    void handle()
    {
        const WebRequest request = webRequest(parser_->get());
        if (beast::websocket::is_upgrade(parser_->get())) {
            if (auto refusal = site_.refusal(request))
                return reply(std::move(*refusal));
            return serveWebSocket(std::move(stream_), parser_->get(), request, site_,
                                  std::move(place_));
        }
        // However long the work takes, nobody is late.
        stream_.expires_never();
        site_.handle(request, [self = shared_from_this()](WebReply answer) {
            net::post(self->stream_.get_executor(), [self, answer = std::move(answer)]() mutable {
                self->reply(std::move(answer));
            });
        });
    }

    void reply(WebReply answer)
    {
        source_ = std::move(answer.source);
        chunked_ = source_ && !answer.sourceSize;
        response_ = {};
        response_.version(11);
        response_.result(answer.status);
        response_.set(http::field::content_type,
                      answer.type.empty() ? WebReply().type : answer.type);
        for (const auto &[name, value] : answer.headers)
            response_.set(name, value);
        response_.body() = std::move(answer.body);
        if (chunked_)
            response_.chunked(true);
        else
            response_.content_length(answer.sourceSize.value_or(response_.body().size()));
        response_.keep_alive(keepAlive_);
        stream_.expires_after(kReplyTime);
        serializer_.emplace(response_);
        const auto next = [self = shared_from_this()](beast::error_code error, size_t) {
            if (error)
                self->close();
            else if (self->source_)
                self->makePiece();
            else
                self->end();
        };
        if (source_)
            http::async_write_header(stream_, *serializer_, next);
        else
            http::async_write(stream_, *serializer_, next);
    }

    void makePiece()
    {
        stream_.expires_never();
        site_.post([self = shared_from_this()] {
            std::optional<Bytes> piece;
            try {
                piece = self->source_->next();
            } catch (const std::exception &) {
                // The connection ends short of what was announced.
            }
            net::post(self->stream_.get_executor(), [self, piece = std::move(piece)]() mutable {
                if (piece)
                    self->writePiece(std::move(*piece));
                else
                    self->close();
            });
        });
    }

    void writePiece(Bytes piece)
    {
        piece_ = std::move(piece);
        stream_.expires_after(kReplyTime);
        const bool last = piece_.empty();
        const auto next = [self = shared_from_this(), last](beast::error_code error, size_t) {
            if (error)
                self->close();
            else if (last)
                self->end();
            else
                self->makePiece();
        };
        if (last && chunked_)
            net::async_write(stream_, http::make_chunk_last(), next);
        else if (chunked_)
            net::async_write(stream_, http::make_chunk(net::buffer(piece_)), next);
        else
            net::async_write(stream_, net::buffer(piece_), next);
    }

    void end()
    {
        source_.reset();
        if (keepAlive_)
            read();
        else
            close();
    }

    void close()
    {
        beast::error_code ignored;
        stream_.socket().shutdown(Tcp::socket::shutdown_send, ignored);
        stream_.close();
    }

    beast::tcp_stream stream_;
    WebSite &site_;
    std::shared_ptr<void> place_;
    beast::flat_buffer buffer_{kHeaderLimit + kBodyLimit};
    std::optional<http::request_parser<http::string_body>> parser_;
    bool keepAlive_ = false;
    http::response<http::string_body> response_;
    std::optional<http::response_serializer<http::string_body>> serializer_;
    std::shared_ptr<BodySource> source_;
    bool chunked_ = false;
    Bytes piece_;
};

} // namespace

void serveConnection(Tcp::socket socket, WebSite &site, std::shared_ptr<void> place)
{
    std::make_shared<Connection>(std::move(socket), site, std::move(place))->read();
}

} // namespace tavu::view
