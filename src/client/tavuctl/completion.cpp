#include "client/tavuctl/completion.h"

#include "client/tools/text.h"
#include "wire/commands.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <set>
#include <string_view>

namespace tavu::ctl {

using namespace tools;

namespace {

bool takesValue(const CLI::Option &option)
{
    return option.get_items_expected_max() > 0;
}

const CLI::App *commandCalled(const CLI::App &app, const std::string &name)
{
    const auto found =
        app.get_subcommands([&](const CLI::App *command) { return command->check_name(name); });
    return found.empty() ? nullptr : found[0];
}

/// "--port" or "-p"; null for what is no option of the command.
const CLI::Option *optionCalled(const CLI::App &app, const std::string &name)
{
    const auto found =
        app.get_options([&](const CLI::Option *option) { return option->check_name(name); });
    return found.empty() ? nullptr : found[0];
}

/// The words before the cursor, and what they mean for the word at the cursor.
class CommandLine
{
public:
    explicit CommandLine(const CLI::App &app) : command(&app) {}

    void take(const std::string &word)
    {
        if (valueOf) {
            takeValue(*valueOf, word);
            valueOf = nullptr;
        } else if (word == "--" && !optionsEnded) {
            optionsEnded = true;
        } else if (isOption(word)) {
            takeOption(word);
        } else if (const CLI::App *next = positionals ? nullptr : commandCalled(*command, word)) {
            command = next;
            given.clear();
        } else {
            ++positionals;
        }
    }

    bool isOption(const std::string &word) const
    {
        return !optionsEnded && word.size() > 1 && word[0] == '-';
    }

    const CLI::App *command;
    const CLI::Option *valueOf = nullptr; ///< the option whose value comes next
    std::set<const CLI::Option *> given;
    size_t positionals = 0;
    bool optionsEnded = false;
    uint32_t device = 0;

private:
    void takeOption(const std::string &word)
    {
        const bool isLong = word.starts_with("--");
        const size_t nameEnd = isLong ? std::min(word.find('='), word.size()) : 2;
        const CLI::Option *option = optionCalled(*command, word.substr(0, nameEnd));
        if (!option)
            return;
        given.insert(option);
        if (!takesValue(*option)) {
            // Flags of one letter may share a dash.
            if (!isLong && word.size() > 2)
                takeOption("-" + word.substr(2));
        } else if (nameEnd == word.size()) {
            valueOf = option;
        } else {
            takeValue(*option, word.substr(nameEnd + isLong));
        }
    }

    void takeValue(const CLI::Option &option, const std::string &value)
    {
        if (option.check_name("--device"))
            device = parseNumber<uint32_t>(value).value_or(device);
    }
};

/// The values that the parser lets an option have: it shows them as {png,pgm}.
Candidates choicesOf(const std::string &typeName)
{
    Candidates choices;
    const size_t begin = typeName.find('{');
    const size_t end = typeName.find('}', begin);
    if (end == std::string::npos)
        return choices;
    for (const std::string &choice :
         CLI::detail::split(typeName.substr(begin + 1, end - begin - 1), ','))
        choices.push_back({choice, ""});
    return choices;
}

Candidates protocolCommands()
{
    Candidates commands;
    for (const CommandInfo &info : allCommands())
        commands.push_back({info.name, ""});
    return commands;
}

/// Puts the values that stand in a list already, and their comma, in front of each candidate.
Candidates goOnWithList(const Candidates &candidates, const std::string &word)
{
    const std::string before = word.substr(0, word.rfind(',') + 1);
    Candidates lists;
    for (const Candidate &candidate : candidates) {
        if (("," + before).find("," + candidate.text + ",") == std::string::npos)
            lists.push_back({before + candidate.text, candidate.help});
    }
    return lists;
}

Completion completeValue(const CLI::Option &option, const std::string &word, uint32_t device,
                         const CompletionSource &source)
{
    const std::string type = option.get_type_name();
    if (option.check_name("--device"))
        return {source.devices(), false};
    if (option.check_name("--port")) {
        const Candidates ports = source.ports(device);
        return {option.get_delimiter() == ',' ? goOnWithList(ports, word) : ports, false};
    }
    if (option.check_name("FILE"))
        return {source.recordings(device), false};
    if (type == "RANGES")
        return {{{"all", ""}, {"first", ""}, {"last", ""}}, false};
    if (type == "LEVELS")
        return {{{"auto", "spread each picture over the whole range"}}, false};
    if (type == "ORDINAL")
        return {protocolCommands(), false};
    return {choicesOf(type), type == "PATH" || option.check_name("PROGRAM")};
}

/// The names of the options that weren't given yet.
Candidates optionNames(const CommandLine &line)
{
    Candidates names;
    for (const CLI::Option *option : line.command->get_options()) {
        if (option->get_group().empty() || !option->nonpositional() || line.given.count(option))
            continue;
        const bool isLong = !option->get_lnames().empty();
        names.push_back({isLong ? "--" + option->get_lnames()[0] : "-" + option->get_snames()[0],
                         option->get_description()});
    }
    return names;
}

Candidates commandNames(const CLI::App &app)
{
    Candidates names;
    for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; })) {
        if (!command->get_group().empty())
            names.push_back({command->get_name(), command->get_description()});
    }
    return names;
}

/// The argument without a name that stands at the cursor, of which the last may come many times.
const CLI::Option *positionalAt(const CommandLine &line)
{
    const auto all = line.command->get_options(
        [](const CLI::Option *option) { return option->get_positional(); });
    if (line.positionals < all.size())
        return all[line.positionals];
    return !all.empty() && all.back()->get_items_expected_max() > 1 ? all.back() : nullptr;
}

Completion completeAny(const CommandLine &line, const std::string &word,
                       const CompletionSource &source)
{
    if (line.valueOf)
        return completeValue(*line.valueOf, word, line.device, source);
    const size_t equals = word.find('=');
    if (line.isOption(word) && equals != std::string::npos) {
        const CLI::Option *option = optionCalled(*line.command, word.substr(0, equals));
        if (!option || !takesValue(*option))
            return {};
        Completion found = completeValue(*option, word.substr(equals + 1), line.device, source);
        for (Candidate &candidate : found.candidates)
            candidate.text.insert(0, word, 0, equals + 1);
        return found;
    }
    if (line.isOption(word) || (word == "-" && !line.optionsEnded))
        return {optionNames(line), false};
    if (const CLI::Option *positional = positionalAt(line))
        return completeValue(*positional, word, line.device, source);
    return {line.positionals == 0 ? commandNames(*line.command) : Candidates(), false};
}

} // namespace

Completion complete(const CLI::App &app, const std::vector<std::string> &words,
                    const CompletionSource &source)
{
    CommandLine line(app);
    for (size_t i = 0; i + 1 < words.size(); ++i)
        line.take(words[i]);
    const std::string word = words.empty() ? "" : words.back();
    Completion found = completeAny(line, word, source);
    std::erase_if(found.candidates,
                  [&](const Candidate &candidate) { return !candidate.text.starts_with(word); });
    return found;
}

} // namespace tavu::ctl
