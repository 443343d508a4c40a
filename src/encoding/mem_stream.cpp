#include "encoding/mem_stream.h"

#include <stdexcept>

namespace tavu {

void MemStream::raiseEnd()
{
    throw std::runtime_error("eof");
}

} // namespace tavu
