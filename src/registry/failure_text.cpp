#include "registry/failure_text.h"

#include <exception>

namespace tavu {

const char *currentFailureText() noexcept
{
    try {
        throw;
    } catch (const std::exception &error) {
        return error.what();
    } catch (...) {
        return nullptr;
    }
}

} // namespace tavu
