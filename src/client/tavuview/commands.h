#pragma once

#include "client/tavuview/recording_jobs.h"
#include "client/tavuview/service_link.h"
#include "client/tools/json_values.h"

#include <string>

namespace tavu::view {

/// What a browser can have done. Commands wait for the service.
class Commands
{
public:
    Commands(Service &service, RecordingJobs &jobs) : service_(service), jobs_(jobs) {}

    /// Does what \a name says, with parameters by name, and returns what came of it. Raises
    /// BadRequest for what can't be meant, and what the client library and tools raise.
    tools::Json run(const std::string &name, const tools::Json &parameters);

private:
    Service &service_;
    RecordingJobs &jobs_;
};

} // namespace tavu::view
