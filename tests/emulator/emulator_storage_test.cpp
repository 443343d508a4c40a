#include "emulator/emulator_test.h"

#include "records/meta_record.h"
#include "records/record_file.h"

namespace tavu {
namespace {

namespace fs = std::filesystem;

void writeMeta(const fs::path &path, const std::vector<FileRecord> &list)
{
    fs::create_directories(path.parent_path());
    replaceRecordFile(path.string(), [&](Stream &stream) { writeMetaList(list, stream); });
}

FileRecord entry(uint32_t fileId, const std::string &name, const std::string &port = "Emu")
{
    return {name, port, "", fileId, 0, 2, 2, 1, 0, {}, 0, 0, 0, 0, 0};
}

TEST_F(EmulatorTest, KeepsConfigurationAndPairing)
{
    const auto port = [&] {
        uint16_t width, height;
        uint32_t pixelFormat, tapGeometry;
        ByteBlock block;
        device_->getPortConfig(0, width, height, pixelFormat, tapGeometry);
        device_->portIdentity(0, block);
        return concat(width, 'x', height, ' ', pixelFormat, ' ', tapGeometry, ' ',
                      device_->pairedTo(0), ' ', device_->framesPerPacket(0), ' ',
                      std::string(block.begin(), block.end()));
    };
    EXPECT_EQ(port(), "0x0 0 0  0 ");
    prepare(640, 480);
    EXPECT_EQ(errorOf([&] { device_->repairPort(0, "Cam", "x", 1, 1); }),
              "Not paried to this camera");
    device_->repairPort(0, "cam", "longer block", 12, 9);
    restart();
    EXPECT_EQ(port(), "640x480 5 6 cam 9 longer block");
    // Announces a second port that isn't there; the first one counts.
    std::string config = file(".meta");
    config[config.find("config\x91") + 6] = '\x92';
    writeFile(path_ / ".meta", config);
    restart();
    EXPECT_EQ(port(), "640x480 5 6 cam 9 longer block");
    device_->unpairPort(0);
    restart();
    EXPECT_EQ(port(), "640x480 5 6  0 ");
    config = file(".meta");
    config[config.find("Emu")] = 'X';
    writeFile(path_ / ".meta", config);
    restart();
    EXPECT_EQ(port(), "0x0 0 0  0 ");

    // A record that can't be written keeps the change in memory.
    fs::remove(path_ / ".meta");
    fs::create_directory(path_ / ".meta");
    EXPECT_EQ(errorOf([&] { device_->pairPort(0, "cam", nullptr, 0, 1); }),
              "Failed to open file: " + (path_ / ".meta").string());
    EXPECT_EQ(port(), "0x0 0 0 cam 1 ");
}

TEST_F(EmulatorTest, StartsWithWhateverTheFolderHolds)
{
    writeMeta(path_ / ".files", {entry(1, "1"), entry(2, "lost"), entry(3, "3", "Other")});
    writeMeta(path_ / "Emu/1.meta", {entry(1, "one")});
    writeMeta(path_ / "Other/3.meta", {entry(3, "three"), entry(4, "four")});
    writeFile(path_ / "Emu/1", "12345678");
    restart();
    EXPECT_EQ(listed(), "1:one 3:three 4:four ");
    EXPECT_EQ(open(1), 0u);
    EXPECT_EQ(errorOf([&] { open(2); }), "Invalid fileId");
    EXPECT_EQ(errorOf([&] { open(4); }), "Invalid fileId");
    // The catalogue's largest id counts, listed or not.
    prepare(2, 2);
    EXPECT_EQ(record(1), 4u);
    writeFile(path_ / ".files", file(".files").substr(0, 60));
    restart();
    EXPECT_EQ(listed(), "");
}

TEST_F(EmulatorTest, SettlesNames)
{
    const std::string names[] = {"a", "b", "a(1)", "a(3)", "a(02)", "a(2", "a(2) ", "c"};
    std::vector<FileRecord> entries;
    for (const std::string &name : names) {
        const auto id = static_cast<uint32_t>(entries.size() + 1);
        entries.push_back(entry(id, std::to_string(id)));
        writeMeta(path_ / "Emu" / (entries.back().name + ".meta"), {entry(id, name)});
    }
    writeMeta(path_ / ".files", entries);
    restart();
    const struct
    {
        uint32_t fileId;
        const char *wanted, *used;
    } cases[] = {{8, "a", "a(2)"}, {7, "a", "a(4)"},       {2, "b", "b(1)"},
                 {2, "b", "b"},    {3, "a(1)", "a(1)(1)"}, {3, "new", "new"}};
    for (const auto &c : cases)
        EXPECT_EQ(device_->setFileInfo(c.fileId, 99, {c.wanted, 7, 8, 9, 10, 11, 12, 13}), c.used);
    device_->renameFile(4, 0, "a");
    restart();
    EXPECT_EQ(listed(), "1:a 2:b 3:new 4:a 5:a(02) 6:a(2 7:a(4) 8:a(2) ");
    const FileRecord changed = device_->listFiles()[1];
    EXPECT_EQ(changed.width, 7);
    EXPECT_EQ(changed.numFrames, 9u);
    EXPECT_EQ(changed.duration, 13u);
}

TEST_F(EmulatorTest, RemovesFilesThatAreNotOpen)
{
    prepare(2, 2);
    for (int i = 0; i < 3; ++i)
        record(1);
    const auto removeError = [&] { return errorOf([&] { device_->removeFile(3, 0); }); };
    const uint32_t slot = open(3);
    EXPECT_EQ(removeError(), "File is open");
    device_->closeFile(slot);
    // A file that can't be opened keeps its id in the slot.
    fs::rename(path_ / "Emu/3", path_ / "Emu/x");
    EXPECT_EQ(errorOf([&] { open(3); }), "Failed to open file");
    EXPECT_EQ(errorOf([&] { device_->closeFile(slot); }), "File not open");
    EXPECT_EQ(removeError(), "File is open");
    fs::rename(path_ / "Emu/x", path_ / "Emu/3");
    EXPECT_EQ(open(2), slot);
    EXPECT_EQ(removeError(), "");
    EXPECT_FALSE(fs::exists(path_ / "Emu/3") || fs::exists(path_ / "Emu/3.meta"));
    EXPECT_EQ(removeError(), "Invalid fileId");
    ByteBlock block;
    EXPECT_EQ(errorOf([&] { device_->fileIdentity(3, 0, block); }), "Invalid fileId");
    EXPECT_EQ(errorOf([&] { device_->renameFile(3, 0, "x"); }), "Invalid fileId");
    EXPECT_EQ(record(1), 3u);
    device_->removeFile(1, 0);
    restart();
    EXPECT_EQ(listed(), "2:2 3:3 ");
}

TEST_F(EmulatorTest, AListThatCannotBeReplacedLosesNothing)
{
    const std::string failed = "Failed to open file: " + (path_ / ".files").string();
    const auto removeError = [&](uint32_t id) {
        return errorOf([&] { device_->removeFile(id, 0); });
    };
    prepare(2, 2);
    for (int i = 0; i < 3; ++i)
        record(1);
    // A record that can't be deleted keeps its recording; without its record, it goes.
    fs::create_directory(path_ / ".files.new");
    fs::rename(path_ / "Emu/2.meta", path_ / "saved");
    fs::create_directories(path_ / "Emu/2.meta/x");
    EXPECT_EQ(removeError(2), failed);
    EXPECT_EQ(removeError(3), failed);
    EXPECT_EQ(listed(), "1:1 2:2 ");
    EXPECT_TRUE(fs::exists(path_ / "Emu/2"));
    EXPECT_FALSE(fs::exists(path_ / "Emu/3") || fs::exists(path_ / "Emu/3.meta"));
    fs::remove_all(path_ / "Emu/2.meta");
    fs::rename(path_ / "saved", path_ / "Emu/2.meta");
    fs::remove(path_ / ".files.new");
    restart();
    EXPECT_EQ(listed(), "1:1 2:2 ");

    // Records that can't be read now are read before anything of theirs is written or deleted.
    for (const char *name : {".files", ".meta"}) {
        fs::rename(path_ / name, path_ / "saved");
        fs::create_directory(path_ / name);
        restart();
        const bool isList = listed().empty();
        EXPECT_EQ(isList, std::string(name) == ".files");
        EXPECT_EQ(errorOf([&] { isList ? start(1, 1) : device_->setPortConfig(0, 3, 3, 0, 0); }),
                  "Failed to open file: " + (path_ / name).string());
        EXPECT_EQ(errorOf([&] { isList ? device_->setup() : device_->unpairPort(0); }),
                  "Failed to open file: " + (path_ / name).string());
        fs::remove(path_ / name);
        fs::rename(path_ / "saved", path_ / name);
    }
    EXPECT_EQ(record(1), 4u);
    EXPECT_EQ(device_->pairedTo(0), "cam");
    EXPECT_EQ(listed(), "1:1 2:2 4:4 ");
}

TEST_F(EmulatorTest, ListsNoMoreThanCanBeReadBack)
{
    for (const size_t length : {65537u, 65536u, 65535u}) {
        std::vector<FileRecord> entries(length, entry(70000, "none"));
        entries[0] = entry(1, "1");
        writeMeta(path_ / "Emu/1.meta", {entry(1, "one")});
        writeMeta(path_ / ".files", entries);
        std::string list = file(".files");
        if (length > 65535)
            list[list.find("info") + 4] = '\xDD';
        writeFile(path_ / ".files", list);
        restart();
        prepare(2, 2);
        EXPECT_EQ(listed(), "1:one ");
        EXPECT_EQ(errorOf([&] { start(1, 1); }), "Too many recordings.");
        EXPECT_FALSE(device_->hasIncompleteFile());
        const bool isTooLong = length == 65537;
        EXPECT_EQ(errorOf([&] { device_->removeFile(1, 0); }),
                  isTooLong ? "Too many recordings." : "");
        EXPECT_EQ(fs::exists(path_ / "Emu/1.meta"), isTooLong);
    }
    EXPECT_EQ(record(1), 70001u);
}

TEST_F(EmulatorTest, SetupWipesAllButTheVisibleList)
{
    prepare(2, 2);
    record(1);
    device_->setup();
    EXPECT_EQ(listed(), "1:1 ");
    EXPECT_TRUE(fs::is_empty(path_ / "Emu"));
    EXPECT_FALSE(fs::exists(path_ / ".files"));
    EXPECT_EQ(errorOf([&] { open(1); }), "Invalid fileId");
    ByteBlock block;
    device_->fileIdentity(1, 0, block);
    EXPECT_EQ(block.size(), 5u);
    restart();
    EXPECT_EQ(listed(), "");
    EXPECT_EQ(device_->pairedTo(0), "cam");
}

} // namespace
} // namespace tavu
