#pragma once

#include "client/tavuctl/session.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tavu::ctl {

// Each adds its commands to the program. Parsing one of them sets Session::action.
void addDeviceCommands(CLI::App &app, Session &session);
void addPortCommands(CLI::App &app, Session &session);
void addRecordCommands(CLI::App &app, Session &session);
void addFileCommands(CLI::App &app, Session &session);
void addPlaybackCommands(CLI::App &app, Session &session);
void addLiveCommand(CLI::App &app, Session &session);
void addWatchCommand(CLI::App &app, Session &session);
void addRecoveryCommands(CLI::App &app, Session &session);
void addLockCommand(CLI::App &app, Session &session);
void addCameraCommands(CLI::App &app, Session &session);
void addCallCommand(CLI::App &app, Session &session);
void addProtocolCommand(CLI::App &app, Session &session);
void addCompletionCommand(CLI::App &app, Session &session);

/// Prints for a shell how the command line can go on, a candidate a line with a tab and its help
/// behind it; ":files" stands for names of files. Quick, and silent when there is no service.
int printCompletion(const CLI::App &app, const std::vector<std::string> &words, Session &session);

} // namespace tavu::ctl
