#include "hardware/binding/buffers.h"

#include "hardware/binding/handles.h"

#include <cstring>

namespace tavu {

namespace {

boost::shared_ptr<Common::Buffer> zeroed(boost::shared_ptr<Common::Buffer> buffer, uint64_t size)
{
    if (buffer->size() < size || (size > 0 && !buffer->data()))
        throw std::runtime_error("Common::Buffer is too small.");
    if (size > 0)
        std::memset(buffer->data(), 0, static_cast<size_t>(size));
    return buffer;
}

} // namespace

boost::shared_ptr<Common::Buffer> allocateBuffer(uint64_t size)
{
    return zeroed(boost::shared_ptr<Common::Buffer>(new Common::Buffer(size)), size);
}

boost::shared_ptr<Common::Buffer> createBuffer(uint64_t size)
{
    return zeroed(given(Common::Buffer::create(nullptr, size), "Common::Buffer::create"), size);
}

} // namespace tavu
