#include "client/tavuctl/command_line.h"

#include "client/tavuctl/session.h"
#include "client/tools/text.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <numeric>
#include <utility>

namespace tavu::ctl {

namespace {

/// Letters to put in, leave out, replace or swap with their neighbour.
size_t editDistance(std::string_view a, std::string_view b)
{
    std::vector<size_t> beforeLast, last(b.size() + 1), row(b.size() + 1);
    std::iota(last.begin(), last.end(), size_t(0));
    for (size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t replaced = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({replaced, last[j] + 1, row[j - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast = std::exchange(last, row);
    }
    return last.back();
}

/// "tavuctl recover".
std::string pathOf(const CLI::App &command)
{
    return command.get_parent() ? pathOf(*command.get_parent()) + " " + command.get_name()
                                : command.get_name();
}

/// Text for an error and, if \a nearest is a name, the question whether that was meant.
[[noreturn]] void failAt(const CLI::App &command, const std::string &text,
                         const std::string &nearest = {})
{
    throw UsageError(text + (nearest.empty() ? "" : "; did you mean " + nearest + "?") + "\n" +
                     helpAdvice(command));
}

std::vector<std::string> commandNames(const CLI::App &command)
{
    std::vector<std::string> names;
    for (const CLI::App *child : command.get_subcommands([](const CLI::App *) { return true; }))
        names.push_back(child->get_name());
    return names;
}

std::vector<std::string> optionNames(const CLI::App &command)
{
    std::vector<std::string> names;
    for (const CLI::Option *option : command.get_options()) {
        for (const std::string &name : option->get_lnames())
            names.push_back("--" + name);
    }
    return names;
}

/// Walks along a command line beside the tree of commands and options.
class Walk
{
public:
    Walk(CLI::App &app, const std::vector<std::string> &words) : command_(&app), words_(words) {}

    void run()
    {
        enter(*command_);
        while (next_ < words_.size()) {
            const std::string &word = words_[next_++];
            if (word == "--")
                return; // what follows belongs to the command
            if (isOption(word))
                takeOption(word);
            else
                takeWord(word);
        }
        if (command_->get_require_subcommand_min() > 0)
            failAt(*command_, "`" + pathOf(*command_) + "` needs a command");
    }

private:
    static bool isOption(const std::string &word)
    {
        return word.size() > 1 && word[0] == '-' && !(word[1] >= '0' && word[1] <= '9');
    }

    void enter(CLI::App &command)
    {
        command_ = &command;
        positionals_ =
            command.get_options([](const CLI::Option *o) { return o->get_positional(); });
    }

    void takeOption(const std::string &word)
    {
        const bool isLong = word.starts_with("--");
        const size_t equals = isLong ? word.find('=') : std::string::npos;
        const std::string name = isLong ? word.substr(0, equals) : word.substr(0, 2);
        CLI::Option *const option = command_->get_option_no_throw(name);
        if (!option)
            failAtOption(name);
        const bool hasValue = option->get_items_expected_min() > 0;
        if (!hasValue) {
            // "-yx" is "-y -x".
            if (!isLong && word.size() > 2)
                takeOption("-" + word.substr(2));
            return;
        }
        if (equals != std::string::npos)
            checkValue(*option, word.substr(equals + 1));
        else if (!isLong && word.size() > 2)
            checkValue(*option, word.substr(2));
        else if (next_ < words_.size())
            checkValue(*option, words_[next_++]);
        else
            failAt(*command_, name + " needs a value behind it");
        // An option that takes several has all words up to the next option.
        while (option->get_items_expected_max() > 1 && next_ < words_.size() &&
               !words_[next_].starts_with('-'))
            checkValue(*option, words_[next_++]);
    }

    [[noreturn]] void failAtOption(const std::string &name)
    {
        const std::string none = "`" + pathOf(*command_) + "` has no option " + inQuotes(name);
        if (command_->get_require_subcommand_min() > 0)
            failAt(*command_, none + ": options stand behind the command that they are for",
                   nearestName(name, optionNames(*command_)));
        failAt(*command_, none, nearestName(name, optionNames(*command_)));
    }

    void takeWord(const std::string &word)
    {
        const auto isNamed = [&](const CLI::App *child) { return child->check_name(word); };
        const std::vector<CLI::App *> named = command_->get_subcommands(isNamed);
        if (!named.empty())
            return enter(*named.front());
        if (command_->get_require_subcommand_min() > 0)
            failAt(*command_, "`" + pathOf(*command_) + "` has no command " + inQuotes(word),
                   nearestName(word, commandNames(*command_)));
        if (positionals_.empty())
            failAt(*command_, inQuotes(word) + " is more than `" + pathOf(*command_) + "` takes");
        CLI::Option *const positional = positionals_.front();
        if (positional->get_items_expected_max() > 1)
            return;
        positionals_.erase(positionals_.begin());
        checkValue(*positional, word);
    }

    /// Has the option itself look at the value, and forget it: the parser will bring it again.
    void checkValue(CLI::Option &option, const std::string &value)
    {
        const std::string name = option.get_name();
        // The parser would take 2^64 - 5 for a -5.
        if (option.get_type_name() == "N" && value.starts_with('-'))
            failAt(*command_, name + ": " + inQuotes(value) + " isn't a number of 0 or more");
        try {
            option.clear();
            option.add_result(value);
            option.run_callback();
        } catch (const CLI::ConversionError &) {
            failAt(*command_, name + ": " + inQuotes(value) + " isn't a number that it takes");
        } catch (const CLI::ParseError &error) {
            failAt(*command_, error.what());
        }
        option.clear();
    }

    CLI::App *command_;
    const std::vector<std::string> &words_;
    size_t next_ = 0;
    std::vector<CLI::Option *> positionals_; ///< that have no word yet
};

} // namespace

std::string nearestName(std::string_view word, const std::vector<std::string> &names)
{
    std::string nearest;
    size_t least = (word.size() + 2) / 3 + 1; // a third of the letters may be wrong
    for (const std::string &name : names) {
        // Who knows the beginning is taken at it.
        const bool begins = word.size() > 2 && name.starts_with(word) && word != "--";
        const size_t distance = begins ? 0 : editDistance(word, name);
        if (distance < least) {
            least = distance;
            nearest = name;
        }
    }
    return nearest;
}

std::string helpAdvice(const CLI::App &command)
{
    return "`" + pathOf(command) + " --help` " +
           (command.get_require_subcommand_min() > 0 ? "lists the commands" : "shows its options");
}

void checkCommandLine(CLI::App &app, const std::vector<std::string> &words)
{
    // Who asks for help or for the version gets it, whatever else stands there.
    const auto asks = [](const std::string &word) {
        return word == "-h" || word == "--help" || word == "--version";
    };
    if (std::none_of(words.begin(), words.end(), asks))
        Walk(app, words).run();
}

} // namespace tavu::ctl
