#pragma once

#include "hardware/library/containers.h"

#include <boost/shared_ptr.hpp>

#include <stdexcept>
#include <string>
#include <utility>

namespace tavu {

/// Passes on a handle that the library's operation \a source returned. Raises std::runtime_error
/// when it is empty, so that the request fails and the service goes on.
template <typename T>
boost::shared_ptr<T> requireHandle(boost::shared_ptr<T> handle, const char *source)
{
    if (!handle)
        throw std::runtime_error(std::string(source) + " returned nothing.");
    return handle;
}

inline std::string textOf(const Quillon::String &text)
{
    const char *characters = text.c_str();
    return characters ? characters : "";
}

} // namespace tavu
