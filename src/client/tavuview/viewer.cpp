#include "client/tavuview/viewer.h"

#include "client/tavuview/download.h"
#include "client/tavuview/page_files.h"
#include "client/tavuview/player.h"
#include "client/tools/advice.h"
#include "client/tools/failure.h"
#include "client/tools/text.h"

#include <algorithm>
#include <exception>
#include <limits>

namespace tavu::view {

namespace {

using tools::Json;

constexpr std::string_view kCommandPath = "/command/";

std::string text(const Json &json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

WebReply jsonReply(unsigned status, const Json &json)
{
    return {status, "application/json", text(json), {}, {}, {}};
}

WebReply errorReply(unsigned status, const std::string &error, std::string_view advice = {})
{
    return jsonReply(status, {{"error", tools::printable(error)}, {"advice", advice}});
}

/// What must hold for every reply, whatever it is.
void addHeaders(const WebRequest &request, WebReply &reply)
{
    // Safari doesn't count web sockets as the same origin; the host was checked before.
    const std::string sockets = "ws://" + request.host;
    reply.headers.emplace_back(
        "Content-Security-Policy",
        "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src "
        "'self' " +
            sockets + "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    reply.headers.emplace_back("X-Content-Type-Options", "nosniff");
    reply.headers.emplace_back("Referrer-Policy", "no-referrer");
    reply.headers.emplace_back("Cross-Origin-Opener-Policy", "same-origin");
    reply.headers.emplace_back("Cross-Origin-Resource-Policy", "same-origin");
    reply.headers.emplace_back("Cache-Control", "no-store");
}

/// Brings one browser what is on the board: of each topic the newest text only, and one at a time,
/// so that nothing piles up before a slow one.
class StateReader final : public SocketUser, public Board::Reader
{
public:
    StateReader(Board &board, std::weak_ptr<WebSocket> socket)
        : board_(board), socket_(std::move(socket))
    {
    }

    /// Begins with all there is, but for notices, which were for those who were there.
    static std::shared_ptr<StateReader> make(Board &board, std::weak_ptr<WebSocket> socket)
    {
        auto reader = std::make_shared<StateReader>(board, std::move(socket));
        reader->greeting_ = true;
        board.add(reader);
        reader->greeting_ = false;
        return reader;
    }

    void changed(const std::string &topic) override
    {
        if (greeting_ && topic.starts_with("notice/"))
            return;
        const std::lock_guard lock(mutex_);
        waiting_.insert(topic);
        if (!busy_)
            sendNext();
    }

    void received(std::string_view) override {}
    void sent() override
    {
        const std::lock_guard lock(mutex_);
        sendNext();
    }
    void closed() override {}

private:
    void sendNext()
    {
        busy_ = !waiting_.empty();
        if (!busy_)
            return;
        const std::string topic = waiting_.extract(waiting_.begin()).value();
        const auto text = board_.text(topic);
        if (const auto socket = socket_.lock())
            socket->send(text ? *text : Json{{"gone", topic}}.dump());
    }

    Board &board_;
    const std::weak_ptr<WebSocket> socket_;
    std::atomic<bool> greeting_ = false;
    std::mutex mutex_;
    std::set<std::string> waiting_;
    bool busy_ = false;
};

/// One browser's view of a port.
class LiveUser final : public SocketUser
{
public:
    LiveUser(LiveFeed &feed, std::weak_ptr<WebSocket> socket)
        : feed_(feed), watcher_(std::make_shared<Watcher>(std::move(socket)))
    {
        feed_.add(watcher_);
    }

    void received(std::string_view text) override
    {
        watcher_->want(parseWish(text));
        feed_.wake();
    }
    void sent() override
    {
        watcher_->sent();
        feed_.wake();
    }
    void closed() override { feed_.remove(watcher_); }

private:
    LiveFeed &feed_;
    const std::shared_ptr<Watcher> watcher_;
};

/// One browser's playback.
class PlayUser final : public SocketUser
{
public:
    PlayUser(WorkerPool &pool, std::shared_ptr<Player> player)
        : pool_(pool), player_(std::move(player))
    {
        pool_.post([player = player_] { player->sendInfo(); });
    }

    void received(std::string_view text) override
    {
        const Json json = Json::parse(text, nullptr, false);
        if (!json.is_object() || !json.contains("frame") || !json["frame"].is_number_unsigned())
            throw BadRequest("a wish for a frame names it");
        const auto number = json["frame"].get<uint64_t>();
        const ViewWish wish = parseWish(text);
        // A page that asks before it has got what it asked for gets the newest only.
        const std::lock_guard lock(next_->mutex);
        next_->wish.emplace(number, wish);
        if (!std::exchange(next_->busy, true))
            show();
    }
    void sent() override
    {
        const std::lock_guard lock(next_->mutex);
        next_->busy = next_->wish.has_value();
        if (next_->busy)
            show();
    }
    void closed() override {}

private:
    struct Next
    {
        std::mutex mutex;
        std::optional<std::pair<uint64_t, ViewWish>> wish;
        bool busy = false; ///< a frame is being read or on its way
    };

    void show()
    {
        pool_.post([player = player_, next = next_] {
            std::unique_lock lock(next->mutex);
            const auto taken = std::exchange(next->wish, std::nullopt);
            lock.unlock();
            if (taken)
                player->sendFrame(taken->first, taken->second);
        });
    }

    WorkerPool &pool_;
    const std::shared_ptr<Player> player_;
    const std::shared_ptr<Next> next_ = std::make_shared<Next>();
};

} // namespace

Viewer::Viewer(Access &access, std::function<void(const std::string &)> showAddress)
    : access_(access), showAddress_(std::move(showAddress))
{
}

Viewer::~Viewer()
{
    // Whoever waits for the service is to wait no more, or the threads wouldn't end.
    service_.stop();
}

std::optional<WebReply> Viewer::refusal(const WebRequest &request)
{
    auto refusal = access_.socketRefusal(request);
    if (!refusal && request.path != "/state" && request.path != "/live" && request.path != "/play")
        refusal = WebReply{404, {}, "There is no such web socket.\n", {}, {}, {}};
    if (refusal)
        addHeaders(request, *refusal);
    return refusal;
}

std::shared_ptr<SocketUser> Viewer::open(const WebRequest &request, std::weak_ptr<WebSocket> socket)
{
    if (request.path == "/state")
        return StateReader::make(board_, std::move(socket));
    if (request.path == "/play")
        return std::make_shared<PlayUser>(
            pictures_, std::make_shared<Player>(service_, recordingNameOf(request), socket));
    // A thread for each port that there is, not for each that somebody names.
    const auto device = static_cast<uint32_t>(request.number("device", 0xFFFFFFFF));
    const auto port = static_cast<uint8_t>(request.number("port", 0xFF));
    const auto known = board_.text("device/" + std::to_string(device));
    if (!known || Json::parse(*known).at("ports").size() <= port)
        throw BadRequest("there is no such port");
    return std::make_shared<LiveUser>(feeds_.feed(device, port), std::move(socket));
}

void Viewer::handle(const WebRequest &request, Done done)
{
    const Done withHeaders = [request, done](WebReply reply) {
        addHeaders(request, reply);
        done(std::move(reply));
    };
    if (auto refusal = access_.refusal(request)) {
        if (refusal->status == 200)
            showAddress_(access_.newAddress());
        return withHeaders(std::move(*refusal));
    }
    if (request.method == "POST" && request.path.starts_with(kCommandPath))
        return runCommand(request, withHeaders);
    if (request.method != "GET")
        return withHeaders({405, {}, "Only GET, and POST for commands.\n", {}, {}, {}});
    if (request.path == "/download")
        return downloads_.post([this, request, withHeaders] {
            try {
                withHeaders(makeDownload(service_, request));
            } catch (const BadRequest &fault) {
                withHeaders({400, {}, std::string(fault.what()) + "\n", {}, {}, {}});
            } catch (const std::exception &error) {
                withHeaders({502, {}, tools::printable(error.what()) + "\n", {}, {}, {}});
            }
        });
    withHeaders(reply(request));
}

WebReply Viewer::reply(const WebRequest &request)
{
    const auto files = pageFiles();
    const auto found = std::find_if(files.begin(), files.end(), [&](const PageFile &file) {
        return file.path == request.path;
    });
    if (found == files.end())
        return {404, {}, "There is no such page.\n", {}, {}, {}};
    return {200, std::string(found->type), std::string(found->content), {}, {}, {}};
}

void Viewer::runCommand(const WebRequest &request, const Done &done)
{
    // Other pages can send forms without asking, but not JSON.
    if (!request.contentType.starts_with("application/json"))
        return done(errorReply(415, "A command comes as JSON."));
    const std::string name = request.path.substr(kCommandPath.size());
    if (name == "address")
        return done(jsonReply(200, {{"address", access_.newAddress()}}));
    pool_.post([this, name, body = request.body, done] { done(commandReply(name, body)); });
}

WebReply Viewer::commandReply(const std::string &name, const std::string &body)
{
    const Json parameters = Json::parse(body, nullptr, false);
    if (!parameters.is_object())
        return errorReply(400, "The command's parameters can't be read.");
    try {
        const Json result = commands_.run(name, parameters);
        // Not every command takes one, so that nothing may have looked at it yet.
        const auto device = parameters.find("device");
        if (device != parameters.end() && device->is_number_unsigned())
            watch_.touch(static_cast<uint32_t>(
                std::min<uint64_t>(device->get<uint64_t>(), std::numeric_limits<uint32_t>::max())));
        return jsonReply(200, result.is_null() ? Json::object() : result);
    } catch (const BadRequest &fault) {
        return errorReply(400, fault.what());
    } catch (const tools::UsageError &fault) {
        return errorReply(400, fault.what());
    } catch (const client::ConnectionError &error) {
        return errorReply(503, error.what());
    } catch (const std::exception &error) {
        return errorReply(409, error.what(), tools::adviceFor(error.what()).inViewer);
    }
}

} // namespace tavu::view
