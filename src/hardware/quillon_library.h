#pragma once

#include "registry/recorder_library.h"

namespace tavu {

/// The recorder maker's library, bound at its first use. Where it is absent or incomplete, every
/// operation that needs it raises std::runtime_error "delayload failure".
class QuillonLibrary final : public RecorderLibrary
{
public:
    std::shared_ptr<RecorderInstance> initialize(const std::string &applicationName, bool flag,
                                                 uint32_t scope) override;
};

} // namespace tavu
