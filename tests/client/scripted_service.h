#pragma once

#include "client/connection.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace tavu::client {

using Wire = std::vector<uint8_t>;

/// What a test sees of both sides of a channel, also after the connection that owns it.
struct Script
{
    std::deque<Wire> replies;   ///< one for each request to come
    std::vector<Wire> requests; ///< each write as it came
    uint64_t reads = 0;         ///< that had to wait for the channel
    size_t pieceSize = 1 << 20; ///< the most bytes that a read gets at a time
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
        const size_t count = std::min(
            {static_cast<size_t>(byteCount), pending_.size() - position_, script_->pieceSize});
        if (count > 0)
            std::memcpy(buffer, pending_.data() + position_, count);
        position_ += count;
        return count;
    }

    uint64_t write(const void *buffer, uint64_t byteCount) override
    {
        if (script_->closed || script_->replies.empty())
            return 0;
        const auto *bytes = static_cast<const uint8_t *>(buffer);
        script_->requests.emplace_back(bytes, bytes + byteCount);
        pending_ = std::move(script_->replies.front());
        position_ = 0;
        script_->replies.pop_front();
        return byteCount;
    }

    void close() override { script_->closed = true; }

private:
    std::shared_ptr<Script> script_;
    Wire pending_;
    size_t position_ = 0;
};

inline const Wire kHandshakeReply = {0x81, 0xA6, 'r',  'e', 's', 'u', 'l',
                                     't',  0x81, 0xA3, 'v', 'e', 'r', 0x00};

/// A connection past its handshake, with the replies that will come.
struct Scripted
{
    explicit Scripted(std::vector<Wire> replies)
    {
        script->replies.push_back(kHandshakeReply);
        script->replies.insert(script->replies.end(), replies.begin(), replies.end());
        connection = std::make_unique<Connection>(std::make_unique<ScriptedService>(script));
    }

    std::shared_ptr<Script> script = std::make_shared<Script>();
    std::unique_ptr<Connection> connection;
};

/// The bytes of some text, for wire data that is easier to read that way.
inline Wire wire(std::string_view text)
{
    return Wire(text.begin(), text.end());
}

inline Wire operator+(Wire left, const Wire &right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

} // namespace tavu::client
