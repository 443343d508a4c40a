#include "client/tavuctl/arguments.h"
#include "client/tavuctl/console.h"
#include "client/tavuctl/groups.h"
#include "client/tools/json_values.h"
#include "client/tools/text.h"
#include "platform/clock.h"

#include <chrono>

namespace tavu::ctl {

namespace {

struct WatchOptions
{
    std::optional<uint64_t> count;
    std::optional<uint64_t> timeout;
};

std::string typeName(EventType type)
{
    const char *const name = eventTypeName(type);
    return name ? name : "Event" + std::to_string(static_cast<uint32_t>(type));
}

/// "0,2" for the mask 5.
std::string portsText(uint32_t mask)
{
    std::string text;
    for (unsigned port = 0; port < 32; ++port) {
        if (mask & (1u << port))
            text += (text.empty() ? "" : ",") + std::to_string(port);
    }
    return text;
}

std::string eventText(const client::Event &event)
{
    std::string text = timeText(utcTimestamp()) + " " + typeName(event.type);
    if (event.type != EventType::DevicesChanged)
        text += " device " + std::to_string(event.device);
    if (event.type == EventType::RecordingStarted)
        text += " ports " + portsText(event.port);
    else if (event.type == EventType::PairingChanged)
        text += " port " + std::to_string(event.port);
    return text;
}

void showEvent(const Session &session, const client::Event &event)
{
    if (!session.json) {
        printLine(eventText(event));
        return;
    }
    // One event a line, so that a script can take them as they come.
    const uint64_t now = utcTimestamp();
    const Json json = {{"time", exactTimeText(now)},
                       {"timestamp", now},
                       {"timestampText", std::to_string(now)},
                       {"event", typeName(event.type)},
                       {"type", static_cast<uint32_t>(event.type)},
                       {"device", event.device},
                       {"port", event.port}};
    printLine(json.dump());
}

int watch(Session &session, const WatchOptions &options)
{
    using Clock = std::chrono::steady_clock;
    client::Connection &service = session.service();
    const uint32_t queue = service.createEventQueue();
    catchInterrupts();
    note("watching; Ctrl-C ends it");
    const auto start = Clock::now();
    uint64_t seen = 0;
    while (!interrupted() && (!options.count || seen < *options.count)) {
        if (options.timeout && Clock::now() - start >= std::chrono::microseconds(*options.timeout))
            break;
        const client::Event event = service.readEvent(queue);
        if (event.type == EventType::NoEvent)
            continue;
        if (event.type == EventType::QueueClosed)
            throw Failure("another client closed our event queue");
        showEvent(session, event);
        ++seen;
    }
    // With a count, fewer events are a failure.
    return options.count && seen < *options.count ? kFailure : kSuccess;
}

} // namespace

void addWatchCommand(CLI::App &app, Session &session)
{
    CLI::App *command = app.add_subcommand("watch", "Print events as they come, until Ctrl-C");
    const auto options = std::make_shared<WatchOptions>();
    command
        ->add_option("-n,--count", options->count,
                     "End after this many events; with fewer the exit status is 1")
        ->type_name("N");
    addDurationOption(*command, "-t,--timeout", options->timeout,
                      "End after this time, to half a second");
    command->add_flag("--json", session.json, "Print a JSON object a line, for scripts");
    addExamples(*command, {"watch", "watch --count 1 --timeout 30s", "watch --json | jq .event"});
    setAction(*command, session, [&session, options] { return watch(session, *options); });
}

} // namespace tavu::ctl
