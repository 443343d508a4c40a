#include "catalogue.h"
#include "measure.h"
#include "platform/command_line_windows.h"
#include "platform/files.h"
#include "platform/handle_windows.h"
#include "platform/wide_text_windows.h"
#include "recordings.h"
#include "trips.h"

#include <windows.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace tavu::bench {

namespace {

namespace fs = std::filesystem;
using Arguments = std::vector<std::string>;

fs::path ownPath()
{
    wchar_t path[MAX_PATH];
    return {path, path + GetModuleFileNameW(nullptr, path, MAX_PATH)};
}

/// A program beside this one; killed at the end. Its output goes nowhere.
class Process
{
public:
    explicit Process(Arguments words)
    {
        const std::wstring program = ownPath().parent_path() / (words.at(0) + ".exe");
        std::wstring line = commandLine(words);
        STARTUPINFOW startup = {};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        PROCESS_INFORMATION process = {};
        if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                            nullptr, &startup, &process))
            throw std::runtime_error("can't start " + words.at(0));
        CloseHandle(process.hThread);
        process_.reset(process.hProcess);
    }
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;
    ~Process()
    {
        TerminateProcess(process_.get(), 1);
        WaitForSingleObject(process_.get(), INFINITE);
    }

private:
    Handle process_;
};

/// The folder of the emulated device, which must not be there yet, and isn't at the end.
class DataFolder
{
public:
    DataFolder() : root_(fs::path(wideText(userDataFolder())) / "OREK Systems" / "TAVU")
    {
        if (fs::exists(root_))
            throw std::runtime_error("recordings would be lost; first remove " +
                                     narrowText(root_.native()));
        fs::create_directories(recordings());
    }
    DataFolder(const DataFolder &) = delete;
    DataFolder &operator=(const DataFolder &) = delete;
    ~DataFolder()
    {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }

    fs::path emulator() const { return root_ / "Emulator"; }
    fs::path recordings() const { return emulator() / "Emu"; }

private:
    fs::path root_;
};

// The peer: a thread for each client, one read for a request, one write for its reply.

/// Reads a frame, the first of its file, and answers; false when the client has gone.
bool answer(HANDLE client, HANDLE file, std::vector<char> &frame, const std::vector<char> &reply)
{
    char request[4096];
    DWORD moved = 0;
    OVERLAPPED begin = {};
    return ReadFile(client, request, sizeof request, &moved, nullptr) &&
           (frame.empty() ||
            ReadFile(file, frame.data(), static_cast<DWORD>(frame.size()), &moved, &begin)) &&
           WriteFile(client, reply.data(), static_cast<DWORD>(reply.size()), &moved, nullptr);
}

/// NAME REPLY_SIZE [FILE FRAME_SIZE]
void serveEcho(const Arguments &arguments)
{
    const std::wstring name = wideText("\\\\.\\pipe\\" + arguments.at(0));
    const std::vector<char> reply(std::stoul(arguments.at(1)));
    const bool readsFrames = arguments.size() > 2;
    const size_t frameSize = readsFrames ? std::stoul(arguments.at(3)) : 0;
    const Handle file(readsFrames ? CreateFileW(wideText(arguments[2]).c_str(), GENERIC_READ,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                OPEN_EXISTING, 0, nullptr)
                                  : nullptr);
    for (;;) {
        const HANDLE client = CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE,
                                               PIPE_UNLIMITED_INSTANCES, 0, 0, 0, nullptr);
        if (client == INVALID_HANDLE_VALUE)
            throw std::runtime_error("the peer can't listen");
        if (!ConnectNamedPipe(client, nullptr) && GetLastError() != ERROR_PIPE_CONNECTED)
            throw std::runtime_error("the peer can't accept");
        std::thread([&, client] {
            std::vector<char> frame(frameSize);
            while (answer(client, file.get(), frame, reply)) {
            }
            CloseHandle(client);
        }).detach();
    }
}

// The cases.

struct Case
{
    const char *name;
    int trips;
    std::vector<uint8_t> request;
    size_t replySize;
    Arguments frame; ///< the file and the size of the frame that the peer reads, if any
};

void bench(LocalSocket &service, const Case &entry)
{
    Arguments words = {"windows_bench", "--echo", "bench_echo", std::to_string(entry.replySize)};
    words.insert(words.end(), entry.frame.begin(), entry.frame.end());
    const Process peer(words);
    const auto peerSocket = connectedSocket("bench_echo");
    const Trip ours = tripOver(service, entry.request, entry.replySize),
               theirs = tripOver(*peerSocket, entry.request, entry.replySize);
    printRow(entry.name,
             compare(
                 21, [&] { return medianTrip(ours, entry.trips); },
                 [&] { return medianTrip(theirs, entry.trips); }),
             1e6, "us", "-");
}

std::vector<uint8_t> request(Command command, std::initializer_list<client::Param> params)
{
    return client::encodeRequest(static_cast<uint32_t>(command), params);
}

void benchAll()
{
    constexpr uint32_t files = 1000;
    constexpr uint16_t width = 1280, height = 1024;
    const DataFolder folder;
    plantCatalogue(narrowText(folder.emulator().native()), files);
    SetEnvironmentVariableW(L"TAVUSRV_ENABLE_EMULATOR", L"1");
    const Process service({"tavusvc", "noautoclose"});
    LocalSocket &socket = *connectedSocket().release();
    client::Connection client{std::unique_ptr<Channel>(&socket)};
    const size_t listSize =
        encoded([](MessageWriter &writer) { writeFilesReply(writer, someFiles(files)); },
                files * kRoomPerFile)
            .size();
    const uint64_t device = 0, frame = 0;

    bench(socket,
          {"Windows: round trip of deviceCount", 200, request(Command::DeviceCount, {}), 16, {}});
    bench(socket, {"Windows: listFiles of 1,000 over the pipe",
                   1,
                   request(Command::ListFiles, {{"deviceId", device}}),
                   listSize,
                   {}});

    configure(client, width, height);
    const uint32_t fileId = recordFrames(client, 2).fileId;
    const uint64_t openFileId = client.openFile(0, fileId, 0).openFileId;
    client.readFrame(0, static_cast<uint32_t>(openFileId), frame);
    bench(socket, {"Windows: readFrame 1280x1024, warm",
                   50,
                   request(Command::ReadFrame,
                           {{"deviceId", device}, {"openFileId", openFileId}, {"frame", frame}}),
                   1,
                   {narrowText((folder.recordings() / std::to_string(fileId)).native()),
                    std::to_string(width * height * 2)}});
}

} // namespace

} // namespace tavu::bench

/// windows_bench [--quick]
int main(int argumentCount, char **arguments)
{
    using namespace tavu::bench;
    try {
        const Arguments words(arguments + 1, arguments + argumentCount);
        const std::string first = words.empty() ? "" : words[0];
        if (first == "--echo") {
            serveEcho(Arguments(words.begin() + 1, words.end()));
            return 0;
        }
        if (first == "--quick")
            measureQuickly();
        benchAll();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "windows_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
