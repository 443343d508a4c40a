#include "client/tavuview/commands.h"

#include "client/tavuview/web.h"
#include "client/tools/camera.h"
#include "client/tools/device_status.h"
#include "client/tools/failure.h"
#include "client/tools/file_text.h"
#include "client/tools/parsing.h"
#include "client/tools/text.h"

#include <algorithm>
#include <array>

namespace tavu::view {

namespace {

using tools::Json;

/// The parameters of a command. What is wrong or missing raises BadRequest.
class Parameters
{
public:
    explicit Parameters(const Json &json) : json_(json) {}

    bool has(const char *key) const
    {
        const auto found = json_.find(key);
        return found != json_.end() && !found->is_null();
    }
    uint64_t number(const char *key, uint64_t most) const
    {
        const Json &value = this->value(key);
        if (!value.is_number_unsigned() || value.get<uint64_t>() > most)
            throw BadRequest(std::string("\"") + key + "\" must be a number from 0 to " +
                             std::to_string(most));
        return value.get<uint64_t>();
    }
    uint64_t number(const char *key, uint64_t most, uint64_t absent) const
    {
        return has(key) ? number(key, most) : absent;
    }
    std::string text(const char *key) const
    {
        const Json &value = this->value(key);
        if (!value.is_string())
            throw BadRequest(std::string("\"") + key + "\" must be a text");
        return value.get<std::string>();
    }
    std::string text(const char *key, const char *absent) const
    {
        return has(key) ? text(key) : absent;
    }
    bool flag(const char *key) const { return has(key) && value(key) == true; }
    /// A duration as people write it, in microseconds.
    std::optional<uint64_t> duration(const char *key) const
    {
        const std::string typed = text(key, "");
        return typed.empty() ? std::nullopt : std::optional(tools::parseDuration(typed));
    }
    const Json &value(const char *key) const
    {
        const auto found = json_.find(key);
        if (found == json_.end())
            throw BadRequest(std::string("\"") + key + "\" is missing");
        return *found;
    }

    uint32_t device() const { return static_cast<uint32_t>(number("device", 0xFFFFFFFF)); }
    uint8_t port() const { return static_cast<uint8_t>(number("port", 0xFF)); }
    uint32_t file() const { return static_cast<uint32_t>(number("file", 0xFFFFFFFF)); }
    uint32_t stream() const { return static_cast<uint32_t>(number("stream", 0xFFFFFFFF, 0)); }

private:
    const Json &json_;
};

struct Context
{
    client::Connection &service;
    RecordingJobs &jobs;
    const Parameters &parameters;
};

Json pair(Context &context)
{
    const Parameters &p = context.parameters;
    client::Pairing pairing;
    pairing.identity = p.text("camera");
    // An empty name is how a device says "unpaired".
    if (pairing.identity.empty())
        throw tools::UsageError("the camera needs a name");
    pairing.info = tools::parseHex(p.text("info", ""));
    pairing.framesPerPacket = static_cast<uint16_t>(p.number("framesPerPacket", 0xFFFF, 0));
    context.service.pairPort(p.device(), p.port(), pairing);
    return {};
}

Json unpair(Context &context)
{
    context.service.unpairPort(context.parameters.device(), context.parameters.port());
    return {};
}

Json configure(Context &context)
{
    const Parameters &p = context.parameters;
    client::PortConfig config = context.service.getPortConfig(p.device(), p.port());
    config.width = static_cast<uint16_t>(p.number("width", 0xFFFF));
    config.height = static_cast<uint16_t>(p.number("height", 0xFFFF));
    config.pixelFormat =
        static_cast<uint32_t>(p.number("pixelFormat", 0xFFFFFFFF, config.pixelFormat));
    config.tapGeometry =
        static_cast<uint32_t>(p.number("tapGeometry", 0xFFFFFFFF, config.tapGeometry));
    context.service.setPortConfig(p.device(), p.port(), config);
    return {};
}

Json setUp(Context &context)
{
    const Parameters &p = context.parameters;
    // The page asks twice; the name shows that it is meant for this very device.
    if (p.text("name") != context.service.deviceName(p.device()))
        throw BadRequest("the name isn't the device's");
    tools::prepareStorage(context.service, p.device());
    const size_t listed = context.service.listFiles(p.device()).size();
    if (listed == 0)
        return {};
    return {{"note", "The list still shows " + tools::counted(listed, "recording") +
                         " that can't be opened any more, and new ones may get their numbers: "
                         "start the service anew before you record."}};
}

Json record(Context &context)
{
    const Parameters &p = context.parameters;
    RecordingJob job;
    job.plan.ports.clear();
    const Json &ports = p.value("ports");
    if (!ports.is_array() || ports.empty())
        throw BadRequest("choose at least one port");
    for (const Json &port : ports) {
        if (!port.is_number_unsigned() || port.get<uint64_t>() > 31)
            throw BadRequest("a recording takes the ports 0 to 31");
        job.plan.ports.push_back(port.get<uint32_t>());
    }
    if (p.has("frames"))
        job.plan.frames = p.number("frames", ~uint64_t(0));
    job.plan.time = p.duration("time");
    if (job.plan.frames && job.plan.time)
        throw BadRequest("a recording ends after frames or after a time, not both");
    job.plan.pretrigger = p.duration("pretrigger");
    job.triggerAfter = p.duration("triggerAfter");
    job.plan.externalStart = p.flag("externalStart");
    job.plan.externalStop = p.flag("externalStop");
    job.plan.startVariant = p.flag("startVariant");
    job.plan.stopVariant = p.flag("stopVariant");
    job.name = p.text("name", "");
    context.jobs.start(context.service, p.device(), std::move(job));
    return {};
}

Json stop(Context &context)
{
    Json lines = Json::array();
    for (const client::FileEntry &file :
         context.jobs.finish(context.service, context.parameters.device()))
        lines.push_back("Recorded " + tools::fileSummary(file));
    return {{"lines", lines}};
}

Json trigger(Context &context)
{
    context.service.softwareTrigger(context.parameters.device());
    return {};
}

Json rename(Context &context)
{
    const Parameters &p = context.parameters;
    context.service.renameFile(p.device(), p.file(), p.stream(), p.text("name"));
    return {};
}

Json remove(Context &context)
{
    const Parameters &p = context.parameters;
    context.service.removeFile(p.device(), p.file(), p.stream());
    return {};
}

Json startRecovery(Context &context)
{
    const uint32_t device = context.parameters.device();
    if (!context.service.hasIncompleteFile(device))
        throw tools::Failure("there is no incomplete recording");
    if (!context.service.isRecordingDone(device))
        throw tools::Failure("a recording is under way: stop it first");
    context.service.startRecovery(device);
    return {};
}

Json cancelRecovery(Context &context)
{
    context.service.cancelRecovery(context.parameters.device());
    return {};
}

Json finishRecovery(Context &context)
{
    const uint32_t device = context.parameters.device();
    // Finishing closes the file, which a running recovery still uses.
    if (context.service.recoveryStatus(device) != client::RecoveryStatus::Done)
        throw tools::Failure("no recovery has come to a good end");
    const size_t known = context.service.listFiles(device).size();
    context.service.finishRecovery(device);
    const std::vector<client::FileEntry> files = context.service.listFiles(device);
    Json lines = Json::array();
    // What is new stands at the end of the list.
    for (size_t i = known; i < files.size(); ++i)
        lines.push_back("Recovered " + tools::fileSummary(files[i]));
    if (lines.empty())
        lines.push_back("There were no frames to recover");
    return {{"lines", lines}};
}

Json discard(Context &context)
{
    const uint32_t device = context.parameters.device();
    if (!context.service.isRecordingDone(device))
        throw tools::Failure("a recording is under way: stop it first");
    context.service.discardIncompleteFile(device);
    return {};
}

Json askCamera(Context &context)
{
    const Parameters &p = context.parameters;
    client::SerialSettings settings;
    settings.baudRate = static_cast<uint32_t>(p.number("baudRate", 0xFFFFFFFF, settings.baudRate));
    const std::string answer =
        tools::askCamera(context.service, {p.device(), p.port()}, settings, p.text("line"),
                         std::chrono::seconds(2), [] { return false; });
    return {{"answer", tools::printable(answer)}};
}

Json readRegister(Context &context)
{
    const Parameters &p = context.parameters;
    const client::Bytes bytes = context.service.registerRead(
        p.device(), p.port(), static_cast<uint32_t>(p.number("address", 0xFFFFFFFF)),
        static_cast<uint32_t>(p.number("size", 4096)));
    return {{"data", tools::hexText(bytes)}};
}

Json writeRegister(Context &context)
{
    const Parameters &p = context.parameters;
    context.service.registerWrite(p.device(), p.port(),
                                  static_cast<uint32_t>(p.number("address", 0xFFFFFFFF)),
                                  tools::parseHex(p.text("data")));
    return {};
}

struct Command
{
    std::string_view name;
    Json (*run)(Context &);
};

constexpr std::array<Command, 16> kCommands = {{{"pair", pair},
                                                {"unpair", unpair},
                                                {"configure", configure},
                                                {"setup", setUp},
                                                {"record", record},
                                                {"stop", stop},
                                                {"trigger", trigger},
                                                {"rename", rename},
                                                {"remove", remove},
                                                {"recover", startRecovery},
                                                {"cancelRecovery", cancelRecovery},
                                                {"finishRecovery", finishRecovery},
                                                {"discard", discard},
                                                {"ask", askCamera},
                                                {"readRegister", readRegister},
                                                {"writeRegister", writeRegister}}};

} // namespace

Json Commands::run(const std::string &name, const Json &parameters)
{
    const auto found = std::find_if(kCommands.begin(), kCommands.end(),
                                    [&](const Command &command) { return command.name == name; });
    if (found == kCommands.end())
        throw BadRequest("there is no command of this name");
    const std::shared_ptr<ServiceLink> link = service_.link();
    const Parameters wrapped(parameters);
    Context context{link->get(), jobs_, wrapped};
    return found->run(context);
}

} // namespace tavu::view
