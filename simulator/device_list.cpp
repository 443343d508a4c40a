#include "device_list.h"

#include "errors.h"
#include "session.h"

#include <algorithm>
#include <utility>

namespace simulator {

DeviceList::DeviceList(std::shared_ptr<Session> session, uint32_t interfaces)
    : session_(std::move(session)), interfaces_(interfaces)
{
}

DeviceList::~DeviceList() = default;

uint64_t DeviceList::count()
{
    return session_->installation().gate().begin("DeviceCollection::count") ? countSeen() : 0;
}

Quillon::String DeviceList::deviceName(uint32_t index)
{
    const boost::shared_ptr<Recorder> recorder = at(index);
    return recorder->begin("DeviceCollection::deviceName", index)
               ? recorder->description()->name.c_str()
               : "";
}

uint32_t DeviceList::deviceState(uint32_t index)
{
    const boost::shared_ptr<Recorder> recorder = at(index);
    if (!recorder->begin("DeviceCollection::deviceState", index))
        return 0;
    return recorder->isConnected() && isAttached(*recorder) ? 0 : 1;
}

boost::shared_ptr<Quillon::Device> DeviceList::device(uint32_t index)
{
    boost::shared_ptr<Recorder> recorder = at(index);
    return recorder->begin("DeviceCollection::device", index) ? recorder : nullptr;
}

uint32_t DeviceList::registerChangeCallback(const ChangeCallback &callback)
{
    if (!session_->installation().gate().begin("DeviceCollection::registerChangeCallback"))
        return 0;
    if (!callback)
        raiseError("There is no callback.");
    return session_->installation().addCallback(callback);
}

void DeviceList::unregisterChangeCallback(uint32_t id)
{
    if (session_->installation().gate().begin("DeviceCollection::unregisterChangeCallback", id))
        session_->installation().removeCallback(id);
}

bool DeviceList::isAttached(const Recorder &recorder) const
{
    return (recorder.description()->interfaceBit & interfaces_) != 0;
}

/// A recorder keeps the index with which it was first seen, even if it is attached elsewhere later.
uint64_t DeviceList::countSeen()
{
    std::lock_guard guard(mutex_);
    for (const auto &recorder : session_->installation().recorders())
        if (isAttached(*recorder) && std::find(seen_.begin(), seen_.end(), recorder) == seen_.end())
            seen_.push_back(recorder);
    return seen_.size();
}

boost::shared_ptr<Recorder> DeviceList::at(uint32_t index)
{
    if (index >= countSeen())
        raiseError("There is no such recorder.");
    std::lock_guard guard(mutex_);
    return seen_[index];
}

} // namespace simulator
