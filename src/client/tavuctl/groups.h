#pragma once

#include "client/tavuctl/session.h"

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

} // namespace tavu::ctl
