#include "protocol/request_loop.h"
#include "encoding/message_reader.h"
#include "encoding/message_writer.h"
#include "encoding/read_ahead.h"
#include "encoding/write_behind.h"
#include "platform/diagnostics.h"
#include "protocol/commands.h"
#include "wire/names.h"

#include <array>
#include <cstring>
#include <stdexcept>

namespace tavu {

namespace {

/// One connection's side of the conversation. A request is taken in by one read, as a rule, and a
/// reply goes out by one write: each crossing into the system costs more than all the work between.
class RequestLoop
{
public:
    explicit RequestLoop(Session &session) : session_(session), replies_(session.client.channel) {}

    void serveNext();

private:
    void checkVersion(const ObjectValue &request);
    void execute(const ObjectValue &request);
    void run(const Handler &handler, const ObjectValue &request);
    void fail(const char *text);

    Session &session_;
    bool handshakeDone_ = false;
    std::array<uint8_t, 4096> arrived_;
    ReadAhead requests_{[this](void *buffer, uint64_t byteCount) {
                            return session_.client.channel.readSome(buffer, byteCount);
                        },
                        arrived_};
    WriteBehind replies_;
    MessageReader reader_{requests_};
    MessageWriter writer_{replies_};
};

void RequestLoop::serveNext()
{
    ObjectValue request;
    reader_.readObject(request);
    if (request.type() != ObjectType::Map)
        throw std::runtime_error("Expected map when reading top level object.");
    const char *action = request.mapAt("act").asString();
    if (std::strcmp(action, "verCheck") == 0) {
        checkVersion(request);
        return;
    }
    if (std::strcmp(action, "exec") != 0)
        throw std::runtime_error("Unrecognized action.");
    if (!handshakeDone_)
        throw std::runtime_error("First command must be version check.");
    execute(request);
}

void RequestLoop::checkVersion(const ObjectValue &request)
{
    if (request.mapAt("ver").asPositive() != kProtocolVersion) {
        fail("Unsupported version.");
        return;
    }
    writeResult(writer_, 1);
    writer_.writeString("ver");
    writer_.writeUint(kProtocolVersion);
    replies_.flush();
    handshakeDone_ = true;
}

void RequestLoop::execute(const ObjectValue &request)
{
    const uint64_t ordinal = request.mapAt("ord").asPositive();
    if (const Handler *handler = findHandler(ordinal))
        run(*handler, request);
    else
        fail("Unrecognized function.");
}

/// A fault inside a command costs the client an error reply and nothing else.
void RequestLoop::run(const Handler &handler, const ObjectValue &request)
{
    Reply reply;
    try {
        reply = handler.serve(session_, request);
    } catch (...) {
        const char *text = session_.devices.failureText();
        if (!text)
            throw;
        if (handler.echoesFailure)
            printLine(stderr, "%s\n", text);
        fail(text);
        return;
    }
    reply.write(writer_);
    replies_.flush();
}

/// Answers with an error, and then says so on standard output.
void RequestLoop::fail(const char *text)
{
    writeError(writer_, text);
    replies_.flush();
    printLine(stdout, "ResponseError: %s\n", text);
}

} // namespace

void runRequestLoop(Session &session)
{
    RequestLoop loop(session);
    for (;;)
        loop.serveNext();
}

} // namespace tavu
