#include "protocol/handlers.h"

namespace tavu {

namespace {

constexpr Handler kHandlers[] = {
    pass<Command::HasIncompleteFile, &ITavuDevice::hasIncompleteFile>(),
    pass<Command::DiscardIncompleteFile, &ITavuDevice::discardIncompleteFile>(),
    pass<Command::StartRecovery, &ITavuDevice::startRecovery>(),
    pass<Command::CancelRecovery, &ITavuDevice::cancelRecovery>(),
    pass<Command::RecoveryStatus, &ITavuDevice::recoveryStatus>(),
    pass<Command::RecoveryError, &ITavuDevice::recoveryError>(),
    pass<Command::FinishRecovery, &ITavuDevice::finishRecovery>(),
};

} // namespace

std::span<const Handler> recoveryCommands()
{
    return kHandlers;
}

} // namespace tavu
