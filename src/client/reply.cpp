#include "client/reply.h"

#include "client/errors.h"
#include "wire/commands.h"

namespace tavu::client {

const ObjectValue &Reply::value(const char *key, ObjectType type) const
{
    const char *fault = nullptr;
    if (!has(key))
        fault = "is missing";
    else if (values_.mapAt(key).type() != type)
        fault = "has the wrong type";
    if (fault)
        throw ProtocolError::unexpectedReply(command_, std::string("\"") + key + "\" " + fault);
    return values_.mapAt(key);
}

uint64_t Reply::number(const char *key, uint64_t limit) const
{
    const uint64_t result = value(key, ObjectType::PositiveInteger).asPositive();
    if (result > limit)
        throw ProtocolError::unexpectedReply(command_, std::string("\"") + key + "\" is " +
                                                           std::to_string(result) +
                                                           ", which is too large");
    return result;
}

bool Reply::boolean(const char *key) const
{
    return value(key, ObjectType::Bool).asBool();
}

std::string Reply::text(const char *key) const
{
    return value(key, ObjectType::String).asString();
}

Bytes Reply::bytes(const char *key) const
{
    const ObjectValue &blob = value(key, ObjectType::Blob);
    return Bytes(blob.blobData(), blob.blobData() + blob.blobSize());
}

Event Reply::event(const char *key) const
{
    const Reply event(command_, value(key, ObjectType::Map));
    return {static_cast<EventType>(event.u32(kEventFields[0].key)), event.u32(kEventFields[1].key),
            event.u32(kEventFields[2].key)};
}

bool Reply::has(const char *key) const
{
    return values_.type() == ObjectType::Map && values_.mapContains(key);
}

} // namespace tavu::client
