#pragma once

#include <span>
#include <string_view>

namespace tavu::view {

/// A file of the page, compiled into the program.
struct PageFile
{
    std::string_view path; ///< "/live.js"; the page itself is "/"
    std::string_view type;
    std::string_view content;
};

/// Made by the build from the files in page/.
std::span<const PageFile> pageFiles();

} // namespace tavu::view
