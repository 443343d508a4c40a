#include "emulator/tavu_device_emulator.h"
#include "hardware/quillon_library.h"
#include "platform/process.h"
#include "service/connection_server.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <string_view>

namespace {

bool equalsIgnoringCase(std::string_view left, std::string_view right)
{
    return std::equal(
        left.begin(), left.end(), right.begin(), right.end(),
        [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

} // namespace

int main(int argumentCount, char **arguments)
{
    tavu::prepareProcess();
    // Whatever stops the service, the exit status is 0: it has no caller to report to.
    try {
        tavu::ConnectionServer server(
            {.recorders = std::make_unique<tavu::QuillonLibrary>(),
             .makeEmulatedDevice = [] { return std::make_unique<tavu::TavuDeviceEmulator>(); }});
        for (int i = 1; i < argumentCount; ++i) {
            if (equalsIgnoringCase(arguments[i], "noautoclose"))
                server.setAutoClose(false);
        }
        server.run();
    } catch (...) {
    }
    return 0;
}
