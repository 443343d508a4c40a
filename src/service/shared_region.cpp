#include "service/shared_region.h"

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

} // namespace tavu
