#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tavu::client {

/// Everything that the client library raises about the service derives from this.
class Error : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The service answered a command with an error; what() is the service's text, unchanged. The
/// connection stays usable.
class ServiceError : public Error
{
public:
    using Error::Error;
};

/// There is no service at the address, or the connection to it is lost. what() tells a person what
/// to do. The connection is of no more use.
class ConnectionError : public Error
{
public:
    using Error::Error;

    /// Nobody listens at \a address.
    static ConnectionError noService(const std::string &address);
    /// The one who listens at \a address, open to all users, is the user with this id.
    static ConnectionError strangersService(const std::string &address, uint32_t user);
};

/// A reply that isn't what the command should bring, from a service of another kind or version.
/// Unless the reply could be read to its end, the connection is closed.
class ProtocolError : public Error
{
public:
    using Error::Error;

    /// The reply to \a command was read, and \a fault is what is wrong with it.
    static ProtocolError unexpectedReply(const std::string &command, const std::string &fault);
};

} // namespace tavu::client
