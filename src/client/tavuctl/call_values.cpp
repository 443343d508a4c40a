#include "client/tavuctl/call_values.h"

#include "client/tavuctl/arguments.h"
#include "client/tools/text.h"

#include <algorithm>

namespace tavu::ctl {

namespace {

struct TypeInfo
{
    const char *name;
    uint64_t most; ///< of a number; 0 for what isn't one
    const char *form;
};

// By FieldType.
constexpr TypeInfo kTypes[] = {
    {"bool", 0, "true or false"},
    {"u8", 0xFF, "a number"},
    {"u16", 0xFFFF, "a number"},
    {"u32", 0xFFFFFFFF, "a number"},
    {"u64", ~uint64_t(0), "a number"},
    {"string", 0, "a text"},
    {"blob", 0, "{\"$bin\": \"<hexadecimal>\"}"},
    {"event", 0, "an event"},
    {"files", 0, "a list of files"},
};

const TypeInfo &typeInfo(FieldType type)
{
    return kTypes[static_cast<size_t>(type)];
}

[[noreturn]] void complain(const CommandInfo &info, const std::string &text)
{
    throw UsageError(text + "; " + info.name + " takes " + fieldListText(info.params));
}

const Field *findParam(const CommandInfo &info, std::string_view key)
{
    const auto field = std::find_if(info.params.begin(), info.params.end(),
                                    [key](const Field &known) { return key == known.key; });
    return field == info.params.end() ? nullptr : field;
}

bool hasForm(const Json &value, FieldType type)
{
    switch (type) {
    case FieldType::Bool:
        return value.is_boolean();
    case FieldType::Text:
        return value.is_string();
    case FieldType::Blob:
        return isBlob(value);
    default:
        return value.is_number_unsigned();
    }
}

void checkParam(const CommandInfo &info, const Field &field, const Json &value)
{
    const TypeInfo &type = typeInfo(field.type);
    if (!hasForm(value, field.type))
        complain(info, std::string(field.key) + " isn't " + type.form);
    if (type.most != 0 && value.get<uint64_t>() > type.most)
        complain(info, std::string(field.key) + " is above " + std::to_string(type.most));
}

Json parseJson(const std::string &text)
{
    try {
        return Json::parse(text);
    } catch (const Json::parse_error &error) {
        throw UsageError(std::string("the parameters aren't JSON: ") + error.what());
    }
}

Json parseParam(const CommandInfo &info, const Field &field, const std::string &text)
{
    if (field.type == FieldType::Text)
        return text;
    if (field.type == FieldType::Blob) {
        parseHex(text);
        return {{kBlobKey, text}};
    }
    if (field.type == FieldType::Bool && (text == "true" || text == "false"))
        return text == "true";
    const auto number = parseNumber<uint64_t>(text);
    if (field.type == FieldType::Bool || !number)
        complain(info, std::string(field.key) + " isn't " + typeInfo(field.type).form);
    return *number;
}

} // namespace

const char *fieldTypeName(FieldType type)
{
    return typeInfo(type).name;
}

std::string fieldListText(const FieldList &fields)
{
    std::string text;
    for (const Field &field : fields) {
        text += text.empty() ? "" : ", ";
        text += std::string(field.key) + " " + fieldTypeName(field.type);
        text += field.optional ? " (optional)" : "";
    }
    return text.empty() ? "nothing" : text;
}

Json parseCallParams(const CommandInfo &info, const std::vector<std::string> &arguments)
{
    if (arguments.size() == 1 &&
        (arguments[0].starts_with('{') || arguments[0].find('=') == std::string::npos))
        return parseJson(arguments[0]);
    Json params = Json::object();
    for (const std::string &argument : arguments) {
        const size_t equals = argument.find('=');
        const std::string key = argument.substr(0, equals);
        const Field *const field = findParam(info, key);
        if (!field || equals == std::string::npos)
            complain(info, inQuotes(argument) + " is no parameter of it");
        params[key] = parseParam(info, *field, argument.substr(equals + 1));
    }
    return params;
}

void checkCallParams(const CommandInfo &info, const Json &params)
{
    if (params.is_null() && info.params.size() == 0)
        return;
    if (!params.is_object())
        complain(info, "the parameters aren't an object");
    for (const auto &[key, value] : params.items()) {
        const Field *const field = findParam(info, key);
        if (!field)
            complain(info, inQuotes(key) + " is no parameter of it");
        checkParam(info, *field, value);
    }
    for (const Field &field : info.params) {
        if (!field.optional && !params.contains(field.key))
            complain(info, std::string(field.key) + " is missing");
    }
}

} // namespace tavu::ctl
