#pragma once

#include "encoding/object_value.h"

#include <cstdint>

namespace tavu {

/// Bytes inside a request, valid for as long as the request.
struct BytesView
{
    const uint8_t *bytes;
    uint32_t size;
};

/// The parameters of a request. Each read raises the text that tells the client what is wrong: a
/// missing key or a wrong type. Integers are cut to the width asked for, without a check.
///
/// The first fault decides the text, so commands read their parameters one by one in the order in
/// which they are documented.
class Parameters
{
public:
    explicit Parameters(const ObjectValue &request) : map_(request.mapAt("params")) {}

    uint64_t u64(const char *key) const { return map_.mapAt(key).asPositive(); }
    uint32_t u32(const char *key) const { return static_cast<uint32_t>(u64(key)); }
    uint16_t u16(const char *key) const { return static_cast<uint16_t>(u64(key)); }
    uint8_t u8(const char *key) const { return static_cast<uint8_t>(u64(key)); }
    bool flag(const char *key) const { return map_.mapAt(key).asBool(); }

    /// Text up to its first NUL, valid for as long as the request.
    const char *text(const char *key) const { return map_.mapAt(key).asString(); }

    BytesView blob(const char *key) const
    {
        const ObjectValue &value = map_.mapAt(key);
        return {value.blobData(), value.blobSize()};
    }

    /// 0 when the key isn't there.
    uint64_t optionalU64(const char *key) const { return map_.mapContains(key) ? u64(key) : 0; }

    uint32_t deviceId() const { return u32("deviceId"); }
    uint8_t port() const { return u8("port"); }

private:
    const ObjectValue &map_;
};

} // namespace tavu
