#include "client/tavuctl/advice.h"

#include "client/tavuctl/console.h"
#include "client/tools/advice.h"
#include "client/tools/text.h"

#include <array>
#include <cstdio>

namespace tavu::ctl {

namespace {

void replaceAll(std::string &text, std::string_view what, const std::string &by)
{
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at))
        text.replace(at, what.size(), by);
}

} // namespace

std::string adviceFor(const std::string &serviceText, Session &session)
{
    if (serviceText == "Invalid device index." && session.service().deviceCount() == 0)
        return "the service has no device: connect a recorder, or start the service with\n"
               "TAVUSRV_ENABLE_EMULATOR=1 in its environment for the emulated device";
    std::string text(tools::adviceFor(serviceText).inShell);
    replaceAll(text, "{device}", session.deviceOption());
    replaceAll(text, "{port}", session.portOption());
    return text;
}

std::string adviceForUnreadyPort(Session &session, uint8_t port)
{
    client::Connection &service = session.service();
    const std::string number = std::to_string(port);
    const std::string place = session.deviceOption() + optionText("--port", port);
    const client::PortConfig config = service.getPortConfig(session.device, port);
    std::string text;
    if (service.pairedTo(session.device, port).empty())
        text +=
            "port " + number + " isn't paired with a camera: `tavuctl pair CAMERA" + place + "`\n";
    if (!config.hasFrameSize())
        text +=
            "port " + number + " has no frame size: `tavuctl configure 1280x1024" + place + "`\n";
    if (!text.empty())
        text.pop_back();
    return text;
}

void confirm(const std::string &question)
{
    if (!isConsole(stdin))
        throw UsageError(question + " Say so with --yes");
    const std::string shown = consolesShowUtf8() ? question : plainText(question);
    std::fprintf(stderr, "%s [y/N] ", shown.c_str());
    std::fflush(stderr);
    std::array<char, 16> answer{};
    if (!std::fgets(answer.data(), answer.size(), stdin) || (answer[0] != 'y' && answer[0] != 'Y'))
        throw Failure("nothing was done");
}

} // namespace tavu::ctl
