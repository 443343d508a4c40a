#include "wire.h"

#include "encoding/message_writer.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace tavu::test {

namespace {

class BytesStream final : public Stream
{
public:
    uint64_t read(void *, uint64_t) override { return 0; }
    uint64_t write(const void *buffer, uint64_t byteCount) override
    {
        bytes.append(static_cast<const char *>(buffer), byteCount);
        return byteCount;
    }

    Bytes bytes;
};

Field parseField(const std::string &name, const std::string &value)
{
    BytesStream stream;
    MessageWriter writer(stream);
    const std::string rest = value.substr(1);
    char kind = value[0];
    if (kind == '\'') {
        kind = 's';
        writer.writeString(rest.substr(0, rest.size() - 1));
    } else if (kind == '#') {
        kind = 'x';
        const size_t times = std::min(rest.find('*'), rest.size());
        Bytes blob = fromHex(rest.substr(0, times));
        if (times < rest.size())
            blob.resize(std::stoull(rest.substr(times + 1)), blob[0]);
        writer.writeBlob(blob.data(), static_cast<uint32_t>(blob.size()));
    } else if (kind == '!') {
        stream.bytes = fromHex(rest);
    } else if (value == "true" || value == "false") {
        kind = 'b';
        writer.writeBool(value == "true");
    } else {
        kind = 'n';
        writer.writeUint(std::stoull(value));
    }
    return {name, kind, stream.bytes};
}

struct Head
{
    char kind;
    uint64_t number; ///< length or value
};

Head readHead(const std::function<Bytes(uint64_t)> &take)
{
    // Forms of one, two, four and eight bytes; no number below the least one needs the first.
    static const struct
    {
        uint8_t first, last, size;
        char kind;
        uint64_t least;
    } families[] = {{0xC4, 0xC6, 1, 'x', 0},
                    {0xCC, 0xCF, 1, 'n', 128},
                    {0xD9, 0xDB, 1, 's', 32},
                    {0xDC, 0xDC, 2, 'a', 16}};
    const uint8_t lead = static_cast<uint8_t>(take(1)[0]);
    if (lead < 0x80)
        return {'n', lead};
    if (lead < 0xA0)
        return {lead < 0x90 ? 'm' : 'a', lead & 15u};
    if (lead < 0xC0)
        return {'s', lead & 31u};
    if (lead == 0xC2 || lead == 0xC3)
        return {'b', lead & 1u};
    for (const auto &family : families) {
        if (lead < family.first || lead > family.last)
            continue;
        const int size = family.size << (lead - family.first);
        uint64_t number = 0;
        for (const char byte : take(static_cast<uint64_t>(size)))
            number = number << 8 | static_cast<uint8_t>(byte);
        const bool isShortest =
            lead == family.first ? number >= family.least : number >> (size * 4) != 0;
        if (!isShortest)
            throw std::runtime_error(concat(number, " isn't in its shortest form"));
        return {family.kind, number};
    }
    throw std::runtime_error(concat("unexpected lead byte ", int(lead)));
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
    for (uint64_t i = 0; i < count; i++) {
        const Value key = isMap ? decode(take) : Value();
        const Value member = decode(take);
        value.text += concat(i == 0 ? "" : ",", key.text, isMap ? ":" : "", member.text);
        value.members.emplace_back(key.string, member);
    }
    value.text = isMap ? '{' + value.text + '}' : '[' + value.text + ']';
    return value;
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

std::vector<Field> parseFields(std::string_view text)
{
    std::vector<Field> fields;
    while (!text.empty()) {
        const bool isQuoted = text.find("='") < text.find(' ');
        const size_t quote = isQuoted ? text.find('\'', text.find('\'') + 1) : 0;
        const std::string token(text.substr(0, text.find(' ', quote)));
        text.remove_prefix(std::min(text.size(), token.size() + 1));
        if (token == "D" || token == "P")
            fields.push_back(parseField("deviceId", "0"));
        if (token == "P")
            fields.push_back(parseField("port", "0"));
        if (const size_t equals = token.find('='); equals != std::string::npos)
            fields.push_back(parseField(token.substr(0, equals), token.substr(equals + 1)));
    }
    return fields;
}

Bytes encodeMap(const std::vector<Field> &fields)
{
    BytesStream stream;
    MessageWriter writer(stream);
    writer.writeMapHeader(static_cast<uint32_t>(fields.size()));
    for (const Field &field : fields) {
        writer.writeString(field.name);
        stream.bytes += field.encoded;
    }
    return stream.bytes;
}

Bytes encodeMap(std::string_view fields)
{
    return encodeMap(parseFields(fields));
}

Bytes encodeRequest(uint64_t ordinal, const Bytes &params)
{
    std::vector<Field> fields = parseFields(concat("act='exec' ord=", ordinal));
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
    if (head.kind == 'm' || head.kind == 'a')
        return decodeMembers(take, head.number, head.kind == 'm');
    if (head.kind == 'n')
        return {.text = std::to_string(head.number), .number = head.number};
    if (head.kind == 'b')
        return {.text = head.number != 0 ? "true" : "false"};
    const Bytes body = head.number == 0 ? Bytes() : take(head.number);
    return {.text = head.kind == 's' ? '"' + body + '"' : '#' + toHex(body), .string = body};
}

Value decodeFile(const std::string &path)
{
    const Bytes content = readFile(path);
    size_t position = 0;
    Value value = decode([&](uint64_t count) {
        position += count;
        return content.substr(position - count, count);
    });
    if (position != content.size())
        throw std::runtime_error("not one whole value in " + path);
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

std::string readFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace tavu::test
