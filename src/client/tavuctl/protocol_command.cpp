#include "client/tavuctl/arguments.h"
#include "client/tavuctl/call_values.h"
#include "client/tavuctl/groups.h"
#include "wire/commands.h"
#include "wire/names.h"
#include "wire/values.h"

namespace tavu::ctl {

namespace {

Json toJson(const Field &field)
{
    Json json = {{"name", field.key}, {"type", fieldTypeName(field.type)}};
    if (field.optional)
        json["optional"] = true;
    return json;
}

Json toJson(const FieldList &fields)
{
    Json list = Json::array();
    for (const Field &field : fields)
        list.push_back(toJson(field));
    return list;
}

Json toJson(const Announcement &announcement)
{
    Json json = {{"type", static_cast<uint32_t>(announcement.type)},
                 {"name", eventTypeName(announcement.type)}};
    if (announcement.port)
        json["port"] = announcement.port;
    if (announcement.onlyIf)
        json["onlyIf"] = announcement.onlyIf;
    return json;
}

Json toJson(const CommandInfo &info)
{
    Json json = {{"ordinal", static_cast<uint32_t>(info.command)},
                 {"name", info.name},
                 {"parameters", toJson(info.params)},
                 {"reply", toJson(info.results)}};
    if (info.announcement.type != EventType::NoEvent)
        json["event"] = toJson(info.announcement);
    return json;
}

template <typename Number>
Json entry(Number number, const char *name)
{
    return {{"value", static_cast<uint32_t>(number)}, {"name", name}};
}

Json eventTypes()
{
    Json list = Json::array();
    for (uint32_t type = 0; eventTypeName(static_cast<EventType>(type)); ++type)
        list.push_back(entry(type, eventTypeName(static_cast<EventType>(type))));
    return list;
}

int showProtocol(const Session &session)
{
    if (session.json) {
        printJson(protocolJson());
        return kSuccess;
    }
    for (const CommandInfo &info : allCommands()) {
        std::string line = std::to_string(static_cast<uint32_t>(info.command));
        line.resize(4, ' ');
        line += info.name;
        line += "\n      takes   " + fieldListText(info.params) + "\n      brings  " +
                fieldListText(info.results);
        if (info.announcement.type != EventType::NoEvent) {
            line += std::string("\n      posts   ") + eventTypeName(info.announcement.type);
            if (info.announcement.onlyIf)
                line += std::string(" if ") + info.announcement.onlyIf;
        }
        printLine(line);
    }
    return kSuccess;
}

} // namespace

Json protocolJson()
{
    Json commands = Json::array();
    for (const CommandInfo &info : allCommands())
        commands.push_back(toJson(info));
    return {
        {"version", kProtocolVersion},
        {"pipe", kPipeName},
        {"regions", kRegionBaseName},
        {"commands", std::move(commands)},
        {"event", toJson(kEventFields)},
        {"fileEntry", toJson(kFileFields)},
        {"eventTypes", eventTypes()},
        {"recoveryStates",
         Json::array({entry(RecoveryStatus::None, "None"),
                      entry(RecoveryStatus::Running, "Running"),
                      entry(RecoveryStatus::Failed, "Failed"), entry(RecoveryStatus::Done, "Done"),
                      entry(RecoveryStatus::Cancelled, "Cancelled")})},
        {"stopConditions", Json::array({entry(StopCondition::None, "None"),
                                        entry(StopCondition::FrameCount, "FrameCount"),
                                        entry(StopCondition::Time, "Time")})},
        {"triggerBits", Json::array({entry(trigger::kStart, "Start"), entry(trigger::kStop, "Stop"),
                                     entry(trigger::kStartVariant, "StartVariant"),
                                     entry(trigger::kStopVariant, "StopVariant")})}};
}

void addProtocolCommand(CLI::App &app, Session &session)
{
    CLI::App *command = app.add_subcommand(
        "protocol", "Print what crosses the pipe: all commands with their parameters and replies");
    command->add_flag("--json", session.json,
                      "Print JSON, for writers of clients in other languages");
    addExamples(*command, {"protocol", "protocol --json | jq '.commands[4]'"});
    setAction(*command, session, [&session] { return showProtocol(session); });
}

} // namespace tavu::ctl
