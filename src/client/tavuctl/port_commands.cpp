#include "client/tavuctl/arguments.h"
#include "client/tavuctl/groups.h"
#include "client/tools/json_values.h"
#include "client/tools/text.h"
#include "platform/files.h"

#include <tuple>

namespace tavu::ctl {

namespace {

struct PairOptions
{
    std::string camera;
    std::string infoHex;
    std::string infoPath;
    uint16_t framesPerPacket = 0;
    bool update = false;
};

client::Bytes readWholeFile(const std::string &path)
{
    const std::optional<uint64_t> size = fileSize(path);
    const InputFile file(path);
    if (!size || !file.isOpen())
        throw Failure("can't read " + path);
    client::Bytes bytes(static_cast<size_t>(*size));
    bytes.resize(static_cast<size_t>(file.readAt(0, bytes.data(), bytes.size())));
    return bytes;
}

int pair(Session &session, const PairOptions &options)
{
    // An empty name is how a device says "unpaired".
    if (options.camera.empty())
        throw UsageError("the camera needs a name");
    client::Pairing pairing;
    pairing.identity = options.camera;
    pairing.info =
        options.infoPath.empty() ? parseHex(options.infoHex) : readWholeFile(options.infoPath);
    pairing.framesPerPacket = options.framesPerPacket;
    if (options.update)
        session.service().repairPort(session.device, session.portNumber(), pairing);
    else
        session.service().pairPort(session.device, session.portNumber(), pairing);
    printLine("port " + std::to_string(session.port) + " is paired with " +
              inQuotes(options.camera));
    return kSuccess;
}

int unpair(Session &session)
{
    session.service().unpairPort(session.device, session.portNumber());
    printLine("port " + std::to_string(session.port) + " is unpaired");
    return kSuccess;
}

struct ConfigureOptions
{
    std::string size;
    std::optional<uint32_t> pixelFormat;
    std::optional<uint32_t> tapGeometry;
};

int configure(Session &session, const ConfigureOptions &options)
{
    client::Connection &service = session.service();
    client::PortConfig config = service.getPortConfig(session.device, session.portNumber());
    if (!options.size.empty())
        std::tie(config.width, config.height) = parseFrameSize(options.size);
    config.pixelFormat = options.pixelFormat.value_or(config.pixelFormat);
    config.tapGeometry = options.tapGeometry.value_or(config.tapGeometry);
    if (!options.size.empty() || options.pixelFormat || options.tapGeometry)
        service.setPortConfig(session.device, session.portNumber(), config);
    if (session.json) {
        printJson(toJson(config));
        return kSuccess;
    }
    printLine("port " + std::to_string(session.port) +
              (config.hasFrameSize()
                   ? " records frames of " + frameSizeText(config.width, config.height)
                   : " isn't configured: give it a frame size like 1280x1024") +
              ", pixel format " + std::to_string(config.pixelFormat) + ", tap geometry " +
              std::to_string(config.tapGeometry));
    return kSuccess;
}

void addPair(CLI::App &app, Session &session)
{
    CLI::App *command = app.add_subcommand("pair", "Bind a camera to a port");
    const auto options = std::make_shared<PairOptions>();
    command->add_option("CAMERA", options->camera, "The camera's name")->required();
    addDeviceOption(*command, session);
    addPortOption(*command, session);
    CLI::Option *hex = command->add_option("--info", options->infoHex,
                                           "A block of the camera's own that the device keeps");
    hex->type_name("HEX");
    command->add_option("--info-file", options->infoPath, "The same block, out of a file")
        ->type_name("PATH")
        ->excludes(hex);
    command
        ->add_option("--frames-per-packet", options->framesPerPacket,
                     "Frames that the camera puts into a packet [0]")
        ->type_name("N");
    command->add_flag("--update", options->update,
                      "Only replace the block of the camera that is paired already");
    addExamples(*command, {"pair \"My camera\"", "pair \"Side view\" --port 1 --info 0badcafe"});
    setAction(*command, session, [&session, options] { return pair(session, *options); });
}

void addConfigure(CLI::App &app, Session &session)
{
    CLI::App *command =
        app.add_subcommand("configure", "Set or show the frame geometry that a port records");
    const auto options = std::make_shared<ConfigureOptions>();
    command->add_option("SIZE", options->size, "Width and height in pixels, as 1280x1024");
    addDeviceOption(*command, session);
    addPortOption(*command, session);
    command->add_option("--pixel-format", options->pixelFormat, "The camera's pixel format")
        ->type_name("N");
    command->add_option("--tap-geometry", options->tapGeometry, "The camera's tap geometry")
        ->type_name("N");
    addJsonOption(*command, session);
    addExamples(*command, {"configure", "configure 1280x1024",
                           "configure 2560x1600 --port 1 "
                           "--tap-geometry 10"});
    setAction(*command, session, [&session, options] { return configure(session, *options); });
}

} // namespace

void addPortCommands(CLI::App &app, Session &session)
{
    addPair(app, session);
    CLI::App *command = app.add_subcommand("unpair", "Forget the camera of a port");
    addDeviceOption(*command, session);
    addPortOption(*command, session);
    addExamples(*command, {"unpair", "unpair --port 1"});
    setAction(*command, session, [&session] { return unpair(session); });
    addConfigure(app, session);
}

} // namespace tavu::ctl
