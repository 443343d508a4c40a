#include "client/tavuctl/arguments.h"

#include "client/tools/file_text.h"
#include "client/tools/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

namespace tavu::ctl {

namespace {

/// Tells whether \a text is the number of \a file, with or without its stream.
bool isNumberOf(std::string_view text, const client::FileEntry &file)
{
    const size_t colon = text.find(':');
    if (parseNumber<uint32_t>(text.substr(0, colon)) != file.fileId)
        return false;
    return colon == std::string_view::npos ||
           parseNumber<uint32_t>(text.substr(colon + 1)) == file.streamId;
}

std::vector<client::FileEntry> filesMeantBy(std::string_view text,
                                            std::vector<client::FileEntry> files)
{
    const auto byTime = [](const client::FileEntry &a, const client::FileEntry &b) {
        return std::pair(a.timestamp, a.fileId) < std::pair(b.timestamp, b.fileId);
    };
    if (text == "last" && !files.empty())
        return {*std::max_element(files.begin(), files.end(), byTime)};
    std::vector<client::FileEntry> meant;
    const auto take = [&](const client::FileEntry &file) { return isNumberOf(text, file); };
    std::copy_if(files.begin(), files.end(), std::back_inserter(meant), take);
    if (meant.empty())
        std::copy_if(files.begin(), files.end(), std::back_inserter(meant),
                     [&](const client::FileEntry &file) { return file.name == text; });
    return meant;
}

} // namespace

client::FileEntry findFile(Session &session, std::string_view text)
{
    const std::vector<client::FileEntry> meant =
        filesMeantBy(text, session.service().listFiles(session.device));
    if (meant.size() == 1)
        return meant[0];
    if (meant.empty())
        throw Failure("there is no recording " + inQuotes(text) + ": `tavuctl files" +
                      session.deviceOption() + "` lists what there is");
    std::string numbers;
    for (const client::FileEntry &file : meant)
        numbers += (numbers.empty() ? "" : ", ") + fileNumber(file);
    throw Failure(inQuotes(text) + " is more than one recording: give the number, one of " +
                  numbers);
}

void setAction(CLI::App &command, Session &session, std::function<int()> action)
{
    command.callback([&session, action = std::move(action)] { session.action = action; });
}

void addFileArgument(CLI::App &command, std::string &file)
{
    command
        .add_option("FILE", file,
                    "Number of a recording as in `files`, its name, or \"last\" for the latest")
        ->required();
}

void addDeviceOption(CLI::App &command, Session &session)
{
    command.add_option("-d,--device", session.device, "Number of the device, as in `status` [0]")
        ->type_name("N");
}

void addPortOption(CLI::App &command, Session &session)
{
    command.add_option("-p,--port", session.port, "Number of the camera port [0]")
        ->type_name("N")
        ->check(numberIn(0u, 255u));
}

void addJsonOption(CLI::App &command, Session &session)
{
    command.add_flag("--json", session.json, "Print JSON, for scripts");
}

void addDurationOption(CLI::App &command, const std::string &name,
                       std::optional<uint64_t> &microseconds, const std::string &help)
{
    command
        .add_option_function<std::string>(
            name,
            [&microseconds, name](const std::string &text) {
                try {
                    microseconds = parseDuration(text);
                } catch (const UsageError &error) {
                    throw UsageError(name.substr(name.find("--")) + ": " + error.what());
                }
            },
            help)
        ->type_name("DURATION");
}

void addLevelsOption(CLI::App &command, LevelsOf &levels)
{
    command
        .add_option_function<std::string>(
            "--levels", [&levels](const std::string &text) { levels = parseLevels(text); },
            "Pixel values that become black and white in pictures, like 4096-8191; auto spreads "
            "each picture over the whole range")
        ->type_name("LEVELS");
}

void addExamples(CLI::App &command, const std::vector<std::string> &lines)
{
    std::string footer = "Examples:\n";
    for (const std::string &line : lines)
        footer += "  tavuctl " + line + "\n";
    footer.pop_back();
    command.footer(footer);
}

} // namespace tavu::ctl
