#pragma once

#include "client/connection.h"
#include "support/wire.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tavu::client {

/// What a test sees of both sides of a channel, also after the connection that owns it.
struct Script
{
    std::deque<std::string> replies;     ///< one for each request to come
    std::vector<std::string> requests{}; ///< each write as it came
    uint64_t reads = 0;                  ///< calls of readSome()
    size_t pieceSize = 1 << 20;          ///< the most bytes that a read gets at a time
    bool closed = false;
};

/// A service that answers each request with the next scripted reply, and is gone after the last.
class ScriptedService final : public Channel
{
public:
    explicit ScriptedService(std::shared_ptr<Script> script) : script_(std::move(script)) {}

    uint64_t read(void *, uint64_t) override { return 0; }
    uint64_t readSome(void *buffer, uint64_t byteCount) override
    {
        ++script_->reads;
        const size_t count =
            pending_.copy(static_cast<char *>(buffer),
                          std::min(static_cast<size_t>(byteCount), script_->pieceSize), position_);
        position_ += count;
        return count;
    }

    uint64_t write(const void *buffer, uint64_t byteCount) override
    {
        if (script_->closed || script_->replies.empty())
            return 0;
        script_->requests.emplace_back(static_cast<const char *>(buffer), byteCount);
        pending_ = std::move(script_->replies.front());
        position_ = 0;
        script_->replies.pop_front();
        return byteCount;
    }

    void close() override { script_->closed = true; }

private:
    std::shared_ptr<Script> script_;
    std::string pending_;
    size_t position_ = 0;
};

/// A connection past its handshake, with the replies that will come.
struct Scripted
{
    explicit Scripted(const std::vector<std::string> &replies)
    {
        script->replies.assign(replies.begin(), replies.end());
        script->replies.push_front(test::encode("{'result':{'ver':0}}"));
        connection = std::make_unique<Connection>(std::make_unique<ScriptedService>(script));
    }

    std::shared_ptr<Script> script = std::make_shared<Script>();
    std::unique_ptr<Connection> connection;
};

} // namespace tavu::client
