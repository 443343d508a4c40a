#include "hardware/library/instance.h"

#include "device_list.h"
#include "host.h"
#include "session.h"

#include <boost/make_shared.hpp>

#include <utility>

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
    std::lock_guard guard(library().mutex);
    return library().session.lock();
}

Installation &newInstallation()
{
    auto *installation = new Installation(installationFolder());
    std::lock_guard guard(library().mutex);
    return *library().installations.emplace_back(installation);
}

/// Null when a fault says that the call yields nothing.
std::shared_ptr<Session> startSession(const Quillon::String &name, bool flag, Quillon::Scope scope)
{
    const auto running = runningSession();
    Installation &installation = running ? running->installation() : newInstallation();
    if (!installation.gate().begin("Instance::initialize", name, flag,
                                   static_cast<uint32_t>(scope)))
        return nullptr;

    std::lock_guard guard(library().startMutex);
    if (auto session = runningSession())
        return session;
    auto session = std::make_shared<Session>(installation);
    std::lock_guard libraryGuard(library().mutex);
    library().session = session;
    return session;
}

} // namespace

CallGate libraryGate()
{
    std::lock_guard guard(library().mutex);
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
    return session->installation().gate().begin("Instance::deviceCollection",
                                                static_cast<uint32_t>(interfaces), flag)
               ? boost::make_shared<simulator::DeviceList>(session,
                                                           static_cast<uint32_t>(interfaces))
               : nullptr;
}

VersionInfo Instance::version()
{
    const auto &session = static_cast<simulator::RunningInstance &>(*this).session;
    return session->installation().gate().begin("Instance::version")
               ? session->installation().version()
               : VersionInfo{};
}

} // namespace Quillon
