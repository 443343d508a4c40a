#include "hardware/binding/buffers.h"

#include "hardware/binding/handles.h"
#include "platform/clear_memory.h"

namespace tavu {

namespace {

boost::shared_ptr<Common::Buffer> zeroed(boost::shared_ptr<Common::Buffer> buffer, uint64_t size)
{
    void *const bytes = buffer->data();
    if (buffer->size() < size || (size > 0 && !bytes))
        throw std::runtime_error("Common::Buffer is too small.");
    if (size > 0)
        clearMemory(bytes, size);
    return buffer;
}

} // namespace

boost::shared_ptr<Common::Buffer> allocateBuffer(uint64_t size)
{
    return zeroed(boost::shared_ptr<Common::Buffer>(new Common::Buffer(size)), size);
}

boost::shared_ptr<Common::Buffer> createBuffer(uint64_t size)
{
    return zeroed(requireHandle(Common::Buffer::create(nullptr, size), "Common::Buffer::create"),
                  size);
}

} // namespace tavu
