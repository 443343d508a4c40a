#include "service/transport/shared_region.h"

#include <cstdlib>
#include <utility>

namespace tavu {

void SharedRegion::skipNumbers(int attempt)
{
    for (; attempt < kNameAttempts; ++attempt)
        std::rand();
}

bool SharedRegion::adopt(std::unique_ptr<RegionMapping> mapping)
{
    mapping_ = mapping->view ? std::move(mapping) : nullptr;
    return mapping_ != nullptr;
}

} // namespace tavu
