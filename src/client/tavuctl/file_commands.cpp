#include "client/tavuctl/advice.h"
#include "client/tavuctl/arguments.h"
#include "client/tavuctl/groups.h"
#include "client/tavuctl/output_file.h"
#include "client/tools/file_text.h"
#include "client/tools/json_values.h"
#include "client/tools/text.h"

namespace tavu::ctl {

namespace {

int listFiles(Session &session)
{
    const std::vector<client::FileEntry> files = session.service().listFiles(session.device);
    if (session.json) {
        printJson(toJson(files));
        return kSuccess;
    }
    if (files.empty()) {
        note("device " + std::to_string(session.device) + " has no recordings");
        return kSuccess;
    }
    std::vector<std::vector<std::string>> rows = {
        {"FILE", "NAME", "PORT", "FRAMES", "FRAME SIZE", "SIZE", "CAMERA", "RECORDED"}};
    for (const client::FileEntry &file : files)
        rows.push_back({fileNumber(file), printable(file.name), printable(file.port),
                        std::to_string(file.numFrames), frameSizeText(file.width, file.height),
                        sizeText(file.size), printable(file.camera), timeText(file.timestamp)});
    print(table(rows));
    return kSuccess;
}

struct FileOptions
{
    std::string file;
    std::string name;
    std::string identityPath;
    bool unique = false;
    bool yes = false;
};

int showInfo(Session &session, const FileOptions &options)
{
    const client::FileEntry file = findFile(session, options.file);
    const client::Bytes identity =
        session.service().fileIdentity(session.device, file.fileId, file.streamId);
    if (!options.identityPath.empty()) {
        OutputFile output(options.identityPath);
        output.write(identity);
        output.finish();
    }
    if (session.json) {
        Json json = toJson(file);
        json["identity"] = blobJson(identity);
        printJson(json);
        return kSuccess;
    }
    print(table({{"file", fileNumber(file)},
                 {"name", printable(file.name)},
                 {"recorded", timeText(file.timestamp)},
                 {"port", printable(file.port)},
                 {"camera", printable(file.camera)},
                 {"camera's block", counted(identity.size(), "byte")},
                 {"frames", std::to_string(file.numFrames)},
                 {"dropped frames", std::to_string(file.numDroppedFrames)},
                 {"frame size", frameSizeText(file.width, file.height)},
                 {"size", sizeText(file.size) + " (" + counted(file.size, "byte") + ")"},
                 {"start time", std::to_string(file.startTime)},
                 {"end time", std::to_string(file.endTime)},
                 {"duration", std::to_string(file.duration)}}));
    return kSuccess;
}

int rename(Session &session, const FileOptions &options)
{
    const client::FileEntry file = findFile(session, options.file);
    std::string name = options.name;
    if (options.unique) {
        const client::FileUpdate update{
            options.name,          file.width,     file.height,  file.numFrames,
            file.numDroppedFrames, file.startTime, file.endTime, file.duration};
        name = session.service().setFileInfo(session.device, file.fileId, file.streamId, update);
    } else {
        session.service().renameFile(session.device, file.fileId, file.streamId, name);
    }
    printLine("file " + fileNumber(file) + " is called " + inQuotes(name));
    return kSuccess;
}

int remove(Session &session, const FileOptions &options)
{
    const client::FileEntry file = findFile(session, options.file);
    const std::string which = "file " + fileNumber(file) + " (" + inQuotes(file.name) + ", " +
                              counted(file.numFrames, "frame") + ")";
    if (!options.yes)
        confirm("This removes " + which + " for good.");
    session.service().removeFile(session.device, file.fileId, file.streamId);
    printLine("removed " + which);
    return kSuccess;
}

CLI::App *addFileCommand(CLI::App &app, Session &session, const std::string &name,
                         const std::string &help, const std::shared_ptr<FileOptions> &options,
                         int (*action)(Session &, const FileOptions &))
{
    CLI::App *command = app.add_subcommand(name, help);
    addFileArgument(*command, options->file);
    addDeviceOption(*command, session);
    setAction(*command, session, [&session, options, action] { return action(session, *options); });
    return command;
}

} // namespace

void addFileCommands(CLI::App &app, Session &session)
{
    CLI::App *files = app.add_subcommand("files", "List the recordings");
    addDeviceOption(*files, session);
    addJsonOption(*files, session);
    addExamples(*files, {"files", "files --json"});
    setAction(*files, session, [&session] { return listFiles(session); });

    auto options = std::make_shared<FileOptions>();
    CLI::App *info =
        addFileCommand(app, session, "info", "Show all about a recording", options, showInfo);
    info->add_option("--identity", options->identityPath,
                     "Write the camera's block that was stored with it into this file")
        ->type_name("PATH");
    addJsonOption(*info, session);
    addExamples(*info, {"info 3", "info last --json", "info \"Second try\" --identity camera.bin"});

    options = std::make_shared<FileOptions>();
    CLI::App *name =
        addFileCommand(app, session, "rename", "Give a recording a name", options, rename);
    name->add_option("NAME", options->name, "The new name")->required();
    name->add_flag("--unique", options->unique,
                   "Put a number behind a name that is already in use");
    addExamples(*name, {"rename 3 \"Second try\"", "rename last \"Drop test\" --unique"});

    options = std::make_shared<FileOptions>();
    CLI::App *removal =
        addFileCommand(app, session, "remove", "Remove a recording for good", options, remove);
    removal->add_flag("-y,--yes", options->yes, "Don't ask");
    addExamples(*removal, {"remove 3", "remove \"Second try\" --yes"});
}

} // namespace tavu::ctl
