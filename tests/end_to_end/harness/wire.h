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

/// Reads pairs such as "x=0 name='a b' notify=true info=#0102 port=!FF": a number, a string, a
/// bool, a blob in hexadecimal (or #61*20000, so many bytes 61), encoded bytes. D is short for
/// deviceId=0, P for deviceId=0 port=0.
std::vector<Field> parseFields(std::string_view text);

Bytes encodeMap(const std::vector<Field> &fields);
Bytes encodeMap(std::string_view fields);
Bytes encodeRequest(uint64_t ordinal, const Bytes &params);

/// A decoded value, decoded by code of the tests' own, so that a fault of the codec shows.
struct Value
{
    std::string text; ///< the value as JSON without blanks; a blob is #hex
    uint64_t number = 0;
    std::string string{};
    std::vector<std::pair<std::string, Value>> members{}; ///< an array's have empty keys

    /// Raises std::runtime_error when the map has no such key.
    const Value &operator[](std::string_view key) const;
};

/// Decodes one value out of what \a take hands over, asked for so many bytes. Raises
/// std::runtime_error on anything but the shortest form of each head.
Value decode(const std::function<Bytes(uint64_t)> &take);

/// With TIME for each time stamp, which is a number of 18 digits.
std::string withoutTimes(const std::string &text);

std::string readFile(const std::string &path);

/// Decodes a file that holds one value and nothing else.
Value decodeFile(const std::string &path);

} // namespace tavu::test
