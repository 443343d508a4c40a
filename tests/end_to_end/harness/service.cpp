#include "service.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <thread>

namespace tavu::test {

namespace fs = std::filesystem;

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

std::string readFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeFile(const std::string &path, const Bytes &content)
{
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

TemporaryFolder::TemporaryFolder()
{
    std::random_device random;
    do
        path = (fs::temp_directory_path() / concat("tavu", std::hex, random())).string();
    while (!fs::create_directory(path));
    fs::permissions(path, fs::perms::owner_all);
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

Service::Service() : Service(Options()) {}

Service::Service(const Options &options)
{
    emulatorFolder = folder.path + "/data/OREK Systems/TAVU/Emulator/";
    processOptions = {TAVUSVC_PATH,   options.arguments,     {},
                      options.output, folder.path + "/stdout", folder.path + "/stderr"};
    processOptions.environment = {
        {"HOME", folder.path},
        {"XDG_RUNTIME_DIR", folder.path},
        {"XDG_DATA_HOME", folder.path + "/data"},
        {"QUILLON_PATH_X64", std::nullopt},
        {"TAVUSRV_SATA_ONLY", std::nullopt},
        {"TAVUSRV_ENABLE_EMULATOR", options.emulator ? std::optional("1") : std::nullopt}};
    for (const auto &[name, value] : options.environment)
        processOptions.environment[name] = value;
    endsByItself_ = options.arguments.empty();
    start();
}

Service::~Service()
{
    try {
        if (!endsByItself_ || !process_)
            kill();
        else if (!process_->exitStatus())
            Client(*this, false); // a service that never had a client waits for one
        if (process_) {
            EXPECT_EQ(waitForExit(), 0);
        }
    } catch (const std::exception &exception) {
        ADD_FAILURE() << exception.what();
    }
    const std::string printed = errors();
    for (const char *sign : {"Sanitizer", "runtime error:", "terminate called"})
        EXPECT_EQ(printed.find(sign), std::string::npos) << printed;
}

void Service::start()
{
    process_ = std::make_unique<ChildProcess>(processOptions);
}

void Service::kill() { process_.reset(); }

int Service::waitForExit() { return process_->waitForExit(kLimit); }

Client::Client(Service &service, bool handshake)
{
    if (!waitUntil([&] { return pipe.connect(service.folder.path); }))
        throw std::runtime_error("nobody listens: " + service.errors());
    if (!handshake)
        return;
    pipe.send(encodeMap("act='verCheck' ver=0"));
    if (const Value answer = reply(); answer.text != R"({"result":{"ver":0}})")
        throw std::runtime_error("unexpected answer to the handshake: " + answer.text);
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

void Client::request(uint64_t ordinal, std::string_view params)
{
    pipe.send(encodeRequest(ordinal, encodeMap(params)));
}

Value Client::reply()
{
    return decode([this](uint64_t count) { return pipe.receive(count); });
}

std::string error(std::string_view text) { return concat(R"({"error":")", text, "\"}"); }

Region::Region(const std::string &regionName) : name(regionName)
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

uint16_t Region::pixel(uint64_t index) const
{
    uint16_t value = 0;
    std::memcpy(&value, bytes(2, index * 2).data(), 2);
    return value;
}

void Region::fill(char byte) { std::memset(region_.view(), byte, region_.viewSize()); }

bool Region::isReachable()
{
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
