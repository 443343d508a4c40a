#include "service.h"
#include "surroundings.h"

#include <algorithm>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <thread>

namespace tavu::test {

namespace fs = std::filesystem;

/// No condition may take longer than this to come true.
constexpr std::chrono::seconds kLimit{60};

bool waitUntil(const std::function<bool()> &condition)
{
    const auto end = std::chrono::steady_clock::now() + kLimit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

std::string readLines(const std::string &path)
{
    std::string text = readFile(path);
    std::erase(text, '\r');
    return text;
}

fs::path nativePath(const std::string &path)
{
    return fs::path(reinterpret_cast<const char8_t *>(path.c_str()));
}

void writeFile(const std::string &path, const Bytes &content)
{
    fs::create_directories(nativePath(path).parent_path());
    std::ofstream(nativePath(path), std::ios::binary) << content;
}

TemporaryFolder::TemporaryFolder()
{
    std::random_device random;
    do
        path = (fs::temp_directory_path() / concat("tavu", std::hex, random())).string();
    while (!fs::create_directory(path));
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

Service::Service(const std::vector<std::string> &arguments, const std::string &labFolder)
    : emulatorFolder(separate(folder.path) + "/OREK Systems/TAVU/Emulator/"), arguments_(arguments)
{
    using Variable = std::optional<std::string>;
    const bool simulated = !labFolder.empty();
    setVariable("QUILLON_PATH_X64", simulated ? Variable(SIMULATOR_PATH) : std::nullopt);
    setVariable("QUILLON_SIMULATOR_FOLDER", labFolder);
    setVariable("TAVUSRV_ENABLE_EMULATOR", simulated ? std::nullopt : Variable("1"));
    start();
    watchdog_ = std::jthread([this](std::stop_token stop) {
        std::unique_lock lock(mutex_);
        std::condition_variable_any ended;
        const auto isOver = [&] { return stop.stop_requested(); };
        if (!ended.wait_for(lock, stop, 3 * kLimit, isOver) && process_)
            process_->kill();
    });
}

Service::~Service()
{
    if (!arguments_.empty())
        kill();
    try {
        // A service that never had a client waits for one.
        const auto hasEnded = [&] {
            Pipe().connect();
            return !process_ || process_->exitStatus();
        };
        EXPECT_TRUE(waitUntil(hasEnded));
        EXPECT_TRUE(!process_ || process_->exitStatus() == 0);
        for (const char *sign : {"Sanitizer", "runtime error:", "terminate called"})
            EXPECT_EQ(errors().find(sign), std::string::npos) << errors();
    } catch (const std::exception &exception) {
        ADD_FAILURE() << exception.what();
    }
}

std::unique_ptr<ChildProcess> Service::startAnother() const
{
    return std::make_unique<ChildProcess>(TAVUSVC_PATH, arguments_,
                                          hasOutput ? folder.path + "/stdout" : "",
                                          folder.path + "/stderr");
}

void Service::start()
{
    std::lock_guard guard(mutex_);
    process_ = startAnother();
}

void Service::kill()
{
    std::lock_guard guard(mutex_);
    process_.reset();
}

int Service::waitForExit()
{
    if (!waitUntil([&] { return process_->exitStatus().has_value(); }))
        throw std::runtime_error("the service doesn't stop");
    return *process_->exitStatus();
}

Client::Client(bool handshake, const std::function<bool()> &gaveUp)
{
    bool connected = false;
    waitUntil([&] { return (connected = pipe_.connect()) || (gaveUp && gaveUp()); });
    if (!connected)
        throw std::runtime_error("nobody listens");
    if (!handshake)
        return;
    send(encodeMap("act='verCheck' ver=0"));
    EXPECT_EQ(reply().text, R"({"result":{"ver":0}})");
}

bool Client::send(const Bytes &bytes)
{
    return pipe_.send(bytes);
}

void Client::request(uint64_t ordinal, std::string_view params)
{
    send(encodeRequest(ordinal, encodeMap(params)));
}

Value Client::reply()
{
    return decode([this](uint64_t count) {
        Bytes bytes;
        while (bytes.size() < count) {
            const Bytes piece = pipe_.receiveSome(count - bytes.size());
            if (piece.empty())
                throw std::runtime_error("the service closed the connection");
            bytes += piece;
        }
        return bytes;
    });
}

std::string Client::call(uint64_t ordinal, std::string_view params)
{
    request(ordinal, params);
    return reply().text;
}

Value Client::result(uint64_t ordinal, std::string_view params)
{
    request(ordinal, params);
    return reply()["result"];
}

Bytes Client::receiveUntilEnd()
{
    Bytes bytes, piece;
    while (!(piece = pipe_.receiveSome(4096)).empty())
        bytes += piece;
    return bytes;
}

std::string error(std::string_view text)
{
    return concat(R"({"error":")", text, "\"}");
}

void configure(Client &client, uint32_t width, uint32_t height)
{
    EXPECT_EQ(client.call(34, "P identity='Cam' info=#0102 numFramesPerPacket=3"), "{}");
    EXPECT_EQ(client.call(41, concat("P width=", width, " height=", height,
                                     " pixelFormat=5 tapGeometry=6")),
              "{}");
}

void startRecording(Client &client)
{
    EXPECT_EQ(client.call(42, "D portMask=1 externalTrigger=0 type=0 count=0 usePretrigger=false "
                              "pretriggerCount=0"),
              "{}");
    EXPECT_TRUE(waitUntil([&] { return client.result(47, "P")["numFrames"].number > 3; }));
}

uint64_t record(Client &client, uint64_t frameCount)
{
    EXPECT_EQ(client.call(42, concat("D portMask=1 externalTrigger=0 type=1 count=", frameCount,
                                     " usePretrigger=false pretriggerCount=0")),
              "{}");
    EXPECT_TRUE(waitUntil([&] { return client.result(45, "D")["done"].text == "true"; }));
    EXPECT_EQ(client.call(43, "D"), "{}");
    return client.result(46, "P")["fileId"].number;
}

Bytes expectedFrame(uint64_t number, uint32_t width, uint32_t height)
{
    const uint64_t pixels = uint64_t(width) * height;
    Bytes header = fromHex("0F00 0400 0000 0000 0000 0000AA77 46777278 D81D 00000000 D4300000"
                           "00003F00 000000000000000000000000 983A 00000000 CD2D0300 FF3F0000"
                           "00 090301 FC080E78 22784078 527A 000000000000000000000000000000000000"
                           "0E000100 00000000000000000000000000000000000000000000000000000000"
                           "00000000");
    const uint64_t milliseconds = 33 * number;
    const uint64_t second = milliseconds / 1000, microseconds = milliseconds % 1000 * 1000;
    header[4] = static_cast<char>(second);
    header[6] = static_cast<char>(microseconds >> 16);
    header.replace(8, 2, expectedRamp(microseconds, 1));
    header.replace(20, 2, expectedRamp(number, 1));
    header.resize(std::min<size_t>(header.size(), 2 * width));
    return expectedRamp(number * pixels, pixels).replace(0, header.size(), header);
}

Bytes expectedRamp(uint64_t first, uint64_t count)
{
    Bytes bytes;
    for (uint64_t i = first; i < first + count; i++)
        bytes += {static_cast<char>(i & 0xFF), static_cast<char>(i >> 8 & 0xFF)};
    return bytes;
}

void Script::play(std::string_view lines)
{
    std::istringstream stream{std::string(lines)};
    for (std::string line; std::getline(stream, line);) {
        line.erase(0, line.find_first_not_of(' '));
        if (line.empty())
            continue;
        SCOPED_TRACE(line);
        playLine(line);
    }
}

void Script::playLine(const std::string &line)
{
    const size_t arrow = std::min(line.find(" -> "), line.find(" => "));
    std::istringstream left(line.substr(0, arrow));
    std::string name, word, params;
    left >> name >> word >> std::ws;
    std::getline(left, params);
    Client &client = (*this)[name];
    if (word == "leaves") {
        clients_.erase(name);
    } else if (word == "configures") {
        configure(client, static_cast<uint32_t>(std::stoul(params)),
                  static_cast<uint32_t>(std::stoul(params.substr(params.find(' ')))));
    } else if (word == "records") {
        record(client, std::stoull(params));
    } else {
        std::string expected = line.substr(arrow + 4);
        if (const size_t star = expected.find('*', 1); star != std::string::npos) {
            const size_t count = std::stoull(expected.substr(star + 1));
            std::string digits;
            while (digits.size() < 2 * count)
                digits += expected.substr(star - 2, 2);
            expected.replace(star - 2, std::string::npos, digits + "}");
        }
        const std::string whole = expected == "ok"     ? "{}"
                                  : expected[0] == '!' ? error(expected.substr(1))
                                                       : R"({"result":)" + expected + "}";
        const bool hasTime = whole.find("TIME") != std::string::npos;
        const auto reply = [&] {
            const std::string text = client.call(std::stoull(word), params);
            return hasTime ? withoutTimes(text) : text;
        };
        if (line[arrow + 1] == '=')
            EXPECT_TRUE(waitUntil([&] { return reply() == whole; }));
        else if (const std::string text = reply(); expected == "*")
            EXPECT_NE(text.find("result"), std::string::npos) << text;
        else
            EXPECT_EQ(text, whole);
    }
}

Client &Script::operator[](const std::string &name)
{
    std::unique_ptr<Client> &client = clients_[name];
    if (!client)
        client = std::make_unique<Client>();
    return *client;
}

Region::Region(const Value &result) : name(result["mapping"].string)
{
    if (!region_.open(name))
        throw std::runtime_error("can't map the region " + name);
}

Bytes Region::bytes(uint64_t count, uint64_t offset) const
{
    if (offset + count > region_.viewSize())
        throw std::runtime_error("the region is too small");
    return {static_cast<const char *>(region_.view()) + offset, count};
}

bool Region::isReachable()
{
    if (regionsStayForTheirUsers()) {
        region_.close();
        return region_.open(name);
    }
    SharedRegion other;
    if (!other.open(name))
        return false;
    const auto *there = static_cast<const volatile char *>(other.view());
    auto *here = static_cast<volatile char *>(region_.view());
    for (char mark = 1; mark < 8; mark++) {
        *here = mark;
        if (*there != mark)
            return false;
    }
    return true;
}

} // namespace tavu::test
