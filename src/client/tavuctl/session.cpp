#include "client/tavuctl/session.h"

#include "client/tavuctl/console.h"
#include "client/tools/text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>

namespace tavu::ctl {

namespace {

/// What \a stream can show of \a text.
std::string shownOn(std::FILE *stream, std::string_view text)
{
    return isConsole(stream) && !consolesShowUtf8() ? plainText(text) : std::string(text);
}

} // namespace

void printBytes(std::span<const uint8_t> bytes)
{
    const bool taken = std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
    if (taken && std::fflush(stdout) == 0)
        return;
    if (errno == EPIPE)
        throw OutputClosed();
    throw Failure(std::string("can't write to standard output: ") + std::strerror(errno));
}

void print(std::string_view text)
{
    const std::string shown = shownOn(stdout, text);
    printBytes({reinterpret_cast<const uint8_t *>(shown.data()), shown.size()});
}

void printLine(std::string_view text)
{
    print(std::string(text) + "\n");
}

void printJson(const nlohmann::ordered_json &value)
{
    printLine(value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

void note(std::string_view text)
{
    const std::string shown = shownOn(stderr, text) + "\n";
    std::fwrite(shown.data(), 1, shown.size(), stderr);
    std::fflush(stderr);
}

std::string optionText(const char *name, uint32_t number)
{
    return number == 0 ? "" : std::string(" ") + name + " " + std::to_string(number);
}

client::Connection &Session::service()
{
    if (!connection_)
        connection_ = std::make_unique<client::Connection>();
    return *connection_;
}

} // namespace tavu::ctl
