#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The protocol in code of the tests' own, so that the tests don't share a fault with the product.

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

/// Encodes a value that is written as JSON without blanks. A string is in double or single quotes
/// and has no escapes, #0102 is a blob (or #61*20000, so many bytes 61), and !FF stands for encoded
/// bytes.
Bytes encode(std::string_view value);

/// One pair of a map.
struct Field
{
    std::string name;
    char kind; ///< '0' number, '\'' string, 't' bool, '#' blob, '!' bytes as they are
    Bytes encoded;
};

/// Reads pairs such as "x=0 name='a b' notify=true info=#0102 port=!FF", with values as in
/// encode(). D is short for deviceId=0, P for deviceId=0 port=0.
std::vector<Field> parseFields(std::string_view text);

Bytes encodeMap(const std::vector<Field> &fields);
Bytes encodeMap(std::string_view fields);
/// Of a command's name or number, see ordinalOf().
Bytes encodeRequest(std::string_view command, const Bytes &params);

/// A decoded value.
struct Value
{
    std::string text; ///< as JSON without blanks; a blob is #hex
    uint64_t number = 0;
    std::string string{};
    std::vector<std::pair<std::string, Value>> members{}; ///< an array's have empty keys

    /// Raises std::runtime_error when the map has no such key.
    const Value &operator[](std::string_view key) const;
};

/// Decodes one value out of what \a take hands over, asked for so many bytes. Raises
/// std::runtime_error on anything but the shortest form of each head.
Value decode(const std::function<Bytes(uint64_t)> &take);
/// Decodes the value at the beginning of some bytes.
Value decode(const Bytes &bytes);
/// Decodes a file that holds one value and nothing else.
Value decodeFile(const std::filesystem::path &path);

/// With TIME for each time stamp, which is a number of 18 digits.
std::string withoutTimes(const std::string &text);

} // namespace tavu::test
