#include "client/tavuctl/completion.h"
#include "client/tavuctl/completion_scripts.h"

#include "client/tavuctl/arguments.h"
#include "client/tavuctl/groups.h"
#include "client/tools/file_text.h"
#include "client/tools/text.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <map>
#include <mutex>
#include <stop_token>
#include <thread>

namespace tavu::ctl {

namespace {

/// A person has pressed a key, and waits.
constexpr std::chrono::milliseconds kLongest(700);

/// Ends the process, which has printed nothing, when a service takes too long to answer.
class TimeLimit
{
    std::mutex mutex_;
    std::condition_variable_any wakeUp_;
    std::jthread thread_{[this](std::stop_token stop) {
        std::unique_lock lock(mutex_);
        wakeUp_.wait_for(lock, stop, kLongest, [] { return false; });
        if (!stop.stop_requested())
            std::_Exit(kSuccess);
    }};
};

/// What \a ask brings; nothing when the service refuses, or when there is none.
template <typename Ask>
Candidates tryToAsk(Ask ask)
{
    try {
        return ask();
    } catch (const std::exception &) {
        return {};
    }
}

Candidates devices(client::Connection &service)
{
    Candidates found;
    const uint32_t count = service.deviceCount();
    for (uint32_t device = 0; device < count; ++device)
        found.push_back({std::to_string(device), service.deviceName(device)});
    return found;
}

Candidates ports(client::Connection &service, uint32_t device)
{
    Candidates found;
    const uint8_t count = service.portCount(device);
    for (unsigned number = 0; number < count; ++number) {
        const auto port = static_cast<uint8_t>(number);
        const std::string camera = service.pairedTo(device, port);
        found.push_back({std::to_string(number),
                         service.portName(device, port) + (camera.empty() ? "" : ", " + camera)});
    }
    return found;
}

/// Whether a name says which recording is meant, on a command line of one line.
bool canBeTyped(const std::string &name)
{
    return !name.empty() && name[0] != '-' && name[0] != ':' && name != "last" &&
           name == printable(name) && name.find_first_not_of("0123456789:") != std::string::npos;
}

Candidates recordings(client::Connection &service, uint32_t device)
{
    std::vector<client::FileEntry> files = service.listFiles(device);
    if (files.empty())
        return {};
    std::reverse(files.begin(), files.end()); // the latest are wanted most
    Candidates found = {{"last", "the latest"}};
    std::map<std::string, unsigned> uses;
    for (const client::FileEntry &file : files) {
        ++uses[file.name];
        found.push_back({fileNumber(file), file.name + ", " + counted(file.numFrames, "frame") +
                                               ", " + timeText(file.timestamp)});
    }
    for (const client::FileEntry &file : files) {
        if (canBeTyped(file.name) && uses[file.name] == 1)
            found.push_back({file.name, "file " + fileNumber(file)});
    }
    return found;
}

} // namespace

int printCompletion(const CLI::App &app, const std::vector<std::string> &words, Session &session)
{
    std::string text;
    {
        const TimeLimit limit;
        const CompletionSource source = {
            [&] { return tryToAsk([&] { return devices(session.service()); }); },
            [&](uint32_t device) {
                return tryToAsk([&] { return ports(session.service(), device); });
            },
            [&](uint32_t device) {
                return tryToAsk([&] { return recordings(session.service(), device); });
            }};
        const Completion found = complete(app, words, source);
        for (const Candidate &candidate : found.candidates)
            text += candidate.text + "\t" + printable(candidate.help) + "\n";
        if (found.files)
            text += ":files\n";
    }
    print(text);
    return kSuccess;
}

void addCompletionCommand(CLI::App &app, Session &session)
{
    CLI::App *command = app.add_subcommand(
        "completion", "Print a script by which a shell completes tavuctl's command lines");
    const auto shell = std::make_shared<std::string>();
    command->add_option("SHELL", *shell, "bash, zsh or fish")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));
    command->footer("Examples:\n"
                    "  source <(tavuctl completion bash)\n"
                    "  source <(tavuctl completion zsh)\n"
                    "  tavuctl completion fish | source");
    setAction(*command, session, [shell] {
        print(*shell == "bash"  ? kBashCompletion
              : *shell == "zsh" ? kZshCompletion
                                : kFishCompletion);
        return kSuccess;
    });
}

} // namespace tavu::ctl
