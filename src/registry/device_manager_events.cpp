#include "registry/device_manager.h"

#include <stdexcept>

namespace tavu {

uint32_t DeviceManager::createQueue()
{
    std::lock_guard guard(lock_);
    uint32_t queueId = 0;
    for (QueueSlot &slot : queueSlots_) {
        if (!slot.inUse && slot.queue.isEmpty()) {
            slot.inUse = true;
            return queueId;
        }
        ++queueId;
    }
    queueSlots_.emplace_back().inUse = true;
    return queueId;
}

void DeviceManager::destroyQueue(uint32_t queueId, bool silent)
{
    std::lock_guard guard(lock_);
    QueueSlot &slot = slotInUse(queueId);
    slot.inUse = false;
    slot.queue.clear();
    if (!silent)
        slot.queue.push(DeviceEvent{EventType::QueueClosed, 0, 0});
}

void DeviceManager::readEvent(uint32_t queueId, DeviceEvent &event)
{
    std::unique_lock guard(lock_);
    QueueSlot &slot = slotInUse(queueId);
    guard.unlock();
    event = slot.queue.pop();
}

bool DeviceManager::tryReadEvent(uint32_t queueId, DeviceEvent &event)
{
    std::lock_guard guard(lock_);
    return slotInUse(queueId).queue.tryPop(event);
}

// To wake a reader takes far longer than to append an event, and all requests need lock_: those of
// the readers that are awake already, too. Slots never go, so readers are woken without it.
void DeviceManager::broadcast(const DeviceEvent &event)
{
    std::vector<EventQueue *> filled;
    {
        std::lock_guard guard(lock_);
        filled.reserve(queueSlots_.size());
        for (QueueSlot &slot : queueSlots_) {
            if (!slot.inUse)
                continue;
            slot.queue.append(event);
            filled.push_back(&slot.queue);
        }
    }
    for (EventQueue *queue : filled)
        queue->wakeReader();
}

// lock_ is held by the caller. The text is what clients have always been sent, letter for letter.
DeviceManager::QueueSlot &DeviceManager::slotInUse(uint32_t queueId)
{
    if (queueId >= queueSlots_.size() || !queueSlots_[queueId].inUse)
        throw std::runtime_error("Inalid event queue id.");
    return queueSlots_[queueId];
}

} // namespace tavu
