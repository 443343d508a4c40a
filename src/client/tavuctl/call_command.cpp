#include "client/tavuctl/arguments.h"
#include "client/tavuctl/call_values.h"
#include "client/tavuctl/groups.h"
#include "client/tools/text.h"

namespace tavu::ctl {

namespace {

struct CallOptions
{
    std::string command;
    std::vector<std::string> params;
};

const CommandInfo &commandOf(const std::string &text)
{
    const CommandInfo *info = findCommand(std::string_view(text));
    if (const auto ordinal = parseNumber<uint64_t>(text); ordinal && !info)
        info = findCommand(*ordinal);
    if (!info)
        throw UsageError(inQuotes(text) +
                         " is neither the number of a command nor the name of one; `tavuctl "
                         "protocol` lists them");
    return *info;
}

int call(Session &session, const CallOptions &options)
{
    const CommandInfo &info = commandOf(options.command);
    const Json params = parseCallParams(info, options.params);
    checkCallParams(info, params);
    const ObjectValue values =
        session.service().call(static_cast<uint32_t>(info.command), toObjectValue(params));
    printJson(values.type() == ObjectType::Nil ? Json::object() : toJson(values));
    return kSuccess;
}

} // namespace

void addCallCommand(CLI::App &app, Session &session)
{
    CLI::App *command =
        app.add_subcommand("call", "Call any command of the service and print its values as JSON");
    const auto options = std::make_shared<CallOptions>();
    command->add_option("COMMAND", options->command, "Number of the command, 0 to 57, or its name")
        ->type_name("ORDINAL")
        ->required();
    command->add_option("PARAMS", options->params,
                        "The parameters, as KEY=VALUE each, with bytes in hexadecimal; or all as "
                        "one JSON object, with bytes as {\"$bin\": \"<hexadecimal>\"}, which is "
                        "also how they are printed");
    addExamples(*command,
                {"call 4", "call deviceName deviceId=0", "call deviceName '{\"deviceId\": 0}'",
                 "call pairPort deviceId=0 port=0 identity=cam info=00ff "
                 "numFramesPerPacket=1"});
    setAction(*command, session, [&session, options] { return call(session, *options); });
}

} // namespace tavu::ctl
