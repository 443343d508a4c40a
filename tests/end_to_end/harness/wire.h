#pragma once

#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavu::test {

using Bytes = std::string;

/// Two digits a byte; blanks are passed over.
Bytes fromHex(std::string_view hex);

/// The parts one after another as text.
template <typename... Parts>
std::string concat(const Parts &...parts)
{
    std::ostringstream stream;
    (stream << ... << parts);
    return stream.str();
}

/// One encoded pair of a map. The kind is that of the value as it was written: 'n' number, 's'
/// string, 'b' bool, 'x' blob, '!' bytes as they are.
struct Field
{
    std::string name;
    char kind;
    Bytes encoded;
};

/// Reads pairs such as "deviceId=0 name='a b' notify=true info=#0102 port=!FF": a number, a string,
/// a bool, a blob in hexadecimal, encoded bytes.
std::vector<Field> parseFields(std::string_view text);

Bytes encodeMap(const std::vector<Field> &fields);
Bytes encodeMap(std::string_view fields);
Bytes encodeRequest(uint64_t ordinal, const Bytes &params);

/// A record as it lies on disk: the three signature pairs and the payload pair.
Bytes encodeRecord(std::string_view type, std::string_view payloadKey, const Bytes &payload);

/// A decoded value, decoded by code of the tests' own, so that a fault of the codec shows.
struct Value
{
    /// The value as JSON without blanks; a blob is #hex.
    std::string text;
    uint64_t number = 0;
    std::string string{};
    std::vector<std::pair<std::string, Value>> members{}; ///< of a map, or with empty keys of an array

    /// Raises std::runtime_error when the map has no such key.
    const Value &operator[](std::string_view key) const;
};

/// Decodes one value out of what \a take hands over, asked for so many bytes. Raises
/// std::runtime_error on anything but the shortest form of each head.
Value decode(const std::function<Bytes(uint64_t)> &take);

/// Decodes a whole file that holds one value and nothing else.
Value decodeFile(const std::string &path);

} // namespace tavu::test
