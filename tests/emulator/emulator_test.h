#pragma once

#include "emulator/tavu_device_emulator.h"
#include "support/error_of.h"
#include "support/lab.h"
#include "support/wait.h"

#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace tavu {

using test::concat, test::errorOf, test::expectedFrame, test::fromHex, test::readFile,
    test::TemporaryFolder, test::waitUntil, test::writeFile;

/// Makes \a folder the per-user data folder and returns the emulated device's folder in it.
std::filesystem::path useDataFolder(const std::filesystem::path &folder);

/// No file of this process grows beyond \a bytes, as if the disk were full; 0 lifts that. False
/// where the system has no such limit.
bool limitFileSizes(uint64_t bytes);

/// The emulated device, seen through its interface, in a folder of the test's own.
class EmulatorTest : public testing::Test
{
protected:
    EmulatorTest() { restart(); }

    /// What the next start of the service finds.
    void restart()
    {
        device_.reset();
        device_ = std::make_unique<TavuDeviceEmulator>();
    }

    void prepare(uint16_t width, uint16_t height)
    {
        device_->setPortConfig(0, width, height, 5, 6);
        device_->pairPort(0, "cam", "block", 5, 7);
    }

    void start(uint8_t type, uint64_t count)
    {
        device_->startRecording(1, 0, type, count, false, 0);
    }

    uint64_t progress()
    {
        uint64_t frames;
        bool inPretrigger;
        device_->recordingProgress(0, frames, inPretrigger);
        return frames;
    }

    /// Makes a recording and returns its file id.
    uint32_t record(uint64_t count, uint8_t type = 1)
    {
        start(type, count);
        EXPECT_TRUE(waitUntil([this] { return device_->isRecordingDone(); }));
        device_->stopRecording();
        uint32_t fileId, streamId;
        device_->recordingFile(0, fileId, streamId);
        return fileId;
    }

    uint32_t open(uint32_t fileId)
    {
        uint32_t openFileId;
        device_->openFile(openFileId, mapping_, fileId, 0);
        return openFileId;
    }

    std::string file(const std::string &name) const { return readFile(path_ / name); }

    /// "id:name" of each listed file.
    std::string listed()
    {
        std::string text;
        for (const FileRecord &file : device_->listFiles())
            text += concat(file.fileId, ':', file.name, ' ');
        return text;
    }

    TemporaryFolder folder_;
    const std::filesystem::path path_ = useDataFolder(folder_.path);
    std::unique_ptr<ITavuDevice> device_;
    std::string mapping_; ///< of the last file opened
};

} // namespace tavu
