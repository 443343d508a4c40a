// Which calls of the recorder library a request makes. The files in calls/ hold steps and, indented
// below a step, what belongs to it:
//
//     describe NAME               the recorder.conf of a recorder
//     faults NAME                 the faults.conf of the recorder that is device 0
//     file NAME                   another file of the lab
//     variable NAME VALUE         sets a variable for the next start; without a value it is none
//     only Port::|Record::        from now on calls that hold none of these words are left out
//     said TEXT                   expects this line in what the service has printed
//     start, kill                 starts or kills the service
//     A startRecording D ...      a line as Script plays it
//
// Below the last two kinds of step stand the calls that it must make, or "none". With nothing
// below, its calls don't matter. With the variable TAVU_RECORD_CALLS set the test rewrites the
// files with the calls that were made, and "git diff" shows what has changed.

#include "harness/recording.h"
#include "harness/service.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <optional>

namespace tavu::test {
namespace {

struct Step
{
    std::string head;  ///< a step, or a comment
    std::string below; ///< lines
};

std::vector<Step> readSteps(const std::string &path)
{
    std::vector<Step> steps;
    std::istringstream stream(readLines(path));
    for (std::string line; std::getline(stream, line);) {
        if (line.empty() || line[0] != ' ')
            steps.push_back({line, ""});
        else
            steps.back().below += line + '\n';
    }
    return steps;
}

/// \a words have | between them.
bool holdsOneOf(const std::string &line, const std::string &words)
{
    std::istringstream stream(words);
    for (std::string word; std::getline(stream, word, '|');) {
        if (line.find(word) != std::string::npos)
            return true;
    }
    return false;
}

class Player
{
public:
    Player() { lab_.write("", "library.conf", "call log = calls.log"); }

    /// Returns what must stand below the step.
    std::string play(const Step &step)
    {
        if (prepare(step))
            return step.below;
        if (step.head == "kill") {
            script_ = {};
            service_->kill();
        } else if (step.head == "start") {
            outputPosition_ = errorsPosition_ = 0;
            if (service_)
                service_->start();
            else
                service_.emplace(std::vector<std::string>{"noautoclose"}, lab_.path());
            script_["A"];
        } else {
            script_.play(step.head);
        }
        const std::vector<std::string> calls = newCalls();
        // A request that is repeated until it succeeds: only its last attempt counts.
        auto first = calls.begin();
        if (step.head.find(" => ") != std::string::npos && !calls.empty())
            first = std::find(calls.rbegin(), calls.rend(), calls[0]).base() - 1;
        return step.below.empty() ? "" : spelled({first, calls.end()});
    }

private:
    /// Plays a step of a kind that has no calls below it; false for another kind.
    bool prepare(const Step &step)
    {
        const size_t blank = std::min(step.head.find(' '), step.head.size());
        const std::string word = step.head.substr(0, blank);
        const std::string rest = step.head.substr(std::min(blank + 1, step.head.size()));
        if (word == "describe") {
            lab_.describe(rest, step.below);
        } else if (word == "file") {
            lab_.write("", rest, step.below);
        } else if (word == "faults") {
            setFaults(lab_, script_["A"], rest, step.below);
            newCalls();
        } else if (word == "only") {
            counted_ = rest.empty() ? " " : rest;
        } else if (word == "variable") {
            std::istringstream words(rest);
            std::string name, value;
            const bool isSet = bool(words >> name >> value);
            variables_.erase(name);
            variables_.try_emplace(name, name, isSet ? std::optional(value) : std::nullopt);
        } else if (word == "said") {
            EXPECT_TRUE(hasSaid(rest));
        } else {
            return false;
        }
        return true;
    }

    /// Looks behind the line found before on the same stream: the order counts.
    bool hasSaid(const std::string &line)
    {
        const auto follows = [&line](const std::string &printed, size_t &position) {
            const size_t found = ('\n' + printed).find('\n' + line + '\n', position);
            if (found != std::string::npos)
                position = found + 1 + line.size();
            return found != std::string::npos;
        };
        return follows(service_->output(), outputPosition_) ||
               follows(service_->errors(), errorsPosition_);
    }

    /// Leaves out calls that only look an object up, and times.
    std::vector<std::string> newCalls()
    {
        std::istringstream stream(readFile(lab_.folder.path / "calls.log").substr(position_));
        std::vector<std::string> calls;
        for (std::string line; std::getline(stream, line); position_ += line.size() + 1) {
            if (holdsOneOf(line, counted_) &&
                !holdsOneOf(line, "DeviceCollection::device |Descriptor::field|CapacityInfo::"))
                calls.push_back(withoutTimes(line));
        }
        return calls;
    }

    /// A call that is repeated stands there once, with a count.
    static std::string spelled(const std::vector<std::string> &calls)
    {
        std::string text;
        for (auto call = calls.begin(); call != calls.end();) {
            const auto end = std::find_if(call, calls.end(),
                                          [&](const std::string &next) { return next != *call; });
            const std::string times = end - call == 1 ? "" : concat(" (", end - call, " times)");
            text += "    " + *call + times + '\n';
            call = end;
        }
        return text.empty() ? "    none\n" : text;
    }

    Lab lab_;
    std::map<std::string, ScopedVariable> variables_;
    std::optional<Service> service_;
    Script script_;
    std::string counted_ = " ";
    size_t position_ = 0;
    size_t outputPosition_ = 0; ///< behind the lines that were expected so far
    size_t errorsPosition_ = 0;
};

class RecorderCalls : public testing::TestWithParam<std::string>
{
};

TEST_P(RecorderCalls, AreTheseInThisOrder)
{
    const std::string path = CALLS_FOLDER "/" + GetParam() + ".txt";
    std::string played;
    Player player;
    for (const Step &step : readSteps(path)) {
        SCOPED_TRACE(step.head);
        const bool isStep = !step.head.empty() && step.head[0] != '#';
        const std::string below = isStep ? player.play(step) : "";
        EXPECT_EQ(step.below, below);
        played += step.head + '\n' + below;
    }
    if (std::getenv("TAVU_RECORD_CALLS"))
        writeFile(path, played);
}

INSTANTIATE_TEST_SUITE_P(, RecorderCalls, testing::ValuesIn([] {
                             std::vector<std::string> names;
                             for (const auto &entry :
                                  std::filesystem::directory_iterator(CALLS_FOLDER))
                                 names.push_back(entry.path().stem().string());
                             return names;
                         }()),
                         [](const auto &file) { return file.param; });

} // namespace
} // namespace tavu::test
