#include "service_process.h"

#include "encoding/memory_sink.h"
#include "encoding/message_reader.h"
#include "encoding/message_writer.h"
#include "measure.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tavu::bench {

namespace {

std::vector<uint8_t> encode(const char *action, const char *numberKey, uint64_t number,
                            const ObjectValue *params)
{
    MemorySink sink;
    MessageWriter writer(sink);
    writer.writeMapHeader(params ? 3 : 2);
    writer.writeString("act");
    writer.writeString(action);
    writer.writeString(numberKey);
    writer.writeUint(number);
    if (params) {
        writer.writeString("params");
        writer.writeObject(*params);
    }
    return sink.take();
}

ObjectValue toMap(Params params)
{
    ObjectValue map = ObjectValue::map();
    for (const auto &[key, value] : params)
        map.mapAppend(key, ObjectValue::positive(value));
    return map;
}

} // namespace

Workplace::Workplace(const std::filesystem::path &root)
{
    std::string pattern = root / "tavu_bench_XXXXXX";
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error("no folder can be made at " + pattern);
    path_ = pattern;
    ::setenv("XDG_RUNTIME_DIR", path_.c_str(), 1);
    ::setenv("XDG_DATA_HOME", path_.c_str(), 1);
    ::setenv("TAVUSRV_ENABLE_EMULATOR", "1", 1);
    std::filesystem::create_directories(recordings());
}

Workplace::~Workplace()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path Workplace::emulator() const
{
    return path_ / "OREK Systems" / "TAVU" / "Emulator";
}

pid_t startProgram(const std::vector<std::string> &arguments)
{
    std::vector<char *> pointers;
    for (const std::string &argument : arguments)
        pointers.push_back(const_cast<char *>(argument.c_str()));
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO})
        ::posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int error = ::posix_spawn(&pid, pointers[0], &actions, nullptr, pointers.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("can't start " + arguments[0]);
    return pid;
}

std::string programPath(const std::string &name)
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / name;
}

ServiceProcess::ServiceProcess() : pid_(startProgram({programPath("tavusvc"), "noautoclose"})) {}

ServiceProcess::~ServiceProcess()
{
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
}

double startService()
{
    std::optional<ServiceProcess> service;
    return secondsOf([&] {
        service.emplace();
        Client client;
    });
}

std::vector<uint8_t> encodeRequest(uint64_t ordinal, Params params)
{
    const ObjectValue map = toMap(params);
    return encode("exec", "ord", ordinal, &map);
}

Client::Client()
{
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!socket_.connect("tavusrv")) {
        if (std::chrono::steady_clock::now() > limit)
            throw std::runtime_error("the service doesn't come up");
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    send(encode("verCheck", "ver", 0, nullptr));
    receive();
}

void Client::send(const std::vector<uint8_t> &request)
{
    if (socket_.write(request.data(), request.size()) != request.size())
        throw std::runtime_error("the service has gone");
}

ObjectValue Client::receive()
{
    ObjectValue reply;
    MessageReader(socket_).readObject(reply);
    if (reply.mapContains("error"))
        throw std::runtime_error(reply.mapAt("error").asString());
    return reply.mapContains("result") ? std::move(reply.mapAt("result")) : ObjectValue();
}

ObjectValue Client::call(uint64_t ordinal, Params params)
{
    send(encodeRequest(ordinal, params));
    return receive();
}

ObjectValue Client::call(uint64_t ordinal, const ObjectValue &params)
{
    send(encode("exec", "ord", ordinal, &params));
    return receive();
}

void configure(Client &client, uint16_t width, uint16_t height, uint8_t port)
{
    ObjectValue pairing = toMap({{"deviceId", 0}, {"port", port}, {"numFramesPerPacket", 1}});
    pairing.mapAppend("identity", ObjectValue::string("bench"));
    pairing.mapAppend("info", ObjectValue::blob("", 0));
    client.call(34, pairing);
    client.call(41, {{"deviceId", 0},
                     {"port", port},
                     {"width", width},
                     {"height", height},
                     {"pixelFormat", 0},
                     {"tapGeometry", 0}});
}

std::pair<uint64_t, uint64_t> recordFrames(Client &client, int frames)
{
    ObjectValue params = toMap({{"deviceId", 0},
                                {"portMask", 1},
                                {"externalTrigger", 0},
                                {"type", 1},
                                {"count", static_cast<uint64_t>(frames)},
                                {"pretriggerCount", 0}});
    params.mapAppend("usePretrigger", ObjectValue::boolean(false));
    client.call(42, params);
    while (!client.call(45).mapAt("done").asBool())
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    client.call(43);
    const ObjectValue file = client.call(46, {{"deviceId", 0}, {"port", 0}});
    return {file.mapAt("fileId").asPositive(), file.mapAt("streamId").asPositive()};
}

} // namespace tavu::bench
