#include "lab.h"

#include <cstring>
#include <vector>

namespace tavu {
namespace {

constexpr uint32_t kCluster = 4096;
constexpr uint32_t kStripe = 3 * kCluster;

class DriveSetTest : public testing::Test
{
protected:
    DriveSetTest() { lab.start(); }

    StorageLab lab{"drives = 2 + 1\ndrive size = 64K\ncluster size = 4K\n"
                   "metadata size = 1K\ndrive sets = 2\n"};
};

boost::shared_ptr<Common::Buffer> filled(uint64_t size, uint64_t first)
{
    auto buffer = Common::Buffer::create(nullptr, size);
    auto *bytes = static_cast<uint8_t *>(buffer->data());
    for (uint64_t i = 0; i < size; ++i)
        bytes[i] = static_cast<uint8_t>(first + i + i / kCluster);
    return buffer;
}

bool equal(const boost::shared_ptr<Common::Buffer> &a, const boost::shared_ptr<Common::Buffer> &b)
{
    return a->size() == b->size() && std::memcmp(a->data(), b->data(), a->size()) == 0;
}

std::vector<uint32_t> listed(const boost::shared_ptr<Quillon::DriveSet> &set)
{
    const Quillon::Vector<uint32_t> ids = set->fileIds();
    std::vector<uint32_t> list;
    for (auto id = ids.begin(); id != ids.end(); ++id)
        list.push_back(*id);
    return list;
}

TEST_F(DriveSetTest, BlocksGoRoundTheDrivesAndStay)
{
    const uint32_t ids[] = {lab.set()->createFile("one", 3, 0), lab.set()->createFile("two", 2, 0)};
    {
        const boost::shared_ptr<Quillon::DriveFile> files[] = {lab.set()->openFile(ids[0]),
                                                               lab.set()->openFile(ids[1])};
        for (uint8_t block = 0; block < 2; ++block) {
            for (uint8_t file = 0; file < 2; ++file)
                files[file]->writeBlock(filled(kStripe, 10 * file + block));
        }
        EXPECT_EQ(libraryErrorOf([&] { files[1]->writeBlock(filled(kStripe, 0)); }),
                  "File 2 ends before block 2.");
        EXPECT_EQ(libraryErrorOf([&] { files[0]->writeBlock(filled(kCluster, 0)); }),
                  "A block of this file has 12288 bytes.");
    }
    lab.restart();
    EXPECT_EQ(lab.set()->findFile("two"), ids[1]);
    EXPECT_EQ(lab.set()->fileEntry(ids[0])->sizeClusters, 3u);
    for (uint8_t file = 0; file < 2; ++file) {
        const auto opened = lab.set()->openFile(ids[file]);
        EXPECT_EQ(opened->driveSet(false)->drives().size() * opened->info()->clusterBytes, kStripe);
        const auto block = Common::Buffer::create(nullptr, kStripe);
        for (uint8_t i = 0; i < 2; ++i) {
            opened->readBlock(block, 0);
            EXPECT_TRUE(equal(block, filled(kStripe, 10 * file + i))) << int(i);
        }
        EXPECT_EQ(libraryErrorOf([&] { opened->readBlock(block, 0); }),
                  "Block 2 of file " + std::to_string(file + 1) + " was never written.");
    }
    // The second cluster of the second block of the first file.
    const std::string drive = readFile(lab.setFolder() / "drive-2.bin").substr(kCluster, kCluster);
    const auto expected = filled(kStripe, 1);
    EXPECT_EQ(std::memcmp(drive.data(), expected->ptr(kCluster), kCluster), 0);
}

TEST_F(DriveSetTest, SpaceIsTakenAndGivenBack)
{
    const auto set = lab.set();
    EXPECT_EQ(set->capacityInfo(true)->totalBytes(), 16u * kStripe);
    EXPECT_EQ(set->createFile("a", 5, 0), 1u);
    EXPECT_EQ(set->createFile("b", 5, 0), 2u);
    EXPECT_EQ(set->createFile("c", 6, 0), 3u);
    EXPECT_EQ(libraryErrorOf([&] { set->createFile("d", 1, 0); }), "The drive set is full.");
    set->removeFile(1);
    set->removeFile(3);
    EXPECT_EQ(set->capacityInfo(true)->usedBytes(), 5u * kStripe);
    lab.restart();

    // It lies in two pieces, and the ids go on.
    const auto restarted = lab.set();
    EXPECT_EQ(restarted->createFile("d", 11, 0), 4u);
    EXPECT_EQ(restarted->capacityInfo(true)->usedBytes(), 16u * kStripe);
    const auto d = restarted->openFile(4);
    const auto b = restarted->openFile(2);
    for (uint8_t i = 0; i < 5; ++i)
        b->writeBlock(filled(kStripe, 100));
    for (uint8_t i = 0; i < 11; ++i)
        d->writeBlock(filled(kStripe, i));
    const auto reader = restarted->openFile(4);
    const auto block = Common::Buffer::create(nullptr, kStripe);
    for (uint8_t i = 0; i < 11; ++i) {
        reader->readBlock(block, 0);
        EXPECT_TRUE(equal(block, filled(kStripe, i))) << int(i);
    }
    restarted->removeFile(4);
    restarted->removeFile(2);
    EXPECT_EQ(restarted->createFile("e", 16, 0), 5u) << "what was given back is in pieces";
}

TEST_F(DriveSetTest, WhatIsNotThereRaises)
{
    const auto set = lab.set();
    const auto sets = lab.device(0)->storage(0)->driveSets();
    const auto groups = lab.device(0)->storage(0)->driveGroups();
    EXPECT_EQ(set->createFile("gone", 1, 0), 1u);
    const auto gone = set->openFile(1);
    set->removeFile(1);
    const auto block = Common::Buffer::create(nullptr, kStripe);
    EXPECT_EQ(libraryErrorOf([&] { set->removeFile(0); }), "There is no file 0.");
    EXPECT_EQ(libraryErrorOf([&] { set->openFile(7); }), "There is no file 7.");
    EXPECT_EQ(libraryErrorOf([&] { set->recover(0); }), "There is no file 0.");
    EXPECT_EQ(libraryErrorOf([&] { gone->readBlock(block, 0); }), "There is no file 1.");
    EXPECT_EQ(libraryErrorOf([&] { gone->readMetadata(); }), "There is no file 1.");
    EXPECT_EQ(libraryErrorOf([&] { sets->open(3); }), "There is no drive set 3.");
    EXPECT_EQ(libraryErrorOf([&] { groups->group(1)->drive(1); }),
              "There is no drive 1 in its group.");

    sets->remove(1);
    sets->remove(2);
    EXPECT_EQ(sets->ids().size(), 0u);
    EXPECT_EQ(libraryErrorOf([&] { set->fileIds(); }), "The drive set was removed.");
    const auto parameters = boost::shared_ptr<Quillon::DriveSet::CreateParameters>(
        new Quillon::DriveSet::CreateParameters);
    EXPECT_EQ(libraryErrorOf([&] { sets->create(parameters); }), "A drive set needs drives.");
    parameters->source.add(Quillon::Drive::PhysicalLocation(groups->group(1)->drive(0)));
    parameters->source.add(Quillon::Drive::PhysicalLocation(groups->group(0)->drive(1)));
    sets->create(parameters);
    lab.restart();
    EXPECT_EQ(lab.set()->drives().size(), 2u);
    EXPECT_EQ(lab.set()->capacityInfo(true)->usedBytes(), 0u);
}

TEST_F(DriveSetTest, MetadataIsZeroUntilWritten)
{
    const auto set = lab.set(1);
    const auto file = set->openFile(set->createFile("named", 1, 0));
    const std::string zeros(1024, '\0');
    EXPECT_EQ(file->metadataCapacity(), zeros.size());
    EXPECT_EQ(std::memcmp(file->readMetadata()->data(), zeros.data(), zeros.size()), 0);
    EXPECT_NE(libraryErrorOf([&] { file->writeMetadata(filled(1025, 0)); }), "");
    file->writeMetadata(filled(1024, 9));
    lab.restart();
    EXPECT_TRUE(equal(lab.set(1)->openFile(1)->readMetadata(), filled(1024, 9)));
    EXPECT_TRUE(listed(lab.set(1)).empty()) << "a named file is no recording";
}

} // namespace
} // namespace tavu
