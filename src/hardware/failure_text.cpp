#include "hardware/failure_text.h"

#include "hardware/binding/late_binding.h"
#include "hardware/library/common.h"

#include <exception>

namespace tavu {

namespace {

/// Even this is a function of the library, which can lack it.
const char *textOf(const Common::GeneralException &error) noexcept
{
    try {
        const char *text = error.what();
        return text ? text : "";
    } catch (...) {
        return kLateBindingFailure;
    }
}

} // namespace

const char *currentFailureText() noexcept
{
    try {
        throw;
    } catch (const std::exception &error) {
        return error.what();
    } catch (const Common::GeneralException &error) {
        return textOf(error);
    } catch (...) {
        return nullptr;
    }
}

} // namespace tavu
