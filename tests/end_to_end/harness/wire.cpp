#include "wire.h"

#include "encoding/message_writer.h"

#include <charconv>
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

template <typename Action>
Bytes encode(Action action)
{
    BytesStream stream;
    MessageWriter writer(stream);
    action(writer);
    return stream.bytes;
}

uint64_t parseNumber(std::string_view digits)
{
    uint64_t number = 0;
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (parsed.ec != std::errc() || parsed.ptr != digits.data() + digits.size())
        throw std::runtime_error(concat("not a number in a test's fields: ", digits));
    return number;
}

Field parseField(std::string_view name, std::string_view value)
{
    const std::string field(name);
    const std::string_view rest = value.substr(1);
    if (value[0] == '\'') {
        const std::string body(rest.substr(0, rest.size() - 1));
        return {field, 's', encode([&](auto &writer) { writer.writeString(body); })};
    }
    if (value[0] == '#') {
        const Bytes blob = fromHex(rest);
        const uint32_t size = static_cast<uint32_t>(blob.size());
        return {field, 'x', encode([&](auto &writer) { writer.writeBlob(blob.data(), size); })};
    }
    if (value[0] == '!')
        return {field, '!', fromHex(rest)};
    if (value == "true" || value == "false")
        return {field, 'b', encode([&](auto &writer) { writer.writeBool(value == "true"); })};
    const uint64_t number = parseNumber(value);
    return {field, 'n', encode([&](auto &writer) { writer.writeUint(number); })};
}

std::string toHex(const Bytes &bytes)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string hex;
    for (const unsigned char byte : bytes) {
        hex += digits[byte >> 4];
        hex += digits[byte & 15];
    }
    return hex;
}

class Decoder
{
public:
    explicit Decoder(const std::function<Bytes(uint64_t)> &take) : take_(take) {}

    Value value()
    {
        const uint8_t head = static_cast<uint8_t>(take_(1)[0]);
        if (head < 0x80)
            return numberValue(head);
        if (head < 0x90)
            return map(head & 15);
        if (head < 0xA0)
            return array(head & 15);
        if (head < 0xC0)
            return stringValue(head & 31);
        switch (head) {
        case 0xC2: return {.text = "false"};
        case 0xC3: return {.text = "true"};
        case 0xC4: return blob(length(1, 0));
        case 0xC5: return blob(length(2, 0x100));
        case 0xC6: return blob(length(4, 0x10000));
        case 0xCC: return numberValue(length(1, 0x80));
        case 0xCD: return numberValue(length(2, 0x100));
        case 0xCE: return numberValue(length(4, 0x10000));
        case 0xCF: return numberValue(length(8, 0x100000000));
        case 0xD9: return stringValue(length(1, 32));
        case 0xDA: return stringValue(length(2, 0x100));
        case 0xDC: return array(length(2, 16));
        default: throw std::runtime_error(concat("unexpected head ", int(head), " in a reply"));
        }
    }

private:
    uint64_t length(int byteCount, uint64_t leastOfThisForm)
    {
        uint64_t length = 0;
        for (const unsigned char byte : take_(byteCount))
            length = length << 8 | byte;
        if (length < leastOfThisForm)
            throw std::runtime_error(concat(length, " isn't in its shortest form"));
        return length;
    }

    static Value numberValue(uint64_t number)
    {
        return {.text = std::to_string(number), .number = number};
    }

    Value stringValue(uint64_t size)
    {
        const Bytes body = size == 0 ? Bytes() : take_(size);
        return {.text = '"' + body + '"', .string = body};
    }

    Value blob(uint64_t size)
    {
        const Bytes body = size == 0 ? Bytes() : take_(size);
        return {.text = '#' + toHex(body), .string = body};
    }

    Value map(uint64_t count)
    {
        Value result;
        for (uint64_t i = 0; i < count; i++) {
            const Value key = value();
            result.members.emplace_back(key.string, value());
            result.text += concat(i == 0 ? "" : ",", key.text, ':', result.members[i].second.text);
        }
        result.text = '{' + result.text + '}';
        return result;
    }

    Value array(uint64_t count)
    {
        Value result;
        for (uint64_t i = 0; i < count; i++) {
            result.members.emplace_back("", value());
            result.text += concat(i == 0 ? "" : ",", result.members[i].second.text);
        }
        result.text = '[' + result.text + ']';
        return result;
    }

    const std::function<Bytes(uint64_t)> &take_;
};

} // namespace

Bytes fromHex(std::string_view hex)
{
    std::string digits;
    for (const char c : hex)
        if (c != ' ')
            digits += c;
    Bytes bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return bytes;
}

std::vector<Field> parseFields(std::string_view text)
{
    std::vector<Field> fields;
    while (!text.empty()) {
        const size_t equals = text.find('=');
        const size_t quote = text.substr(equals + 1).starts_with('\'') ? text.find('\'', equals + 2) : equals;
        const size_t end = std::min(text.find(' ', quote), text.size());
        fields.push_back(parseField(text.substr(0, equals), text.substr(equals + 1, end - equals - 1)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return fields;
}

Bytes encodeMap(const std::vector<Field> &fields)
{
    return encode([&](auto &writer) {
        writer.writeMapHeader(static_cast<uint32_t>(fields.size()));
        for (const Field &field : fields) {
            writer.writeString(field.name);
            writer.writeRaw(field.encoded.data(), field.encoded.size());
        }
    });
}

Bytes encodeMap(std::string_view fields) { return encodeMap(parseFields(fields)); }

Bytes encodeRequest(uint64_t ordinal, const Bytes &params)
{
    std::vector<Field> fields = parseFields(concat("act='exec' ord=", ordinal));
    fields.push_back({"params", '!', params});
    return encodeMap(fields);
}

Bytes encodeRecord(std::string_view type, std::string_view payloadKey, const Bytes &payload)
{
    std::vector<Field> fields = parseFields(concat("orek=true type='", type, "' version=0"));
    fields.push_back({std::string(payloadKey), '!', payload});
    return encodeMap(fields);
}

const Value &Value::operator[](std::string_view key) const
{
    for (const auto &[name, value] : members)
        if (name == key)
            return value;
    throw std::runtime_error(concat("no ", key, " in ", text));
}

Value decode(const std::function<Bytes(uint64_t)> &take) { return Decoder(take).value(); }

Value decodeFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    const auto take = [&](uint64_t count) {
        Bytes bytes(count, '\0');
        if (!file.read(bytes.data(), static_cast<std::streamsize>(count)))
            throw std::runtime_error("file too short: " + path);
        return bytes;
    };
    Value value = decode(take);
    if (file.peek() != std::ifstream::traits_type::eof())
        throw std::runtime_error("more than one value in " + path);
    return value;
}

} // namespace tavu::test
