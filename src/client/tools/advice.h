#pragma once

#include <string_view>

namespace tavu::tools {

/// What a person can do about an error of the service; empty when we know nothing better than the
/// service's text.
struct Advice
{
    /// For tavuctl, a line or several; "{device}" and "{port}" stand for the options that lead to
    /// the same place.
    std::string_view inShell;
    std::string_view inViewer; ///< for tavuview, where commands are buttons
};

Advice adviceFor(std::string_view serviceText);

} // namespace tavu::tools
