#pragma once

#include "client/tavuctl/frame_sink.h"
#include "client/tavuctl/session.h"
#include "client/tools/parsing.h"
#include "client/tools/text.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavu::ctl {

/// The recording that a person means by \a text: its number ("3", or "3:1" with the stream), its
/// name, or "last" for the latest. Raises Failure when there is none or more than one.
client::FileEntry findFile(Session &session, std::string_view text);

/// A check for numbers from \a least to \a most, or without an end, that adds nothing to the help.
template <typename Number>
CLI::Validator numberIn(Number least, Number most = std::numeric_limits<Number>::max())
{
    std::ostringstream range;
    range << " isn't a number " << (most == std::numeric_limits<Number>::max() ? "of " : "from ")
          << least;
    if (most == std::numeric_limits<Number>::max())
        range << " or more";
    else
        range << " to " << most;
    return CLI::Validator(
        [least, most, text = range.str()](const std::string &word) {
            const std::optional<Number> number = parseNumber<Number>(word);
            return number && *number >= least && *number <= most ? std::string()
                                                                 : inQuotes(word) + text;
        },
        "");
}

/// Sets what the run does when \a command is the one on the command line.
void setAction(CLI::App &command, Session &session, std::function<int()> action);

// Arguments that many commands share. The objects must live as long as the command.
/// A recording, for findFile().
void addFileArgument(CLI::App &command, std::string &file);
void addDeviceOption(CLI::App &command, Session &session);
void addPortOption(CLI::App &command, Session &session);
void addJsonOption(CLI::App &command, Session &session);
/// An option that takes a duration and stores it in microseconds.
void addDurationOption(CLI::App &command, const std::string &name,
                       std::optional<uint64_t> &microseconds, const std::string &help);

/// Levels of pictures; see frame_sink.h.
void addLevelsOption(CLI::App &command, LevelsOf &levels);

/// Examples at the end of a command's help, one a line.
void addExamples(CLI::App &command, const std::vector<std::string> &lines);

} // namespace tavu::ctl
