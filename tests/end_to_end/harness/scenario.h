#pragma once

#include "recording.h"

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tavu::test {

/// What clients do with device 0 all day: pair, record, rename, play, watch, remove. It keeps a
/// list of what the service has confirmed, for tests that let something fail meanwhile. Frames are
/// 16 by 3.
class Scenario
{
public:
    static constexpr uint32_t kWidth = 16, kHeight = 3;

    /// \a frame returns the bytes that the frame of a number must have.
    explicit Scenario(std::function<Bytes(uint64_t)> frame) : frame_(std::move(frame)) {}

    /// Requests may be refused. A closed connection raises std::runtime_error.
    void tryAll(Client &client) { run(client, true); }

    /// Ends what a former try has left open, and does it all: no request may be refused.
    void doAll(Client &client)
    {
        client.call("stopLive", "P");
        // A recording whose stop was refused still runs, and can be stopped now.
        if (client.call("stopRecording", "D") == "{}")
            keepStopped(client);
        run(client, false);
    }

    /// Expects the list to hold what was confirmed and not what was removed, and plays all of it.
    void check(Client &client)
    {
        Recordings listed = list(client);
        for (const auto &[ids, kept] : kept_) {
            EXPECT_EQ(listed[ids].frames, kept.frames) << ids;
            EXPECT_TRUE(kept.name.empty() || listed[ids].name == kept.name) << ids;
        }
        client_ = &client;
        mayFail_ = false;
        for (const auto &[ids, file] : listed)
            play(ids, file.frames);
    }

    /// Whether a fault may have cost a recording frames.
    std::function<bool()> losesFrames = [] { return false; };

private:
    struct Recording
    {
        std::string name;    ///< empty when it may be either, since an edit was refused
        uint64_t frames = 0; ///< none when it was removed
    };
    using Recordings = std::map<std::string, Recording>; ///< by idsOf()

    static Recordings list(Client &client)
    {
        Recordings recordings;
        const Value reply = client.result("listFiles", "D");
        for (const auto &[key, file] : reply["files"].members)
            recordings[idsOf(file)] = {file["name"].string, file["numFrames"].number};
        return recordings;
    }

    /// Notes the recording that was just stopped, and returns its ids. One without a frame is gone
    /// after a restart of the service: it isn't noted, and has no ids here.
    std::string keepStopped(Client &client)
    {
        std::string ids = idsOf(client.result("recordingFile", "P"));
        kept_.erase(ids);
        const Recording recording = list(client)[ids];
        if (recording.frames == 0)
            return {};
        kept_[ids] = recording;
        return ids;
    }

    std::optional<Value> ask(std::string_view command, std::string_view params)
    {
        client_->request(command, params);
        Value reply = client_->reply();
        if (!reply.text.starts_with(R"({"error":)"))
            return reply.members.empty() ? reply : reply["result"];
        EXPECT_TRUE(mayFail_) << command << ' ' << params << ": " << reply.text;
        return std::nullopt;
    }

    std::string record(uint64_t frames)
    {
        if (!ask("startRecording", recordingOf(1, concat("type=1 count=", frames))))
            return {};
        const std::string done = R"({"result":{"done":true}})";
        EXPECT_TRUE(waitUntil([&] { return client_->call("isRecordingDone", "D") == done; }));
        if (!ask("stopRecording", "D"))
            return {};
        Recordings before = kept_;
        std::string ids = keepStopped(*client_);
        EXPECT_EQ(before[ids].frames, 0u) << ids << " has been given away";
        EXPECT_TRUE(losesFrames() || (!ids.empty() && kept_[ids].frames == frames)) << ids;
        return ids;
    }

    void edit(std::string_view command, const std::string &ids, const std::string &params)
    {
        Recording &kept = kept_[ids];
        kept.name.clear();
        const std::string name = concat(command, ' ', ids);
        if (const auto done = ask(command, concat(ids, " name='", name, "' notify=false", params)))
            kept.name = done->members.empty() ? name : (*done)["name"].string;
    }

    void play(const std::string &ids, uint64_t frames)
    {
        const std::optional<Value> opened = frames > 0 ? ask("openFile", ids) : std::nullopt;
        if (!opened)
            return;
        const std::string slot = concat("D openFileId=", (*opened)["openFileId"].number);
        const Region region(*opened);
        for (uint64_t frame = 0; frame < frames; frame++) {
            const bool came = ask("readFrame", concat(slot, " frame=", frame)).has_value();
            EXPECT_TRUE(mayFail_ || (came && region.bytes(kWidth * kHeight * 2) == frame_(frame)))
                << ids << ' ' << frame;
        }
        ask("closeFile", slot);
    }

    void run(Client &client, bool mayFail)
    {
        client_ = &client;
        mayFail_ = mayFail;
        ask("pairPort", "P identity='Cam' info=#0102 numFramesPerPacket=3");
        ask("setPortConfig", "P width=16 height=3 pixelFormat=5 tapGeometry=0");
        const std::string first = record(3), second = record(1);
        if (!first.empty())
            edit("renameFile", first, "");
        if (!second.empty())
            edit("setFileInfo", second,
                 " width=16 height=3 numImages=1 numDroppedFrames=0 duration=7");
        for (const std::string &ids : {first, second})
            play(ids, ids.empty() ? 0 : kept_[ids].frames);
        if (ask("startLive", "P")) {
            ask("liveFrame", "P");
            ask("stopLive", "P");
        }
        // A removal that is refused may have removed it all the same.
        if (kept_.erase(first) && ask("removeFile", first))
            kept_[first] = {};
    }

    std::function<Bytes(uint64_t)> frame_;
    Client *client_ = nullptr;
    bool mayFail_ = false;
    Recordings kept_;
};

} // namespace tavu::test
