#include "registry/recorder_library.h"

#include <stdexcept>

namespace tavu {

std::shared_ptr<RecorderInstance>
AbsentRecorderLibrary::initialize(const std::string & /*applicationName*/, bool /*flag*/,
                                  uint32_t /*scope*/)
{
    throw std::runtime_error("delayload failure");
}

} // namespace tavu
