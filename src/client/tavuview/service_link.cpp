#include "client/tavuview/service_link.h"

namespace tavu::view {

client::Connection &ServiceLink::get()
{
    if (isCurrent())
        return *connection_;
    const uint64_t epoch = service_.epoch();
    drop();
    if (service_.stopped())
        throw client::ConnectionError("tavuview ends");
    const auto connection = std::make_shared<client::Connection>();
    epoch_ = epoch;
    {
        const std::lock_guard lock(mutex_);
        connection_ = connection;
    }
    // It may have been stopped while we connected.
    if (service_.stopped())
        close();
    return *connection_;
}

bool ServiceLink::isCurrent() const
{
    return connection_ && epoch_ == service_.epoch();
}

void ServiceLink::drop()
{
    const std::lock_guard lock(mutex_);
    connection_.reset();
}

void ServiceLink::close()
{
    const std::lock_guard lock(mutex_);
    if (connection_)
        connection_->close();
}

std::shared_ptr<ServiceLink> Service::link()
{
    const auto link = std::make_shared<ServiceLink>(*this);
    const std::lock_guard lock(mutex_);
    std::erase_if(links_, [](const auto &old) { return old.expired(); });
    links_.push_back(link);
    return link;
}

void Service::stop()
{
    stopped_ = true;
    const std::lock_guard lock(mutex_);
    for (const auto &weak : links_) {
        if (const auto link = weak.lock())
            link->close();
    }
}

} // namespace tavu::view
