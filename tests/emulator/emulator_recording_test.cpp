#include "emulator/emulator_test.h"

#include "emulator/frame_header.h"

#include <array>

namespace tavu {
namespace {

namespace fs = std::filesystem;

std::string syntheticFrames(uint32_t width, uint32_t height, uint64_t count)
{
    std::string file;
    for (uint64_t frame = 0; frame < count; ++frame)
        file += expectedFrame(frame, width, height);
    return file;
}

TEST(FrameHeader, HasFixedBytesAndTime)
{
    constexpr uint64_t day = 86400000;
    const auto zeros = [](size_t digits) { return std::string(digits, '0'); };
    const std::pair<uint64_t, const char *> cases[] = {
        {day, "0400000000000000"},
        {day + 33, "040000000000e880"},
        {day + 999, "040000000f00583e"},
        {2 * day - 999, "0500fb7e0000e803"}, // 23:59:59.001
        {366 * day + 20 * 3600000, "0100004000000000"},
    };
    for (const auto &[clock, words] : cases) {
        const FrameHeader header = makeFrameHeader(clock, 0x01020304);
        EXPECT_EQ(
            std::string(header.begin(), header.end()),
            fromHex(concat("0f00", words, "0000aa7746777278d81d04030201d430000000003f00", zeros(24),
                           "983a00000000cd2d0300ff3f000000090301fc080e7822784078527a", zeros(36),
                           "0e000100", zeros(64))));
    }
}

TEST_F(EmulatorTest, WritesSyntheticFrames)
{
    const std::array<uint16_t, 4> cases[] = {
        {4, 4, 3, 3}, {10, 1, 2, 2}, {300, 301, 2, 2}, {1, 1, 0, 1}}; // the limit, the frames
    uint32_t fileId = 0;
    for (const auto &[width, height, count, frames] : cases) {
        prepare(width, height);
        ASSERT_EQ(record(count), ++fileId);
        EXPECT_EQ(file("Emu/" + std::to_string(fileId)), syntheticFrames(width, height, frames));
        const FileRecord record = device_->listFiles().back();
        EXPECT_EQ(record.port, "Emu");
        EXPECT_EQ(record.camera, "cam");
        EXPECT_EQ(record.numFrames, frames);
        EXPECT_EQ(record.size, 2u * width * height * frames);
        EXPECT_EQ(record.info.size(), 5u);
    }
    // 1023 ms is the first schedule time past one second, and its frame is still written.
    EXPECT_EQ(record(1000000, 2), 5u);
    EXPECT_EQ(progress(), 32u);
    restart();
    EXPECT_EQ(listed(), "1:1 2:2 3:3 4:4 5:5 ");
}

TEST_F(EmulatorTest, RecordsOnlyWhenAllIsReady)
{
    const auto startError = [&] { return errorOf([&] { start(1, 1); }); };
    const auto stopError = [&] { return errorOf([&] { device_->stopRecording(); }); };
    device_->setPortConfig(0, 2, 2, 0, 0);
    EXPECT_EQ(startError(), "Not paired/configured.");
    prepare(2, 2);
    device_->startRecording(1, 2, 1, 1, false, 0);
    EXPECT_EQ(stopError(), "Not recording");

    fs::create_directory(path_ / "Emu/.incomplete");
    EXPECT_FALSE(device_->hasIncompleteFile());
    EXPECT_EQ(startError(), "Failed to create file");
    fs::remove(path_ / "Emu/.incomplete");

    writeFile(path_ / "Emu/.incomplete", std::string(99, 'x'));
    EXPECT_EQ(startError(), "");
    ASSERT_TRUE(waitUntil([&] { return device_->isRecordingDone(); }));
    EXPECT_EQ(startError(), "Already recording");
    EXPECT_EQ(stopError(), "");
    EXPECT_EQ(stopError(), "Not recording");
    EXPECT_EQ(file("Emu/1").size(), 8u);
}

TEST_F(EmulatorTest, TheHeaderFollowsTheWidthThatTheFrameDoesNot)
{
    prepare(2, 300);
    start(0, 0);
    device_->setPortConfig(0, 100, 1, 0, 0);
    const uint64_t before = progress();
    ASSERT_TRUE(waitUntil([&] { return progress() > before + 1; }));
    EXPECT_FALSE(device_->isRecordingDone());
    device_->stopRecording();
    EXPECT_TRUE(device_->isRecordingDone());
    const FileRecord record = device_->listFiles()[0];
    EXPECT_EQ(record.width, 2);
    EXPECT_EQ(record.numFrames, progress());
    const size_t last = static_cast<size_t>(progress() - 1);
    EXPECT_EQ(file("Emu/1").substr(1200 * last, 126), expectedFrame(last, 100, 1).substr(0, 126));
}

TEST_F(EmulatorTest, AStopThatFailsStillEndsTheRecording)
{
    const auto stopError = [&] { return errorOf([&] { device_->stopRecording(); }); };
    const auto startError = [&] { return errorOf([&] { start(1, 1); }); };
    prepare(2, 2);
    start(1, 1);
    device_->setup();
    EXPECT_EQ(stopError(), "Internal error, lost file id");

    fs::create_directory(path_ / "Emu/1.meta");
    EXPECT_EQ(errorOf([&] { record(1); }),
              "Failed to open file: " + (path_ / "Emu" / "1.meta").string());
    EXPECT_EQ(listed(), "1:1 ");
    EXPECT_EQ(record(1), 2u);
    fs::remove(path_ / "Emu/1.meta");
    writeFile(path_ / "Emu/1.meta", file("Emu/2.meta"));

    // Frames whose final name is taken wait for a stop that can give it to them.
    fs::create_directory(path_ / "Emu/3");
    const std::string blocked =
        "Failed to rename file: " + (path_ / "Emu" / ".incomplete").string();
    EXPECT_EQ(errorOf([&] { record(1); }), blocked);
    EXPECT_EQ(stopError(), blocked);
    EXPECT_EQ(startError(), "Already recording");
    EXPECT_TRUE(device_->isRecordingDone() && device_->hasIncompleteFile());
    fs::remove(path_ / "Emu/3");
    EXPECT_EQ(stopError(), "");
    EXPECT_EQ(stopError(), "Not recording");

    // A frame file that is gone counts as an empty one.
    start(1, 1);
    device_->discardIncompleteFile();
    EXPECT_EQ(stopError(), "");
    EXPECT_EQ(device_->listFiles().back().size, 0u);

    // A start that fails leaves nothing, and what clients see of the last recording.
    fs::create_directory(path_ / ".files.new");
    EXPECT_EQ(startError(), "Failed to open file: " + (path_ / ".files").string());
    EXPECT_FALSE(device_->hasIncompleteFile());
    uint32_t fileId, streamId;
    device_->recordingFile(0, fileId, streamId);
    EXPECT_EQ(fileId, 4u);
    EXPECT_TRUE(device_->isRecordingDone());
    fs::remove(path_ / ".files.new");
    EXPECT_EQ(record(1), 5u);
    // Neither the recording whose record was never written nor the empty one is there any more.
    restart();
    EXPECT_EQ(listed(), "2:2 3:3 5:5 ");
}

TEST_F(EmulatorTest, AFullDiskKeepsTheFramesThatAreWhole)
{
    prepare(50, 50);
    if (!limitFileSizes(12000))
        GTEST_SKIP() << "there is no way to fill a disk here";
    start(0, 0);
    ASSERT_TRUE(waitUntil([&] { return progress() > 2; }));
    limitFileSizes(0);
    const uint64_t before = progress();
    ASSERT_TRUE(waitUntil([&] { return progress() > before + 1; }));
    device_->stopRecording();
    EXPECT_EQ(file("Emu/1"), syntheticFrames(50, 50, 2));

    start(0, 0);
    ASSERT_TRUE(waitUntil([&] { return progress() > 0; }));
    limitFileSizes(60);
    EXPECT_EQ(errorOf([&] { device_->stopRecording(); }),
              "Failed to open file: " + (path_ / "Emu" / "2.meta").string());
    limitFileSizes(0);
    // It can be played and removed; the next start wouldn't know it.
    device_->readFrame(open(2), 0);
    device_->closeFile(0);
    EXPECT_EQ(record(1), 3u);
    restart();
    EXPECT_EQ(listed(), "1:1 3:3 ");
}

TEST_F(EmulatorTest, RecoveryNeedsAPairedPortAndFindsNoFrames)
{
    EXPECT_EQ(errorOf([&] { device_->finishRecovery(); }), "Not paired/configured.");
    EXPECT_TRUE(fs::is_empty(path_ / "Emu"));
    writeFile(path_ / "Emu/.incomplete", "12345678");
    for (const uint16_t side : {2, 65535}) {
        prepare(side, side);
        EXPECT_EQ(errorOf([&] { device_->finishRecovery(); }), "eof");
        EXPECT_EQ(fs::file_size(path_ / "Emu/4294967295.meta"), 0u);
    }
    EXPECT_EQ(listed(), "");
}

} // namespace
} // namespace tavu
