#pragma once

#include <string>

namespace tavu::view {

/// Whether there is a desktop on which a browser could be opened.
bool hasDesktop();

/// Opens the user's browser at an address by way of a file that only this user can read, so that
/// the address stands in no command line. The file is removed at the end of the object.
class BrowserFile
{
public:
    BrowserFile() = default;
    BrowserFile(const BrowserFile &) = delete;
    BrowserFile &operator=(const BrowserFile &) = delete;
    ~BrowserFile();

    /// False when the browser can't be opened.
    bool open(const std::string &address);

private:
    std::string path_; ///< empty when there is no file
};

/// A page that leads to an address.
std::string pageLeadingTo(const std::string &address);

} // namespace tavu::view
