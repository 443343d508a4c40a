#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tavu::ctl {

/// A word that could stand where the cursor is.
struct Candidate
{
    std::string text; ///< the whole word, without quotation marks
    std::string help; ///< a line, or nothing
};
using Candidates = std::vector<Candidate>;

/// What only the running service knows.
struct CompletionSource
{
    std::function<Candidates()> devices;
    std::function<Candidates(uint32_t device)> ports;
    std::function<Candidates(uint32_t device)> recordings;
};

struct Completion
{
    Candidates candidates; ///< in the order in which to show them
    bool files = false;    ///< names of files are what could stand there instead
};

/// How a command line of \a app can go on. \a words are those behind the program's name, as the
/// program would get them; the last one, which may be empty, is being typed.
Completion complete(const CLI::App &app, const std::vector<std::string> &words,
                    const CompletionSource &source);

} // namespace tavu::ctl
