#include "hardware/quillon_library.h"

#include "hardware/binding/handles.h"
#include "hardware/failure_text.h"
#include "hardware/stavu_device.h"

#include <stdexcept>

namespace tavu {

namespace {

constexpr const char *kApplicationName = "OREK Pellam";
constexpr uint32_t kScope = 2;
constexpr uint32_t kDisconnected = 1;

bool isOurVersion(const Quillon::VersionInfo &version)
{
    return version.majorNumber == 2 && version.minorNumber == 1 && version.thirdNumber == 0 &&
           version.fourthNumber == 38;
}

boost::shared_ptr<Quillon::Instance> initialize()
{
    const Quillon::String name(kApplicationName);
    return requireHandle(
        Quillon::Instance::initialize(name, false, static_cast<Quillon::Scope>(kScope)),
        "Instance::initialize");
}

} // namespace

void QuillonLibrary::start(uint32_t hostInterfaceSet)
{
    instance_ = initialize();
    if (!isOurVersion(instance_->version()))
        throw std::runtime_error("Version mismatch");
    collection_ = instance_->deviceCollection(
        static_cast<Quillon::HostInterfaceType>(hostInterfaceSet), false);
}

void QuillonLibrary::release()
{
    collection_.reset();
    instance_.reset();
}

uint64_t QuillonLibrary::count()
{
    return collection_->count();
}

std::string QuillonLibrary::deviceName(uint32_t index)
{
    return textOf(collection_->deviceName(index));
}

bool QuillonLibrary::isDisconnected(uint32_t index)
{
    return collection_->deviceState(index) == kDisconnected;
}

std::string QuillonLibrary::alternativeName(uint32_t index)
{
    return textOf(requireHandle(collection_->device(index), "DeviceCollection::device")->altName());
}

uint32_t QuillonLibrary::registerChangeCallback(std::function<void()> callback)
{
    return collection_->registerChangeCallback(
        [callback = std::move(callback)](uint32_t) { callback(); });
}

void QuillonLibrary::unregisterChangeCallback(uint32_t id)
{
    collection_->unregisterChangeCallback(id);
}

std::unique_ptr<RecorderDevice> QuillonLibrary::createDevice()
{
    return std::make_unique<STavuDevice>(collection_);
}

const char *QuillonLibrary::failureText() noexcept
{
    return currentFailureText();
}

} // namespace tavu
