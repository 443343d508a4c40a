#include "catalogue.h"
#include "measure.h"
#include "peers/msgpack_codec.h"

#include "encoding/mem_stream.h"
#include "encoding/message_reader.h"
#include "encoding/message_writer.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string_view>
#include <utility>

namespace tavu::bench {

namespace {

using Message = std::vector<unsigned char>;

constexpr int kRounds = 31;
constexpr uint32_t kFiles = 10'000;

ObjectValue startRecordingRequest()
{
    ObjectValue params = ObjectValue::map(7);
    params.mapAppend("deviceId", ObjectValue::positive(0));
    params.mapAppend("portMask", ObjectValue::positive(3));
    params.mapAppend("externalTrigger", ObjectValue::positive(0));
    params.mapAppend("type", ObjectValue::positive(1));
    params.mapAppend("count", ObjectValue::positive(9000));
    params.mapAppend("usePretrigger", ObjectValue::boolean(false));
    params.mapAppend("pretriggerCount", ObjectValue::positive(0));
    ObjectValue request = ObjectValue::map(3);
    request.mapAppend("act", ObjectValue::string("exec"));
    request.mapAppend("ord", ObjectValue::positive(42));
    request.mapAppend("params", std::move(params));
    return request;
}

ObjectValue decoded(const Message &message)
{
    MemStream stream(const_cast<unsigned char *>(message.data()), message.size());
    ObjectValue value;
    MessageReader(stream).readObject(value);
    return value;
}

/// Encodes into a fresh buffer, as the peer does.
size_t encode(const std::function<void(MessageWriter &)> &write, size_t room)
{
    const std::unique_ptr<unsigned char[]> buffer(new unsigned char[room]);
    MemStream stream(buffer.get(), room);
    MessageWriter writer(stream);
    write(writer);
    return room - static_cast<size_t>(stream.remaining());
}

void requireSame(size_t ours, size_t peers)
{
    if (ours != peers) {
        std::fprintf(stderr, "The two sides write %zu and %zu bytes.\n", ours, peers);
        std::exit(1);
    }
}

/// Processor seconds for one of \a times: neither side waits for anything, and so another program
/// that takes the processor away doesn't count.
double secondsEach(int times, const std::function<void()> &work)
{
    const std::clock_t begin = std::clock();
    for (int i = 0; i < times; ++i)
        work();
    return double(std::clock() - begin) / CLOCKS_PER_SEC / times;
}

void compareDecoding(const char *name, const Message &message, int times, double scale,
                     const char *unit)
{
    const Comparison result = compare(
        kRounds, [&] { return secondsEach(times, [&] { decoded(message); }); },
        [&] { return secondsEach(times, [&] { unpackWithMsgpack(message); }); });
    printRow(name, result, scale, unit, "<= 0.60");
}

void compareEncoding(const char *name, size_t room,
                     const std::function<void(MessageWriter &)> &write,
                     const std::function<size_t()> &pack)
{
    requireSame(encode(write, room), pack());
    const Comparison result = compare(
        kRounds, [&] { return secondsEach(1, [&] { encode(write, room); }); },
        [&] { return secondsEach(1, [&] { pack(); }); });
    printRow(name, result, 1e3, "ms", "<= 0.70");
}

} // namespace

} // namespace tavu::bench

int main(int argumentCount, char **arguments)
{
    using namespace tavu;
    using namespace tavu::bench;

    if (argumentCount > 1 && std::string_view(arguments[1]) == "--quick")
        measureQuickly();
    const auto files = someFiles(kFiles);
    const size_t room = kFiles * kRoomPerFile;
    const auto writeTyped = [&](MessageWriter &writer) { writeFilesReply(writer, files); };
    const Message request =
        encoded([](MessageWriter &writer) { writer.writeObject(startRecordingRequest()); }, 1024);
    const Message list = encoded(writeTyped, room);
    const ObjectValue tree = decoded(list);
    const MsgpackTree peerTree(list);

    compareDecoding("decode a startRecording request", request, 1000, 1e9, "ns");
    compareDecoding("decode a list of 10,000 files", list, 1, 1e3, "ms");
    compareEncoding(
        "encode that list from a tree", room,
        [&](MessageWriter &writer) { writer.writeObject(tree); }, [&] { return peerTree.pack(); });
    compareEncoding("encode that list call by call", room, writeTyped,
                    [&] { return packFilesWithMsgpack(files); });
    return 0;
}
