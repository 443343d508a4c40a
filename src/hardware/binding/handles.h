#pragma once

#include "hardware/library/containers.h"

#include <boost/shared_ptr.hpp>

#include <stdexcept>
#include <string>
#include <utility>

namespace tavu {

/// Passes on a handle that the library's operation \a source yielded. An empty one raises
/// std::runtime_error, so that a library which yields nothing costs a request and no more.
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
