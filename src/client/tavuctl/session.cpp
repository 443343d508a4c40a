#include "client/tavuctl/session.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>

namespace tavu::ctl {

void print(std::string_view text)
{
    const bool taken = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (taken && std::fflush(stdout) == 0)
        return;
    if (errno == EPIPE)
        throw OutputClosed();
    throw Failure(std::string("can't write to standard output: ") + std::strerror(errno));
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
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fputc('\n', stderr);
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
