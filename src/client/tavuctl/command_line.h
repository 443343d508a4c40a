#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace tavu::ctl {

/// The one of \a names that somebody may have meant by \a word; empty when none is near.
std::string nearestName(std::string_view word, const std::vector<std::string> &names);

/// Where the help is for those who got \a command wrong.
std::string helpAdvice(const CLI::App &command);

/// Raises UsageError for the first word of a command line that can't be meant: the parser itself
/// first looks for what is missing, and doesn't say what would have been right. \a words are those
/// behind the program's name.
void checkCommandLine(CLI::App &app, const std::vector<std::string> &words);

} // namespace tavu::ctl
