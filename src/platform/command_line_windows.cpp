#include "platform/command_line_windows.h"
#include "platform/wide_text_windows.h"

namespace tavu {

namespace {

/// Between quotes a backslash is itself, unless only backslashes stand between it and a quote.
std::string quoted(const std::string &word)
{
    if (!word.empty() && word.find_first_of(" \t\n\v\"") == std::string::npos)
        return word;
    std::string result = "\"";
    size_t backslashes = 0;
    for (const char c : word) {
        if (c == '"')
            result.append(backslashes + 1, '\\');
        backslashes = c == '\\' ? backslashes + 1 : 0;
        result += c;
    }
    return result.append(backslashes, '\\') + '"';
}

} // namespace

std::wstring commandLine(const std::vector<std::string> &words)
{
    std::string line;
    for (const std::string &word : words)
        line += (line.empty() ? "" : " ") + quoted(word);
    return wideText(line);
}

} // namespace tavu
