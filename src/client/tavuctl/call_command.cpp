#include "client/tavuctl/arguments.h"
#include "client/tavuctl/groups.h"
#include "client/tavuctl/json_values.h"
#include "client/tavuctl/text.h"

#include <charconv>

namespace tavu::ctl {

namespace {

struct CallOptions
{
    std::string command;
    std::string params = "{}";
};

uint32_t ordinalOf(const std::string &command)
{
    if (const std::optional<uint32_t> named = client::commandOrdinal(command))
        return *named;
    uint32_t ordinal = 0;
    const char *const end = command.data() + command.size();
    const auto parsed = std::from_chars(command.data(), end, ordinal);
    if (parsed.ec != std::errc() || parsed.ptr != end)
        throw UsageError("\"" + printable(command) +
                         "\" is neither the number of a command nor the name of one");
    return ordinal;
}

Json parseParams(const std::string &text)
{
    try {
        return Json::parse(text);
    } catch (const Json::parse_error &error) {
        throw UsageError(std::string("the parameters aren't JSON: ") + error.what());
    }
}

int call(Session &session, const CallOptions &options)
{
    const uint32_t ordinal = ordinalOf(options.command);
    const ObjectValue params = toObjectValue(parseParams(options.params));
    const ObjectValue values = session.service().call(ordinal, params);
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
    command->add_option("JSON", options->params,
                        "The parameters, as an object [{}]; null leaves them out. Bytes are "
                        "written {\"$bin\": \"<hexadecimal>\"}, also in what is printed");
    addExamples(*command, {"call 4", "call deviceName '{\"deviceId\": 0}'",
                           "call 34 '{\"deviceId\": 0, \"port\": 0, \"identity\": \"cam\", "
                           "\"info\": {\"$bin\": \"00ff\"}, \"numFramesPerPacket\": 1}'"});
    command->callback([&session, options] {
        session.action = [&session, options] { return call(session, *options); };
    });
}

} // namespace tavu::ctl
