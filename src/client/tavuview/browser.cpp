#include "client/tavuview/browser.h"

#include "platform/files.h"

namespace tavu::view {

BrowserFile::~BrowserFile()
{
    if (!path_.empty())
        deleteFile(path_);
}

std::string pageLeadingTo(const std::string &address)
{
    return "<!doctype html><html lang=\"en\"><title>tavuview</title>"
           "<meta name=\"referrer\" content=\"no-referrer\">"
           "<meta http-equiv=\"refresh\" content=\"0;url=" +
           address + "\"><p><a href=\"" + address + "\">To the recorders</a></html>\n";
}

} // namespace tavu::view
