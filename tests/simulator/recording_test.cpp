#include "lab.h"

#include <cstdlib>
#include <map>
#include <vector>

namespace tavu {
namespace {

using Quillon::ParameterValue;

struct FileAndStream
{
    uint32_t file = 0;
    uint32_t stream = 0;
};

/// A recorder whose frames are small and come fast.
class RecordingLab : public StorageLab
{
public:
    explicit RecordingLab(const std::string &more = "")
        : StorageLab("ports = 2\ndrives = 3\ncluster size = 1K\ndrive size = 1M\n"
                     "drive sets = 1\nrecovery time = 1\n" +
                     more + "\n[ports]\nframe rate = 500\nframe size = 23x17\n")
    {
    }

    boost::shared_ptr<Quillon::Record> record() const { return device(0)->record(); }
    Quillon::Record::Status status(uint32_t index = 0) const
    {
        return *record()->status(port(index));
    }
    boost::shared_ptr<Quillon::TriggerElement> control() const
    {
        return device(0)->triggerBank()->element(19, 0);
    }
    void program(const std::map<const char *, ParameterValue> &settings) const
    {
        for (const auto &[name, value] : settings)
            control()->parameter(name)->set(value);
    }

    /// Returns the stream ids.
    std::vector<uint32_t> startRecording(const std::vector<uint32_t> &ports) const
    {
        std::vector<uint32_t> streams;
        for (const uint32_t index : ports) {
            record()->attachDriveSet(set(), port(index));
            streams.push_back(record()->addPort(port(index), 1, index + 1, {}, ""));
        }
        record()->start(0);
        return streams;
    }
    uint32_t stopRecording(uint32_t index = 0) const { return record()->stopPort(port(index), 0); }

    boost::shared_ptr<Quillon::FrameSequence> frames(const FileAndStream &place) const
    {
        return set()->openFile(place.file)->streamById(place.stream)->frames(0, 0, false, false);
    }

    /// Checks each pixel of each frame, and returns their count.
    uint64_t checkFrames(const FileAndStream &place, uint32_t portNumber) const
    {
        const auto sequence = frames(place);
        boost::shared_ptr<Common::Frame> frame;
        const uint64_t count = sequence->frameCount();
        for (uint64_t number = 0; number < count; ++number) {
            sequence->readFrames(frame, number, 1);
            EXPECT_TRUE(frame && frame->buffer()->size() == 23u * 17 * 2);
            const auto *pixels = static_cast<const uint16_t *>(frame->buffer()->data());
            EXPECT_EQ(pixels[0], portNumber);
            EXPECT_EQ(pixels[1] | uint64_t(pixels[2]) << 16, number);
            for (uint32_t i = 5; i < 23 * 17; ++i)
                EXPECT_EQ(pixels[i], uint16_t(i % 23 + i / 23 + 8 * number + 4096 * portNumber));
        }
        sequence->readFrames(frame, count, 1);
        EXPECT_FALSE(frame);
        return count;
    }

    void complete(uint32_t file) const
    {
        set()->openFile(file)->writeMetadata(Common::Buffer::create("done", 4));
    }
    bool repair(uint32_t file) const
    {
        const auto job = set()->recover(file);
        EXPECT_TRUE(eventually([&] { return job->isFinished(); }));
        return job->isSuccessful();
    }
};

const std::map<const char *, ParameterValue> kWaitingForStart = {
    {"Start Enable", ParameterValue::boolean(true)},
    {"Pretrigger Enable", ParameterValue::boolean(true)},
    {"Pretrigger Loop Time Value", ParameterValue::uint64(100000)},
};

TEST(RecordingTest, EndsByItsConditions)
{
    const struct
    {
        std::map<const char *, ParameterValue> settings;
        uint64_t frames;
    } cases[] = {
        {{{"Stop Frame Count Enable", ParameterValue::boolean(true)},
          {"Stop Frame Count Value", ParameterValue::uint32(70)}},
         70},
        {{{"Stop Frame Count Value", ParameterValue::uint32(0)}}, 0},
        {{{"Stop Frame Count Enable", ParameterValue::boolean(false)},
          {"Stop Time Enable", ParameterValue::boolean(true)},
          {"Stop Time Value", ParameterValue::uint64(200000)}},
         100},
    };
    for (const bool isShared : {false, true}) {
        RecordingLab lab(isShared ? "shared file = yes" : "");
        lab.start();
        for (const auto &each : cases) {
            lab.program(each.settings);
            const std::vector<uint32_t> streams = lab.startRecording({0, 1});
            EXPECT_TRUE(eventually([&] {
                return lab.status(0).isRecordingFinished() && lab.status(1).isRecordingFinished();
            }));
            EXPECT_EQ(lab.status(0).state, 4u);
            EXPECT_EQ(lab.set()->incompleteFileId(), 0u) << "it isn't stopped yet";
            const uint32_t files[] = {lab.stopRecording(0), lab.stopRecording(1)};
            EXPECT_EQ(files[0] == files[1], isShared);
            for (uint32_t i = 0; i < 2; ++i) {
                EXPECT_EQ(lab.checkFrames({files[i], streams[i]}, i + 1), each.frames);
                EXPECT_EQ(lab.status(i).frames, each.frames);
                EXPECT_EQ(lab.set()->openFile(files[i])->streamCount(), isShared ? 2u : 1u);
                lab.complete(files[i]);
            }
            EXPECT_EQ(lab.status(0).state, 0u);
            EXPECT_EQ(lab.stopRecording(0), 0u);
        }
    }
}

TEST(RecordingTest, KeepsThePretriggerLoop)
{
    RecordingLab lab;
    lab.start();
    lab.program(kWaitingForStart);
    lab.program({{"Stop Time Enable", ParameterValue::boolean(true)},
                 {"Stop Time Value", ParameterValue::uint64(100000)}});
    const auto bank = lab.device(0)->triggerBank();
    lab.control()->connectInput(bank->element(0, 0), 0, false);
    const std::vector<uint32_t> streams = lab.startRecording({0});
    EXPECT_TRUE(eventually([&] { return lab.status().frames >= 40; }));
    EXPECT_EQ(lab.status().state, 2u);
    // The loop fills the time already, so that nothing is waited for: those are its frames.
    lab.program({{"Software Start Trigger", ParameterValue::boolean(true)}});
    EXPECT_TRUE(eventually([&] { return lab.status().isRecordingFinished(); }));
    EXPECT_EQ(lab.checkFrames({lab.stopRecording(), streams[0]}, 1), 50u);
    EXPECT_NE(libraryErrorOf([&] { lab.program({{"Stop", ParameterValue::boolean(true)}}); }), "");
    EXPECT_NE(libraryErrorOf([&] {
                  lab.program({{"Stop Enable", ParameterValue::uint32(1)}});
              }),
              "");
    EXPECT_NE(libraryErrorOf([&] { bank->element(19, 1); }), "");
}

TEST(RecordingTest, ObeysTheExternalInput)
{
    RecordingLab lab;
    lab.start();
    const std::string description = readFile(lab.folder.path / "bench" / "recorder.conf");
    const auto setLevel = [&](const char *level) {
        lab.describe("bench", std::string("external input = ") + level + "\n" + description);
    };
    const auto external = lab.device(0)->triggerBank()->element(2, 0);
    lab.control()->connectInput(external, 0, false);
    lab.control()->connectInput(external, 1, true);
    lab.program({{"Start Enable", ParameterValue::boolean(true)},
                 {"Stop Enable", ParameterValue::boolean(true)},
                 {"Pretrigger Enable", ParameterValue::boolean(false)}});
    const std::vector<uint32_t> streams = lab.startRecording({1});
    lab.program({{"Software Start Trigger", ParameterValue::boolean(true)}});
    EXPECT_EQ(lab.status(1).state, 1u);
    setLevel("high");
    EXPECT_TRUE(eventually([&] { return lab.status(1).frames > 5; }));
    EXPECT_EQ(lab.status(1).state, 3u);
    setLevel("low");
    EXPECT_TRUE(eventually([&] { return lab.status(1).isRecordingFinished(); }));
    EXPECT_EQ(lab.checkFrames({lab.stopRecording(1), streams[0]}, 2), lab.status(1).frames);
}

TEST(RecordingTest, WaitsForItsCameraAndEndsWithItsRecorder)
{
    RecordingLab lab("[port 1]\nsilent = yes\n[port 2]\nno file = yes");
    lab.start();
    EXPECT_NE(libraryErrorOf([&] {
                  lab.record()->addPort(lab.port(0), 1, 1, {}, "");
                  lab.record()->start(0);
              }),
              "")
        << "no drive set is attached";
    EXPECT_EQ(lab.stopRecording(0), 0u) << "it never began";
    lab.startRecording({0, 1});
    EXPECT_TRUE(eventually([&] { return lab.status(1).frames > 5; }));
    EXPECT_EQ(lab.stopRecording(1), 0u);
    EXPECT_EQ(lab.status(0).frames, 0u);
    const auto one = Common::Buffer::create("\0\0\0\1", 4);
    lab.port(0)->writeMemory(one, 0x8000, 0);
    EXPECT_TRUE(eventually([&] { return lab.status(0).frames > 5; }));

    const std::string description = readFile(lab.folder.path / "bench" / "recorder.conf");
    lab.describe("bench", "connected = no\n" + description);
    EXPECT_TRUE(eventually([&] { return lab.device(0)->connectionState() != 0; }));
    EXPECT_NE(libraryErrorOf([&] { lab.set(); }), "");
    lab.describe("bench", description);
    EXPECT_TRUE(eventually([&] { return lab.device(0)->connectionState() == 0; }));
    EXPECT_TRUE(lab.status(0).isRecordingFinished());
    EXPECT_EQ(lab.set()->incompleteFileId(), 1u);
}

} // namespace
} // namespace tavu
