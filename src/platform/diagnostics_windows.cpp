#include "platform/diagnostics.h"

namespace tavu {

bool waitUntilWritable(std::FILE * /*stream*/, int /*milliseconds*/)
{
    return true; // a pipe can't be asked
}

} // namespace tavu
