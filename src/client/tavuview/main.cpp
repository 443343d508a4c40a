#include "client/tavuview/browser.h"
#include "client/tavuview/viewer.h"
#include "client/tavuview/web_server.h"
#include "client/tools/failure.h"
#include "platform/diagnostics.h"
#include "platform/process.h"

#include <CLI/CLI.hpp>

#include <exception>

namespace {

using namespace tavu;

struct Options
{
    uint16_t port = 0;
    bool open = false;
    bool noOpen = false;
};

int serve(const Options &options)
{
    view::WebServer server(options.port);
    view::Access access(server.port());
    view::Viewer viewer(access, [](const std::string &address) {
        printLine(stdout, "the next browser comes in by: %s\n", address.c_str());
    });
    printLine(stdout, "open this address in a browser on this machine (it is good once):\n  %s\n",
              access.newAddress().c_str());
    view::BrowserFile browser;
    if (!options.noOpen && (options.open || view::hasDesktop()) &&
        !browser.open(access.newAddress()))
        printLine(stderr, "tavuview: no browser could be opened; the address above leads in\n");
    server.run(viewer);
    return 0;
}

int runProgram(int argc, char **argv)
{
    CLI::App app(
        "Shows the recorders of a running tavusvc in a browser, and works with them there.",
        "tavuview");
    Options options;
    app.set_version_flag("--version", "tavuview " TAVU_VERSION);
    app.add_option("-p,--port", options.port, "Port of this machine to listen on [any free one]")
        ->type_name("N");
    CLI::Option *open =
        app.add_flag("--open", options.open, "Open the browser, even where no desktop can be seen");
    app.add_flag("--no-open", options.noOpen, "Don't open the browser")->excludes(open);
    app.footer("It listens on this machine alone. For a recorder in another room:\n"
               "  ssh -L 8123:127.0.0.1:8123 HOST tavuview --port 8123 --no-open");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &end) {
        return app.exit(end) == 0 ? 0 : 2;
    }
    return serve(options);
}

} // namespace

int main(int argc, char **argv)
{
    prepareProcess();
    try {
        return runProgram(argc, argv);
    } catch (const std::exception &error) {
        printLine(stderr, "tavuview: %s\n", error.what());
        return 1;
    }
}
