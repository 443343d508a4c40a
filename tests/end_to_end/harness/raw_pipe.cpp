#include "raw_pipe.h"

#include <stdexcept>

namespace tavu::test {

Bytes RawPipe::receive(uint64_t count)
{
    Bytes bytes;
    while (bytes.size() < count) {
        const Bytes piece = receiveSome(count - bytes.size());
        if (piece.empty())
            throw std::runtime_error("the service closed the connection");
        bytes += piece;
    }
    return bytes;
}

Bytes RawPipe::receiveUntilEnd()
{
    Bytes bytes;
    for (Bytes piece = receiveSome(65536); !piece.empty(); piece = receiveSome(65536))
        bytes += piece;
    return bytes;
}

} // namespace tavu::test
