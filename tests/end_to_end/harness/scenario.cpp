#include "scenario.h"

#include <gtest/gtest.h>

namespace tavu::test {

namespace {

std::string idsOf(const Value &file)
{
    return concat("D fileId=", file["fileId"].number, " streamId=", file["streamId"].number);
}

} // namespace

std::optional<Value> Scenario::ask(uint64_t ordinal, std::string_view params)
{
    client_->request(ordinal, params);
    Value reply = client_->reply();
    if (reply.text.find(R"({"error":)") != 0)
        return reply.members.empty() ? reply : reply["result"];
    EXPECT_TRUE(mayFail_) << ordinal << ' ' << params << ": " << reply.text;
    return std::nullopt;
}

std::optional<Scenario::Ids> Scenario::keepStopped()
{
    const std::optional<Value> stopped = ask(46, "P");
    const std::optional<Value> list = ask(26, "D");
    if (!stopped || !list)
        return std::nullopt;
    const Ids ids = idsOf(*stopped);
    // One without a frame isn't kept beyond this run.
    for (const auto &[key, file] : (*list)["files"].members) {
        if (idsOf(file) == ids && file["numFrames"].number > 0) {
            kept_[ids] = {file["name"].string, file["numFrames"].number};
            return ids;
        }
    }
    kept_.erase(ids);
    return std::nullopt;
}

std::optional<Scenario::Ids> Scenario::record(uint64_t frames)
{
    if (!ask(42, concat("D portMask=1 externalTrigger=0 type=1 count=", frames,
                        " usePretrigger=false pretriggerCount=0")))
        return std::nullopt;
    EXPECT_TRUE(waitUntil([&] {
        const std::optional<Value> reply = ask(45, "D");
        return reply && (*reply)["done"].text == "true";
    }));
    const std::optional<Ids> ids = ask(43, "D") ? keepStopped() : std::nullopt;
    EXPECT_TRUE(ids ? kept_[*ids].frames == frames || mayFail_ : mayFail_);
    return ids;
}

void Scenario::edit(uint64_t ordinal, const Ids &ids, std::string_view params,
                    const std::string &name)
{
    Kept &kept = kept_[ids];
    kept.name.clear();
    if (const auto done = ask(ordinal, concat(ids, " name='", name, "' notify=false ", params)))
        kept.name = done->members.empty() ? name : (*done)["name"].string;
}

void Scenario::play(const Ids &ids, uint64_t frames)
{
    const std::optional<Value> opened = ask(27, ids);
    if (!opened)
        return;
    const std::string slot = concat("D openFileId=", (*opened)["openFileId"].number);
    const Region region(*opened);
    for (uint64_t frame = 0; frame < frames; frame++) {
        const bool came = ask(30, concat(slot, " frame=", frame)).has_value();
        EXPECT_TRUE(mayFail_ || (came && region.bytes(kWidth * kHeight * 2) == frame_(frame)))
            << ids << ' ' << frame;
    }
    ask(29, slot);
}

void Scenario::run()
{
    ask(34, "P identity='Cam' info=#0102 numFramesPerPacket=3");
    ask(41, concat("P width=", kWidth, " height=", kHeight, " pixelFormat=5 tapGeometry=0"));
    const std::optional<Ids> first = record(3), second = record(1);
    if (first)
        edit(48, *first, "", concat("renamed ", *first));
    if (second)
        edit(49, *second,
             concat("width=", kWidth, " height=", kHeight, " numImages=", kept_[*second].frames,
                    " numDroppedFrames=0 duration=7"),
             concat("edited ", *second));
    for (const std::optional<Ids> &ids : {first, second}) {
        if (ids)
            play(*ids, kept_[*ids].frames);
    }
    if (ask(52, "P")) {
        ask(54, "P");
        ask(53, "P");
    }
    if (first) {
        kept_.erase(*first); // may be there or not
        if (ask(31, *first))
            kept_[*first] = {};
    }
}

void Scenario::tryAll(Client &client)
{
    client_ = &client;
    mayFail_ = true;
    run();
}

void Scenario::doAll(Client &client)
{
    client_ = &client;
    // A stop that was refused can be asked for again. There may be nothing to stop, too.
    mayFail_ = true;
    ask(53, "P");
    if (ask(43, "D"))
        keepStopped();
    mayFail_ = false;
    run();
}

void Scenario::check(Client &client)
{
    client_ = &client;
    mayFail_ = false;
    std::map<Ids, Kept> listed;
    const Value list = client.result(26, "D");
    for (const auto &[key, file] : list["files"].members)
        listed[idsOf(file)] = {file["name"].string, file["numFrames"].number};
    for (const auto &[ids, kept] : kept_) {
        EXPECT_EQ(listed[ids].frames, kept.frames) << ids;
        EXPECT_TRUE(kept.name.empty() || listed[ids].name == kept.name)
            << ids << ": " << listed[ids].name << " is not " << kept.name;
    }
    for (const auto &[ids, file] : listed) {
        if (file.frames > 0)
            play(ids, file.frames);
    }
}

} // namespace tavu::test
