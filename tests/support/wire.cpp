#include "support/wire.h"

#include "support/commands.h"
#include "support/files.h"

#include <algorithm>
#include <stdexcept>

namespace tavu::test {

namespace {

/// How values of a kind begin. A small number (a length, or a count of members) is part of the
/// first byte; larger ones stand behind it in 1, 2, 4 or 8 bytes, and the first byte says which.
struct Family
{
    char kind;
    uint8_t fixed;  ///< the first byte with a small number in it, less that number
    uint32_t limit; ///< numbers below this one are small
    uint8_t first; ///< the first byte of the shortest form for others; those of longer forms follow
    int size;      ///< of the number in the shortest form, in bytes
    int forms;
};

constexpr Family kFamilies[] = {
    {'0', 0x00, 128, 0xCC, 1, 4}, {'{', 0x80, 16, 0xDE, 2, 1}, {'[', 0x90, 16, 0xDC, 2, 1},
    {'\'', 0xA0, 32, 0xD9, 1, 3}, {'t', 0xC2, 2, 0, 0, 0},     {'#', 0xC4, 0, 0xC4, 1, 3},
};

const Family &familyOf(char kind)
{
    return *std::find_if(std::begin(kFamilies), std::end(kFamilies),
                         [kind](const Family &family) { return family.kind == kind; });
}

Bytes head(char kind, uint64_t number)
{
    const Family &family = familyOf(kind);
    if (number < family.limit)
        return Bytes(1, static_cast<char>(family.fixed + number));
    int form = 0, size = family.size;
    while (size < 8 && number >> (8 * size) != 0)
        ++form, size *= 2;
    Bytes bytes(1, static_cast<char>(family.first + form));
    while (size-- > 0)
        bytes += static_cast<char>(number >> (8 * size));
    return bytes;
}

struct Head
{
    char kind;
    uint64_t number;
};

Head readHead(const std::function<Bytes(uint64_t)> &take)
{
    const uint8_t lead = static_cast<uint8_t>(take(1)[0]);
    for (const Family &family : kFamilies) {
        if (lead >= family.fixed && lead - family.fixed < static_cast<int>(family.limit))
            return {family.kind, static_cast<uint64_t>(lead - family.fixed)};
        if (lead < family.first || lead >= family.first + family.forms)
            continue;
        uint64_t number = 0;
        const Bytes bytes = take(static_cast<uint64_t>(family.size) << (lead - family.first));
        for (const char byte : bytes)
            number = number << 8 | static_cast<uint8_t>(byte);
        if (head(family.kind, number) != static_cast<char>(lead) + bytes)
            throw std::runtime_error(concat(number, " isn't in its shortest form"));
        return {family.kind, number};
    }
    throw std::runtime_error(concat("unexpected lead byte ", int(lead)));
}

/// Takes off the text, and returns, what stands before the first character that is one of \a end.
std::string cut(std::string_view &text, std::string_view end)
{
    const size_t size = std::min(text.find_first_of(end), text.size());
    std::string before(text.substr(0, size));
    text.remove_prefix(size);
    return before;
}

Bytes takeValue(std::string_view &text);

/// Takes what follows an opening bracket: values, in a map each with its key.
Bytes takeMembers(std::string_view &text, char kind)
{
    Bytes members;
    uint64_t count = 0;
    for (; text[0] != '}' && text[0] != ']'; ++count) {
        members += takeValue(text);
        if (kind == '{') {
            text.remove_prefix(1);
            members += takeValue(text);
        }
        text.remove_prefix(text[0] == ',');
    }
    text.remove_prefix(1);
    return head(kind, count) + members;
}

Bytes takeValue(std::string_view &text)
{
    const char kind = text[0];
    if (kind == '{' || kind == '[') {
        text.remove_prefix(1);
        return takeMembers(text, kind);
    }
    if (kind == '\'' || kind == '"') {
        text.remove_prefix(1);
        const std::string string = cut(text, std::string_view(&kind, 1));
        text.remove_prefix(1);
        return head('\'', string.size()) + string;
    }
    const std::string word = cut(text, " ,}]");
    if (kind == '!')
        return fromHex(word.substr(1));
    if (kind == '#') {
        const size_t times = std::min(word.find('*'), word.size());
        Bytes blob = fromHex(word.substr(1, times - 1));
        if (times < word.size())
            blob.resize(std::stoull(word.substr(times + 1)), blob[0]);
        return head('#', blob.size()) + blob;
    }
    return kind == 't' || kind == 'f' ? head('t', kind == 't') : head('0', std::stoull(word));
}

std::string toHex(const Bytes &bytes)
{
    std::string hex;
    for (const unsigned char byte : bytes)
        for (const int nibble : {byte >> 4, byte & 15})
            hex += "0123456789ABCDEF"[nibble];
    return hex;
}

Value decodeMembers(const std::function<Bytes(uint64_t)> &take, uint64_t count, bool isMap)
{
    Value value;
    for (uint64_t i = 0; i < count; ++i) {
        const Value key = isMap ? decode(take) : Value();
        const Value member = decode(take);
        value.text += concat(i == 0 ? "" : ",", key.text, isMap ? ":" : "", member.text);
        value.members.emplace_back(key.string, member);
    }
    value.text = isMap ? '{' + value.text + '}' : '[' + value.text + ']';
    return value;
}

/// Returns a function for decode() that moves \a position on over the bytes.
auto takeFrom(const Bytes &bytes, size_t &position)
{
    return [&bytes, &position](uint64_t count) {
        if (bytes.size() - position < count)
            throw std::runtime_error("a value is cut off");
        position += count;
        return bytes.substr(position - count, count);
    };
}

} // namespace

Bytes fromHex(std::string_view hex)
{
    std::string digits(hex);
    std::erase(digits, ' ');
    Bytes bytes;
    for (size_t i = 0; i < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return bytes;
}

Bytes encode(std::string_view value)
{
    return takeValue(value);
}

std::vector<Field> parseFields(std::string_view text)
{
    std::vector<Field> fields;
    while (!text.empty()) {
        const std::string name = cut(text, "= ");
        if (text.starts_with('=')) {
            text.remove_prefix(1);
            const char kind = text[0];
            fields.push_back({name, kind, takeValue(text)});
        }
        if (name == "D" || name == "P")
            fields.push_back({"deviceId", '0', encode("0")});
        if (name == "P")
            fields.push_back({"port", '0', encode("0")});
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    }
    for (Field &field : fields)
        field.kind = field.kind >= '0' && field.kind <= '9' ? '0'
                     : field.kind == 'f'                    ? 't'
                                                            : field.kind;
    return fields;
}

Bytes encodeMap(const std::vector<Field> &fields)
{
    Bytes bytes = head('{', fields.size());
    for (const Field &field : fields)
        bytes += head('\'', field.name.size()) + field.name + field.encoded;
    return bytes;
}

Bytes encodeMap(std::string_view fields)
{
    return encodeMap(parseFields(fields));
}

Bytes encodeRequest(std::string_view command, const Bytes &params)
{
    std::vector<Field> fields = parseFields(concat("act='exec' ord=", ordinalOf(command)));
    fields.push_back({"params", '!', params});
    return encodeMap(fields);
}

const Value &Value::operator[](std::string_view key) const
{
    for (const auto &[name, value] : members)
        if (name == key)
            return value;
    throw std::runtime_error(concat("no ", key, " in ", text));
}

Value decode(const std::function<Bytes(uint64_t)> &take)
{
    const Head head = readHead(take);
    if (head.kind == '{' || head.kind == '[')
        return decodeMembers(take, head.number, head.kind == '{');
    if (head.kind == '0')
        return {.text = std::to_string(head.number), .number = head.number};
    if (head.kind == 't')
        return {.text = head.number != 0 ? "true" : "false"};
    const Bytes body = head.number == 0 ? Bytes() : take(head.number);
    return {.text = head.kind == '#' ? '#' + toHex(body) : '"' + body + '"', .string = body};
}

Value decode(const Bytes &bytes)
{
    size_t position = 0;
    return decode(takeFrom(bytes, position));
}

Value decodeFile(const std::filesystem::path &path)
{
    const Bytes content = readFile(path);
    size_t position = 0;
    Value value = decode(takeFrom(content, position));
    if (position != content.size())
        throw std::runtime_error("not one whole value in " + path.string());
    return value;
}

std::string withoutTimes(const std::string &text)
{
    std::string masked;
    for (size_t i = 0, end = 0; i < text.size(); i = end) {
        const size_t digits = std::min(text.find_first_not_of("0123456789", i), text.size()) - i;
        end = i + std::max<size_t>(digits, 1);
        masked += digits == 18 ? "TIME" : text.substr(i, end - i);
    }
    return masked;
}

} // namespace tavu::test
