#include "hardware/quillon_library.h"

#include "hardware/binding/handles.h"
#include "hardware/library/instance.h"
#include "hardware/stavu_device.h"

namespace tavu {

namespace {

class QuillonCollection final : public RecorderCollection
{
public:
    explicit QuillonCollection(boost::shared_ptr<Quillon::DeviceCollection> collection)
        : collection_(std::move(collection))
    {
    }

    uint64_t count() override { return collection_->count(); }
    std::string deviceName(uint32_t index) override
    {
        return textOf(collection_->deviceName(index));
    }
    uint32_t deviceState(uint32_t index) override { return collection_->deviceState(index); }
    std::string alternativeName(uint32_t index) override
    {
        return textOf(
            requireHandle(collection_->device(index), "DeviceCollection::device")->altName());
    }

    uint32_t registerChangeCallback(std::function<void()> callback) override
    {
        return collection_->registerChangeCallback(
            [callback = std::move(callback)](uint32_t) { callback(); });
    }
    void unregisterChangeCallback(uint32_t id) override
    {
        collection_->unregisterChangeCallback(id);
    }

    std::unique_ptr<RecorderDevice> createDevice() override
    {
        return std::make_unique<STavuDevice>(collection_);
    }

private:
    const boost::shared_ptr<Quillon::DeviceCollection> collection_;
};

class QuillonInstance final : public RecorderInstance
{
public:
    explicit QuillonInstance(boost::shared_ptr<Quillon::Instance> instance)
        : instance_(std::move(instance))
    {
    }

    std::array<uint32_t, 4> version() override
    {
        const Quillon::VersionInfo version = instance_->version();
        return {version.majorNumber, version.minorNumber, version.thirdNumber,
                version.fourthNumber};
    }

    std::shared_ptr<RecorderCollection> deviceCollection(uint32_t hostInterfaceSet,
                                                         bool flag) override
    {
        auto collection = instance_->deviceCollection(
            static_cast<Quillon::HostInterfaceType>(hostInterfaceSet), flag);
        if (!collection)
            return nullptr;
        return std::make_shared<QuillonCollection>(std::move(collection));
    }

private:
    const boost::shared_ptr<Quillon::Instance> instance_;
};

} // namespace

std::shared_ptr<RecorderInstance> QuillonLibrary::initialize(const std::string &applicationName,
                                                             bool flag, uint32_t scope)
{
    const Quillon::String name(applicationName.c_str());
    return std::make_shared<QuillonInstance>(
        requireHandle(Quillon::Instance::initialize(name, flag, static_cast<Quillon::Scope>(scope)),
                      "Instance::initialize"));
}

} // namespace tavu
