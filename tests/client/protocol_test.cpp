#include "client/tavuctl/call_values.h"

#include "support/error_of.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <tuple>

namespace tavu::ctl {
namespace {

using test::errorOf;

/// The words that a row of docs/protocol.md begins a cell with. The types of deviceId and port are
/// told once, above the tables.
std::string cellText(const Json &fields, const char *none)
{
    std::string text;
    for (const Json &field : fields) {
        const std::string name = field["name"];
        const std::string type = field["type"];
        if (type == "event" || type == "files") {
            text += text.empty() ? name : ", and " + name;
            continue;
        }
        text += text.empty() ? name : ", " + name;
        if (name != "deviceId" && name != "port")
            text += " " + type;
    }
    return text.empty() ? none : text;
}

/// What the third and fourth column, and behind them the event, of each command's row say.
std::vector<std::string> documentedRows()
{
    std::ifstream file(PROTOCOL_DOC);
    const std::regex row(R"(^\| (\d+) \| (\w+) \| (.*) \|$)");
    const std::regex asides(R"( \([^)]*\)|, not checked| of the storage)");
    std::vector<std::string> rows;
    std::string line;
    for (std::smatch match; std::getline(file, line);) {
        if (!std::regex_match(line, match, row) || match[2] == "QueueClosed")
            continue;
        const size_t ordinal = std::stoul(match[1]);
        if (findCommand(ordinal) && match[2] == findCommand(ordinal)->name) {
            rows.resize(std::max(rows.size(), ordinal + 1));
            rows[ordinal] = std::regex_replace(match[3].str(), asides, "");
        }
    }
    return rows;
}

// The document is for people who write clients; tools read the table.
TEST(Protocol, DocumentSaysWhatTheTableSays)
{
    const Json protocol = protocolJson();
    const std::vector<std::string> rows = documentedRows();
    ASSERT_EQ(rows.size(), protocol["commands"].size());
    for (const Json &command : protocol["commands"]) {
        const std::string &row = rows[command["ordinal"].get<size_t>()];
        const std::string params = cellText(command["parameters"], "none") + " | ";
        std::string reply = cellText(command["reply"], "-");
        EXPECT_EQ(row.substr(0, params.size()), params) << command["name"];
        EXPECT_EQ(row.substr(std::min(row.size(), params.size()), reply.size()), reply)
            << command["name"];
        std::string announced;
        if (command.contains("event"))
            announced = command["event"]["name"].get<std::string>() +
                        (command["event"].contains("onlyIf") ? " if notify" : "");
        const std::string last = row.substr(row.rfind(" | ") + 3);
        EXPECT_TRUE(announced.empty() ? last.find("Changed") == last.npos
                                      : last.starts_with(announced))
            << row;
    }
    EXPECT_EQ(findCommand(rows.size()), nullptr);
}

TEST(Protocol, CallTakesWhatTheTableSays)
{
    const CommandInfo &pair = *findCommand("pairPort");
    const Json typed = parseCallParams(
        pair, {"deviceId=0", "port=1", "identity=a=b", "info=00 ff", "numFramesPerPacket=2"});
    EXPECT_EQ(typed.dump(), R"({"deviceId":0,"port":1,"identity":"a=b","info":{"$bin":"00 ff"},)"
                            R"("numFramesPerPacket":2})");
    EXPECT_EQ(errorOf([&] { checkCallParams(pair, typed); }), "");
    EXPECT_EQ(parseCallParams(*findCommand("deviceCount"), {}).dump(), "{}");

    const std::tuple<const char *, std::vector<std::string>, const char *> refused[] = {
        {"deviceName", {}, "deviceId is missing; deviceName takes deviceId u32"},
        {"deviceName", {"[0]"}, "the parameters aren't an object"},
        {"deviceName", {"{"}, "the parameters aren't JSON"},
        {"deviceName", {"deviceId=x"}, "deviceId isn't a number"},
        {"deviceName", {"deviceId=-1"}, "deviceId isn't a number"},
        {"deviceName", {"deviceId=4294967296"}, "deviceId is above 4294967295"},
        {"deviceName", {R"({"deviceId":"0"})"}, "deviceId isn't a number"},
        {"deviceName", {"deviceId=0", "port=0"}, "\"port=0\" is no parameter of it"},
        {"portName", {R"({"deviceId":0,"port":256})"}, "port is above 255"},
        {"renameFile", {"notify=1"}, "notify isn't true or false"},
        {"deviceCount", {"x=0"}, "\"x=0\" is no parameter of it; deviceCount takes nothing"}};
    for (const auto &[name, arguments, text] : refused) {
        const CommandInfo &info = *findCommand(std::string_view(name));
        const std::string error = errorOf(
            [&, &given = arguments] { checkCallParams(info, parseCallParams(info, given)); });
        EXPECT_TRUE(error.starts_with(text)) << error;
    }
}

} // namespace
} // namespace tavu::ctl
