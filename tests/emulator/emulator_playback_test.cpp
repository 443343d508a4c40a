#include "emulator/emulator_test.h"

namespace tavu {
namespace {

std::string bytesOf(const SharedRegion &region, size_t count)
{
    return std::string(static_cast<const char *>(region.view()), count);
}

TEST_F(EmulatorTest, PlaysFramesBack)
{
    prepare(4, 4);
    record(3);
    const std::string content = file("Emu/1");
    SharedRegion region;
    EXPECT_EQ(open(1), 0u);
    ASSERT_TRUE(region.open(mapping_));
    EXPECT_EQ(open(1), 1u);
    uint16_t width, height;
    uint32_t imageSize;
    uint64_t numFrames, size;
    device_->fileInfo(0, width, height, imageSize, numFrames, size);
    EXPECT_EQ(imageSize, 32u);
    EXPECT_EQ(numFrames, 3u);
    EXPECT_EQ(size, 96u);
    EXPECT_EQ(errorOf([&] { device_->readFrame(0, 3); }), "Invalid frame index");

    // More frames than the file has may be asked for.
    device_->setFileInfo(1, 0, {"many", 4, 4, ~uint64_t(0), 0, 0, 0, 0});
    // The frame asked for, and the one that stands in the region then.
    const std::pair<uint64_t, size_t> cases[] = {
        {1 << 26, 0},                     // 2 GiB, a negative offset: from the beginning
        {1 << 26, 1},                     // and on
        {0, 0},       {(1 << 27) + 2, 2}, // 4 GiB and two frames
        {1 << 26, 2},                     // at the end: nothing is read
        {3, 2},       {1, 1},
    };
    for (const auto &[frame, shown] : cases) {
        device_->readFrame(0, frame);
        EXPECT_EQ(bytesOf(region, 32), content.substr(32 * shown, 32)) << frame;
    }
    device_->closeFile(0);
    EXPECT_EQ(errorOf([&] { device_->readFrame(0, 0); }), "File not open");
    EXPECT_EQ(errorOf([&] { device_->readFrame(2, 0); }), "Invalid fileId");
    // An open file is still found when one before it in the list has gone.
    EXPECT_EQ(record(2), 2u);
    EXPECT_EQ(record(1), 3u);
    EXPECT_EQ(open(2), 0u);
    device_->readFrame(0, 0);
    device_->closeFile(1);
    device_->removeFile(1, 0);
    device_->readFrame(0, 1);
    EXPECT_EQ(errorOf([&] { device_->readFrame(0, 2); }), "Invalid frame index");
}

TEST_F(EmulatorTest, AnOpenFileSurvivesAnotherGeometry)
{
    prepare(4, 4);
    record(1);
    open(1);
    SharedRegion region;
    ASSERT_TRUE(region.open(mapping_));
    const auto deleted = file("Emu/1");
    // The file id comes back, with frames far beyond the region.
    device_->setup();
    device_->setPortConfig(0, 300, 300, 0, 0);
    EXPECT_EQ(record(1), 1u);
    device_->readFrame(0, 0);
    EXPECT_EQ(bytesOf(region, 32), deleted);
    EXPECT_EQ(bytesOf(region, 4096).substr(32), std::string(4064, '\0'));
    EXPECT_EQ(open(1), 1u);
    ASSERT_TRUE(region.open(mapping_));
    device_->readFrame(1, 0);
    EXPECT_EQ(bytesOf(region, 180000), file("Emu/1"));
}

} // namespace
} // namespace tavu
