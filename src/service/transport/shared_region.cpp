#include "service/transport/shared_region.h"

#include <cstdlib>
#include <utility>

namespace tavu {

SharedRegion::SharedRegion(SharedRegion &&other) noexcept
{
    *this = std::move(other);
}

SharedRegion &SharedRegion::operator=(SharedRegion &&other) noexcept
{
    if (this != &other) {
        close();
        mappingName_ = std::exchange(other.mappingName_, std::string());
        mappingHandle_ = std::exchange(other.mappingHandle_, 0);
        view_ = std::exchange(other.view_, nullptr);
        viewSize_ = std::exchange(other.viewSize_, 0);
    }
    return *this;
}

SharedRegion::~SharedRegion()
{
    close();
}

void SharedRegion::skipNumbers(int attempt)
{
    for (; attempt < kNameAttempts; ++attempt)
        std::rand();
}

bool SharedRegion::adopt(const std::string &name, intptr_t handle, void *view, uint64_t viewSize)
{
    mappingName_ = name;
    mappingHandle_ = handle;
    view_ = view;
    viewSize_ = viewSize;
    if (!view)
        close();
    return view != nullptr;
}

} // namespace tavu
