#include "client/tavuview/web_connection.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <variant>

namespace tavu::view {

namespace {

namespace websocket = boost::beast::websocket;

constexpr size_t kMessageLimit = 16 << 10;
/// A message that takes longer than this to go out has nobody to take it.
constexpr std::chrono::seconds kIdleTime(30);

class Socket final : public WebSocket, public std::enable_shared_from_this<Socket>
{
public:
    Socket(beast::tcp_stream stream, std::shared_ptr<void> place)
        : stream_(std::move(stream)), place_(std::move(place))
    {
        beast::get_lowest_layer(stream_).expires_never();
        stream_.set_option(websocket::stream_base::timeout{kIdleTime, kIdleTime, true});
        stream_.read_message_max(kMessageLimit);
        stream_.auto_fragment(false);
    }

    void start(const HttpRequest &request, const WebRequest &asked, WebSite &site)
    {
        stream_.async_accept(request,
                             [self = shared_from_this(), asked, &site](beast::error_code error) {
                                 if (error)
                                     return;
                                 self->open_ = true;
                                 try {
                                     self->user_ = site.open(asked, self);
                                 } catch (const BadRequest &fault) {
                                     return self->close(fault.what());
                                 }
                                 self->read();
                             });
    }

    void send(std::string text) override { post(std::move(text)); }
    void send(SharedBytes bytes) override { post(std::move(bytes)); }

    void close(std::string reason) override
    {
        net::post(stream_.get_executor(), [self = shared_from_this(), reason] {
            if (!std::exchange(self->open_, false))
                return;
            self->stream_.async_close({websocket::close_code::policy_error, reason.substr(0, 120)},
                                      [self](beast::error_code) { self->end(); });
        });
    }

private:
    using Message = std::variant<std::string, SharedBytes>;

    void post(Message message)
    {
        net::post(stream_.get_executor(),
                  [self = shared_from_this(), message = std::move(message)]() mutable {
                      if (!self->open_)
                          return;
                      self->queue_.push_back(std::move(message));
                      if (self->queue_.size() == 1)
                          self->write();
                  });
    }

    void write()
    {
        const auto *const text = std::get_if<std::string>(&queue_.front());
        stream_.binary(!text);
        const auto bytes =
            text ? net::buffer(*text) : net::buffer(*std::get<SharedBytes>(queue_.front()));
        stream_.async_write(bytes, [self = shared_from_this()](beast::error_code error, size_t) {
            if (error)
                return self->end();
            self->queue_.pop_front();
            if (!self->queue_.empty())
                return self->write();
            if (self->user_)
                self->user_->sent();
        });
    }

    void read()
    {
        stream_.async_read(buffer_, [self = shared_from_this()](beast::error_code error, size_t) {
            if (error || !self->user_)
                return self->end();
            try {
                const auto bytes = self->buffer_.data();
                self->user_->received({static_cast<const char *>(bytes.data()), bytes.size()});
            } catch (const BadRequest &fault) {
                self->close(fault.what());
            }
            self->buffer_.clear();
            self->read();
        });
    }

    void end()
    {
        open_ = false;
        if (const auto user = std::exchange(user_, nullptr))
            user->closed();
        beast::get_lowest_layer(stream_).close();
    }

    websocket::stream<beast::tcp_stream> stream_;
    std::shared_ptr<void> place_;
    beast::flat_buffer buffer_;
    std::shared_ptr<SocketUser> user_;
    std::deque<Message> queue_; ///< the first one is on its way
    bool open_ = false;
};

} // namespace

void serveWebSocket(beast::tcp_stream stream, const HttpRequest &request, const WebRequest &asked,
                    WebSite &site, std::shared_ptr<void> place)
{
    std::make_shared<Socket>(std::move(stream), std::move(place))->start(request, asked, site);
}

} // namespace tavu::view
