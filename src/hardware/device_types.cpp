#include "hardware/device_types.h"

#include "hardware/binding/handles.h"
#include "wire/values.h"

namespace tavu {

namespace {

constexpr DeviceType kUnknown = {0, 0, kUnknownDevice, false};
constexpr DeviceType kDeviceTypes[] = {
    {1, 14, 2, false}, {15, 17, 2, true},  {20, 20, 2, false},   {64, 67, 3, false},
    {70, 71, 3, true}, {72, 72, 3, false}, {150, 151, 2, false},
};

} // namespace

const DeviceType &typeOf(Quillon::Device &device)
{
    const uint32_t number =
        requireHandle(device.hardwareInfo(0), "Device::hardwareInfo")->deviceType;
    for (const DeviceType &type : kDeviceTypes) {
        if (type.first <= number && number <= type.last)
            return type;
    }
    return kUnknown;
}

} // namespace tavu
