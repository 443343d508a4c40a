#pragma once

#include "client/connection.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace tavu::view {

class Service;

/// A connection to the service for one job at a time, made when it is needed, and made anew after
/// the service was away.
class ServiceLink
{
public:
    explicit ServiceLink(Service &service) : service_(service) {}

    /// Raises what Connection raises.
    client::Connection &get();
    /// Whether get() would bring the connection that it brought last.
    bool isCurrent() const;
    /// The next get() makes a new connection.
    void drop();
    /// Calls that wait end with a ConnectionError. From any thread.
    void close();

private:
    Service &service_;
    std::mutex mutex_; ///< of the pointer, against close()
    std::shared_ptr<client::Connection> connection_;
    uint64_t epoch_ = 0; ///< of the connection
};

/// All links of the program.
class Service
{
public:
    std::shared_ptr<ServiceLink> link();

    /// The service was found to be away: connections from before are of no use.
    void lost() { ++epoch_; }
    uint64_t epoch() const { return epoch_; }

    /// Ends all connections, and refuses new ones. From any thread.
    void stop();
    bool stopped() const { return stopped_; }

private:
    std::atomic<uint64_t> epoch_ = 1;
    std::atomic<bool> stopped_ = false;
    std::mutex mutex_;
    std::vector<std::weak_ptr<ServiceLink>> links_;
};

} // namespace tavu::view
