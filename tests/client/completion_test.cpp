#include "client/tavuctl/completion.h"
#include "client/tavuctl/groups.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

namespace tavu::ctl {
namespace {

/// What could stand at the end of a command line, in one text; the words are parted by blanks, and
/// "_" stands for a blank within one.
std::string completionOf(const std::string &line)
{
    CLI::App app;
    Session session;
    addDeviceCommands(app, session);
    addRecordCommands(app, session);
    addPlaybackCommands(app, session);
    addRecoveryCommands(app, session);
    addLockCommand(app, session);
    addCallCommand(app, session);
    const CompletionSource source = {
        [] {
            return Candidates{{"0", ""}, {"1", ""}};
        },
        [](uint32_t device) {
            return device == 0 ? Candidates{{"0", ""}}
                               : Candidates{{"0", ""}, {"1", ""}, {"10", ""}};
        },
        [](uint32_t device) {
            return Candidates{{"last", ""}, {device == 0 ? "3" : "5:1", ""}, {"Drop test", ""}};
        }};
    std::vector<std::string> words = CLI::detail::split(line, ' ');
    if (line.ends_with(' '))
        words.emplace_back();
    for (std::string &word : words)
        std::replace(word.begin(), word.end(), '_', ' ');
    const Completion found = complete(app, words, source);
    std::string text = found.files ? "files" : "";
    for (const Candidate &candidate : found.candidates)
        text += (text.empty() ? "" : "|") + candidate.text;
    return text;
}

TEST(Completion, TheWordAtTheCursor)
{
    const std::pair<const char *, const char *> lines[] = {
        {"re", "record|recover"},
        {"", "status|setup|record|stop|trigger|play|export|recover|lock|call"},
        {"nothing ", ""},
        {"recover ", "status|start|finish|cancel|discard"},
        {"recover start --de", "--device|--detach"},
        {"setup -", "--help|--device|--yes"},
        {"setup -y -", "--help|--device"},
        {"setup -- -", ""},
        {"status -d ", "0|1"},
        {"status --device=", "--device=0|--device=1"},
        {"record -p ", "0"},
        {"record -yd1 -p ", "0"},
        {"record -d 1 -p ", "0|1|10"},
        {"record --device=1 --port 1", "1|10"},
        {"record -d1 --port 0,", "0,1|0,10"},
        {"record --name ", ""},
        {"play ", "last|3|Drop test"},
        {"play Drop_", "Drop test"},
        {"play --check -d1 ", "last|5:1|Drop test"},
        {"play last ", ""},
        {"export last --format p", "png|pgm"},
        {"export last --format=",
         "--format=png|--format=pgm|--format=raw|--format=npy|--format=y4m"},
        {"export last -o ", "files"},
        {"export last -f ", "all|first|last"},
        {"export last --levels ", "auto"},
        {"lock -- make ", "files"},
        {"call removeF", "removeFile"}};
    for (const auto &[line, expected] : lines)
        EXPECT_EQ(completionOf(line), expected) << line;
}

} // namespace
} // namespace tavu::ctl
