#include "client/tavuview/access.h"

#include <algorithm>
#include <random>

namespace tavu::view {

namespace {

constexpr size_t kMostTokens = 16;
constexpr unsigned kSecretWords = 4; ///< of 32 bits

std::string newSecret()
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::random_device source;
    std::string secret;
    for (unsigned i = 0; i < kSecretWords; ++i) {
        const uint32_t word = source();
        for (unsigned shift = 0; shift < 32; shift += 4)
            secret += kDigits[word >> shift & 0xF];
    }
    return secret;
}

/// Takes as long for a text that differs at its first character as for one that does at its last.
bool sameSecret(std::string_view left, std::string_view right)
{
    if (left.size() != right.size())
        return false;
    unsigned difference = 0;
    for (size_t i = 0; i < left.size(); ++i)
        difference |= static_cast<unsigned char>(left[i]) ^ static_cast<unsigned char>(right[i]);
    return difference == 0;
}

WebReply forbidden(std::string text)
{
    return {403, {}, std::move(text) + "\n", {}, {}, {}};
}

} // namespace

Access::Access(uint16_t port) : port_(std::to_string(port)), secret_(newSecret()) {}

std::string Access::newAddress()
{
    const std::lock_guard lock(mutex_);
    if (tokens_.size() == kMostTokens)
        tokens_.pop_front();
    tokens_.push_back(newSecret());
    return "http://127.0.0.1:" + port_ + "/?token=" + tokens_.back();
}

bool Access::takeToken(const std::string &token)
{
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(tokens_.begin(), tokens_.end(), [&](const std::string &good) {
        return sameSecret(good, token);
    });
    if (found == tokens_.end())
        return false;
    tokens_.erase(found);
    return true;
}

bool Access::hasCookie(const WebRequest &request) const
{
    // Browsers send the cookies of all ports of a host, so the name tells the port.
    const std::string name = "tavuview-" + port_ + "=";
    std::string_view rest = request.cookie;
    while (!rest.empty()) {
        std::string_view one = rest.substr(0, rest.find(';'));
        rest.remove_prefix(std::min(rest.size(), one.size() + 1));
        one.remove_prefix(std::min(one.find_first_not_of(' '), one.size()));
        if (one.starts_with(name) && sameSecret(one.substr(name.size()), secret_))
            return true;
    }
    return false;
}

std::optional<WebReply> Access::originFault(const WebRequest &request) const
{
    // A foreign name that leads to this machine would let its page read what we answer.
    if (request.host != "127.0.0.1:" + port_ && request.host != "localhost:" + port_)
        return forbidden("This server is reached as 127.0.0.1:" + port_ + " or localhost:" + port_ +
                         ", not under another name.");
    if (!request.origin.empty() && request.origin != "http://" + request.host)
        return forbidden("A page from elsewhere may not ask for this.");
    return std::nullopt;
}

std::optional<WebReply> Access::refusal(const WebRequest &request)
{
    if (auto fault = originFault(request))
        return fault;
    const auto token = request.query.find("token");
    if (request.path == "/" && request.method == "GET" && token != request.query.end()) {
        if (takeToken(token->second)) {
            // Not a redirection: a cookie for this site alone isn't sent on one that began
            // elsewhere, in the file by which the browser was opened for instance.
            return WebReply{200,
                            "text/html; charset=utf-8",
                            "<!doctype html><html lang=\"en\"><title>tavuview</title>"
                            "<meta http-equiv=\"refresh\" content=\"0;url=/\">"
                            "<p><a href=\"/\">To the recorders</a></html>\n",
                            {{"Set-Cookie", "tavuview-" + port_ + "=" + secret_ +
                                                "; HttpOnly; SameSite=Strict; Path=/"}},
                            {},
                            {}};
        }
        if (!hasCookie(request))
            return forbidden("This address was used before. tavuview prints a new one each time "
                             "one was used; a browser that is in can also make one.");
        return std::nullopt;
    }
    if (!hasCookie(request))
        return forbidden("Open the address that tavuview printed; it lets this browser in.");
    if (request.method != "GET" && request.origin.empty())
        return forbidden("A request that changes something must tell from where it comes.");
    return std::nullopt;
}

std::optional<WebReply> Access::socketRefusal(const WebRequest &request)
{
    if (auto fault = originFault(request))
        return fault;
    if (request.origin.empty() || !hasCookie(request))
        return forbidden("Open the address that tavuview printed; it lets this browser in.");
    return std::nullopt;
}

} // namespace tavu::view
