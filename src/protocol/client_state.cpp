#include "protocol/client_state.h"

namespace tavu {

namespace {

template <typename Release>
void swallowFailure(const Release &release)
{
    try {
        release();
    } catch (...) {
        // Nobody is left to tell.
    }
}

} // namespace

void ClientState::giveBack(DeviceManager &devices)
{
    for (const LivePortRef &live : livePorts)
        swallowFailure(
            [&] { devices.call(live.device, std::nullopt, &ITavuDevice::stopLive, live.port); });
    livePorts.clear();
    for (const OpenFileRef &file : openFiles)
        swallowFailure([&] {
            devices.call(file.device, std::nullopt, &ITavuDevice::closeFile, file.openFileId);
        });
    openFiles.clear();
    const uint32_t queueId = eventQueueId.load();
    if (queueId != kNoEventQueue)
        swallowFailure([&] { devices.destroyQueue(queueId, true); });
    eventQueueId = kNoEventQueue;
    if (holdsGlobalLock)
        swallowFailure([&] { devices.unlockGlobal(); });
    holdsGlobalLock = false;
}

} // namespace tavu
