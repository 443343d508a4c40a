#include "client/tavuctl/command_line.h"

#include "client/tavuctl/groups.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>
#include <sstream>

namespace tavu::ctl {
namespace {

/// The first line of the complaint about \a line; empty when there is none.
std::string complaintAbout(const std::string &line)
{
    CLI::App app("", "tavuctl");
    Session session;
    app.require_subcommand(1);
    addRecordCommands(app, session);
    addRecoveryCommands(app, session);
    addFileCommands(app, session);
    addLiveCommand(app, session);
    std::vector<std::string> words;
    std::istringstream stream(line);
    for (std::string word; stream >> word;)
        words.push_back(word);
    try {
        checkCommandLine(app, words);
    } catch (const UsageError &error) {
        const std::string text = error.what();
        return text.substr(0, text.find('\n'));
    }
    return {};
}

TEST(CommandLine, NamesTheFirstMistake)
{
    const std::pair<const char *, const char *> cases[] = {
        {"", "`tavuctl` needs a command"},
        {"recrod", "`tavuctl` has no command \"recrod\"; did you mean record?"},
        {"xyz", "`tavuctl` has no command \"xyz\""},
        {"recover strt --foo", "`tavuctl recover` has no command \"strt\"; did you mean start?"},
        {"recover", "`tavuctl recover` needs a command"},
        {"record --frmes 3 -p 99",
         "`tavuctl record` has no option \"--frmes\"; did you mean --frames?"},
        {"record -p 99 --frmes 3", "--port: \"99\" isn't a number from 0 to 31"},
        {"record -p 0,1 -n 3 --pre 1s", "`tavuctl record` has no option \"--pre\"; did you mean "
                                        "--pretrigger?"},
        {"record -n 0", "--frames: \"0\" isn't a number of 1 or more"},
        {"record -n -5", "--frames: \"-5\" isn't a number of 0 or more"},
        {"record -n5x", "--frames: \"5x\" isn't a number of 1 or more"},
        {"record --time 3x --foo", "--time: \"3x\" is no duration: give one like 10s, 500ms or 2m"},
        {"record -n", "-n needs a value behind it"},
        {"rename --uniqe 1", "`tavuctl rename` has no option \"--uniqe\"; did you mean --unique?"},
        {"remove 1 2", "\"2\" is more than `tavuctl remove` takes"},
        {"--json files", "`tavuctl` has no option \"--json\": options stand behind the command "
                         "that they are for"}};
    for (const auto &[line, complaint] : cases)
        EXPECT_EQ(complaintAbout(line), complaint) << line;
    for (const char *line : {"record --nonsense --help", "--version", "record -p 0 1 -n3 --name=x",
                             "remove -y -5", "live -n 3 -o - --rate 0.5", "rename 3 x -- --foo"})
        EXPECT_EQ(complaintAbout(line), "") << line;
}

} // namespace
} // namespace tavu::ctl
