#include "hardware/library/instance.h"

#include "device_list.h"
#include "host.h"
#include "session.h"

#include <boost/make_shared.hpp>

namespace simulator {

namespace {

class RunningInstance final : public Quillon::Instance
{
public:
    explicit RunningInstance(std::shared_ptr<Session> running) : session(std::move(running)) {}

    const std::shared_ptr<Session> session;
};

/// What the library knows as long as the process lives.
struct Library
{
    std::mutex mutex;
    std::vector<Installation *> installations; ///< all that ever were
    std::weak_ptr<Session> session;
    std::mutex startMutex; ///< held while a session is made
};

/// Never destroyed: threads of ours and of others may be at work until the process is gone.
Library &library()
{
    static Library &theLibrary = *new Library;
    return theLibrary;
}

std::shared_ptr<Session> runningSession()
{
    const std::lock_guard lock(library().mutex);
    return library().session.lock();
}

Installation &newInstallation()
{
    auto *installation = new Installation(installationFolder());
    const std::lock_guard lock(library().mutex);
    return *library().installations.emplace_back(installation);
}

/// Empty when a fault wants it.
std::shared_ptr<Session> startSession(const Quillon::String &name, bool flag, Quillon::Scope scope)
{
    const auto running = runningSession();
    Installation &installation = running ? running->installation() : newInstallation();
    if (installation.gate().empties("Instance::initialize", name, flag, uint32_t(scope)))
        return nullptr;

    const std::lock_guard lock(library().startMutex);
    if (auto session = runningSession())
        return session;
    auto session = std::make_shared<Session>(installation);
    const std::lock_guard libraryLock(library().mutex);
    library().session = session;
    return session;
}

} // namespace

CallGate libraryGate()
{
    const std::lock_guard lock(library().mutex);
    const auto &all = library().installations;
    return all.empty() ? CallGate() : all.back()->gate();
}

} // namespace simulator

namespace Quillon {

boost::shared_ptr<Instance> Instance::initialize(const String &name, bool flag, Scope scope)
{
    const auto session = simulator::startSession(name, flag, scope);
    if (!session)
        return {};
    return boost::make_shared<simulator::RunningInstance>(session);
}

boost::shared_ptr<DeviceCollection> Instance::deviceCollection(HostInterfaceType interfaces,
                                                               bool flag)
{
    const auto &session = static_cast<simulator::RunningInstance &>(*this).session;
    if (session->installation().gate().empties("Instance::deviceCollection", uint32_t(interfaces),
                                               flag))
        return {};
    return boost::make_shared<simulator::DeviceList>(session, uint32_t(interfaces));
}

VersionInfo Instance::version()
{
    const auto &session = static_cast<simulator::RunningInstance &>(*this).session;
    if (session->installation().gate().empties("Instance::version"))
        return {};
    return session->installation().version();
}

} // namespace Quillon
