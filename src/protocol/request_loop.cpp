#include "protocol/request_loop.h"
#include "encoding/message_reader.h"
#include "encoding/message_writer.h"
#include "platform/diagnostics.h"
#include "protocol/commands.h"
#include "wire/names.h"

#include <cstring>
#include <stdexcept>

namespace tavu {

namespace {

/// One connection's side of the conversation.
class RequestLoop
{
public:
    explicit RequestLoop(Session &session)
        : session_(session), reader_(session.client.stream), writer_(session.client.stream)
    {
    }

    void serveNext();

private:
    void checkVersion(const ObjectValue &request);
    void execute(const ObjectValue &request);
    void run(const Handler &handler, const ObjectValue &request);

    Session &session_;
    MessageReader reader_;
    MessageWriter writer_;
    bool handshakeDone_ = false;
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
        sendError(writer_, "Unsupported version.");
        return;
    }
    sendResult(writer_, 1);
    writer_.writeString("ver");
    writer_.writeUint(kProtocolVersion);
    handshakeDone_ = true;
}

void RequestLoop::execute(const ObjectValue &request)
{
    const uint64_t ordinal = request.mapAt("ord").asPositive();
    if (const Handler *handler = findHandler(ordinal))
        run(*handler, request);
    else
        sendError(writer_, "Unrecognized function.");
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
        sendError(writer_, text);
        return;
    }
    reply.write(writer_);
}

} // namespace

void runRequestLoop(Session &session)
{
    RequestLoop loop(session);
    for (;;)
        loop.serveNext();
}

} // namespace tavu
