#pragma once

#include <stdexcept>

namespace tavu::tools {

/// The work couldn't be done; what() is for the person who asked for it.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// What a person typed can't be what was meant.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace tavu::tools
