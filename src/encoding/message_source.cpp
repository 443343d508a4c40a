#include "encoding/message_source.h"

#include <algorithm>

namespace tavu {

// Text in pieces grows as its bytes arrive. What lies in the window already is one piece, with a
// byte behind it if there is to be one: memory that ends too early must say so by a short count,
// not by a read that begins at its end.
bool MessageSource::readText(Stream &stream, const Window &window, std::string &text,
                             uint32_t length)
{
    constexpr uint64_t kPiece = 1u << 20;
    uint64_t done = 0;
    do {
        const uint64_t piece =
            std::min<uint64_t>(length - done, std::max(kPiece, window.left() + 1));
        text.resize(static_cast<size_t>(done + piece));
        if (stream.read(text.data() + done, piece) != piece)
            return false;
        done += piece;
    } while (done < length);
    return true;
}

bool MessageSource::skipBytes(Stream &stream, Window &window, uint32_t length)
{
    // The last byte of the window is left to the stream, which must see where the data ends.
    uint64_t done = 0;
    if (window.left() > 1) {
        done = window.left() - 1;
        window.at += done;
    }
    unsigned char piece[4096];
    do {
        const uint64_t count = std::min<uint64_t>(length - done, sizeof piece);
        if (stream.read(piece, count) != count)
            return false;
        done += count;
    } while (done < length);
    return true;
}

} // namespace tavu
