#include "encoding/mem_stream.h"
#include "encoding/memory_sink.h"
#include "platform/clock.h"
#include "records/config_record.h"
#include "records/meta_record.h"
#include "records/record_file.h"
#include "support/error_of.h"
#include "support/files.h"
#include "support/wire.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace tavu {
namespace {

namespace fs = std::filesystem;
using test::concat, test::encodeMap, test::errorOf, test::readFile, test::TemporaryFolder,
    test::writeFile;

/// A record whose payload is an array of these elements.
std::string record(const char *type, const char *key, const std::string &elements)
{
    return encodeMap(concat("orek=true type='", type, "' version=0 ", key, "=[", elements, "]"));
}

std::string meta(const std::string &files)
{
    return record("meta", "info", files);
}

template <typename Write>
std::string written(Write write)
{
    MemorySink sink;
    write(sink);
    return {sink.bytes().begin(), sink.bytes().end()};
}

/// Reads a record as far as it can be read, and returns the error.
std::string readMeta(std::vector<FileRecord> &files, const std::string &bytes)
{
    return errorOf([&] { readMetaList(files, bytes.data(), bytes.size()); });
}

std::string readConfig(std::vector<PortConfig> &ports, std::string bytes)
{
    MemStream stream(bytes.data(), bytes.size());
    ports.clear();
    return errorOf(
        [&] { readPortConfigs(stream, [&](PortConfig &port) { ports.push_back(port); }); });
}

const std::string kUsable = "{'name':'a','width':3,'height':4,'numFrames':5}";

TEST(MetaRecord, WritesItsBytes)
{
    FileRecord file = {"n", "Emu", "cam", 1, 2, 3, 0x1234, 5, 6, {}, 200, 9, 10, 11, 1ull << 32};
    const std::string pairs = "{'name':'n','port':'Emu','camera':'cam','fileId':1,'streamId':2,"
                              "'width':3,'height':4660,'numFrames':5,'numDroppedFrames':6,"
                              "'size':200,'timestamp':9,'startTime':10,'endTime':11,"
                              "'duration':4294967296";
    std::vector<FileRecord> files = {file, file};
    files[1].info = ByteBlock{7, 8};
    const std::string expected = meta(pairs + "}," + pairs + ",'info':#0708}");
    const auto write = [&](Stream &stream) { writeMetaList(files, stream); };
    EXPECT_EQ(written(write), expected);
    EXPECT_EQ(readMeta(files, expected), "");
    EXPECT_EQ(written(write), expected);
    // In memory it stands whole, to the last byte, or not at all.
    std::string memory(expected.size(), '-');
    const auto writeTo = [&](size_t size) {
        return errorOf([&] { writeMetaList(files, memory.data(), size); });
    };
    EXPECT_EQ(writeTo(expected.size() - 1), "eof");
    EXPECT_EQ(memory, std::string(expected.size(), '-'));
    EXPECT_EQ(writeTo(expected.size()), "");
    EXPECT_EQ(memory, expected);
    files.clear();
    EXPECT_EQ(written(write), meta(""));
}

TEST(MetaRecord, ReadsWhatItCanUse)
{
    const uint64_t before = utcTimestamp();
    std::vector<FileRecord> files(9);
    for (const char *incomplete :
         {"{'width':3,'height':4,'numFrames':5}", "{'name':'a','height':4,'numFrames':5}",
          "{'name':'a','width':3,'numFrames':5}", "{'name':'a','width':3,'height':4}"}) {
        EXPECT_EQ(readMeta(files, meta(incomplete)), "");
        EXPECT_TRUE(files.empty());
    }
    const char *odd = ",{'x':{'y':['v']},'numFrames':5,'height':4,'width':3,'width':70000,"
                      "'info':#,'timestamp':7,'name':'a'}",
               *large = ",{'name':'a','width':65535,'height':65535,'numFrames':5}";
    EXPECT_EQ(readMeta(files, meta(kUsable + odd + large)), "");
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(files[0].size, 3u * 4 * 5 * 2);
    EXPECT_GE(files[0].timestamp, before);
    EXPECT_EQ(files[1].width, 70000 - 65536);
    EXPECT_EQ(files[1].timestamp, 7u);
    // The area is a signed 32-bit number.
    EXPECT_EQ(files[2].size, uint64_t(int64_t(-131071) * 5 * 2));
}

TEST(MetaRecord, Faults)
{
    const char *invalid = "Invalid file metadata.";
    const std::pair<std::string, const char *> cases[] = {
        {encodeMap("orek=true type='meta' info=[]"), invalid},
        {encodeMap("type='meta' orek=true version=0 info=[]"), invalid},
        {encodeMap("orek=false type='meta' version=0 info=[]"), invalid},
        {encodeMap("orek=true type='meta' version=1 info=[]"), invalid},
        {encodeMap("orek=1 type='meta' version=0 info=[]"), "Expected boolean."},
        {encodeMap("orek=true type='meta' version=0 info=[] unread=!C1"), ""},
        {record("config", "info", ""), invalid},
        {record("meta", "inf", ""), "Map field not found."},
        {meta("{'width':'3'}"), "Expected pos integer."},
        // Announces 4 GiB, which must neither be believed nor touch as much memory.
        {meta("{'info':!C6FFFFFFFF3F}"), "Failed to read."},
        {meta(kUsable + ",1"), "Expected map."}};
    std::vector<FileRecord> files;
    for (const auto &[bytes, fault] : cases)
        EXPECT_EQ(readMeta(files, bytes), fault);
    EXPECT_EQ(files.size(), 1u) << "what stands before a fault is kept";
}

TEST(ConfigRecord, WritesItsBytes)
{
    PortConfig port = {"A", "cam", {1, 2, 3, 4}, 5, {9}};
    uint32_t limit = kNoInfoLimit;
    const PortConfig *const all[] = {&port};
    const auto write = [&](Stream &stream) { writePortConfigs(all, stream, limit); };
    EXPECT_EQ(written(write),
              record("config", "config",
                     "{'name':'A','pairedTo':'cam','width':1,'height':2,'pixelFormat':3,"
                     "'tapGeometry':4,'numFramesPerPacket':5,'info':#09}"));
    port.info.assign(16385, 7);
    std::vector<PortConfig> ports;
    for (const size_t kept : {16385u, 0u}) {
        limit = kept > 0 ? 16385 : 16384;
        EXPECT_EQ(readConfig(ports, written(write)), "");
        EXPECT_EQ(ports.at(0).info, ByteBlock(kept, 7));
    }
}

TEST(ConfigRecord, ReadsAnyOrderAndStopsAtAFault)
{
    std::vector<PortConfig> ports;
    // A complete port has been handed over when a later one has too few pairs.
    EXPECT_EQ(readConfig(ports, record("config", "config",
                                       "{'info':#09,'x':['v'],'height':4,'width':70000,'name':'a'},"
                                       "{'x':0,'x':0,'x':0,'x':0}")),
              "Inalid config file.");
    ASSERT_EQ(ports.size(), 1u);
    EXPECT_EQ(ports[0].name + ports[0].pairedTo, "a");
    EXPECT_EQ(ports[0].format.width, 70000 - 65536);
    EXPECT_EQ(ports[0].format.height, 4);
    EXPECT_EQ(ports[0].info, ByteBlock{9});
    EXPECT_EQ(readConfig(ports, record("meta", "config", "")), "Inalid config file.");
}

TEST(RecordFile, IsReadWhateverItsLengthAndItsEnd)
{
    const TemporaryFolder folder;
    const auto path = folder.path / "record";
    const std::string large(100'000, 'x');
    const std::string endsEmpty = "{'name':'a','width':3,'height':4,'numFrames':5,'camera':''}";
    RecordBuffer buffer;
    for (const auto &[content, count] : {std::pair(meta(endsEmpty), 1u),
                                         {concat(meta(concat(kUsable, ',', endsEmpty)), large), 2u},
                                         {meta(kUsable).substr(0, 60), 0u}}) {
        writeFile(path, content);
        std::vector<FileRecord> files;
        readRecordFile(path.string(), buffer, [&](Stream &stream) { readMetaList(files, stream); });
        EXPECT_EQ(files.size(), count);
    }
}

TEST(RecordFile, IsReplacedWholeOrNotAtAll)
{
    const TemporaryFolder folder;
    const auto files = [&] { return std::distance(fs::directory_iterator(folder.path), {}); };
    const auto replace = [](const fs::path &path, const std::string &content) {
        return errorOf([&] {
            replaceRecordFile(path.string(), [&](Stream &stream) {
                stream.write(content.data(), content.size());
                if (content == "raise")
                    throw std::runtime_error(content);
            });
        });
    };
    const auto path = folder.path / "record", blocked = folder.path / "folder";
    EXPECT_EQ(replace(path, "a long first content"), "");
    EXPECT_EQ(replace(path, "second"), "");
    EXPECT_EQ(replace(path, "raise"), "raise");
    EXPECT_EQ(readFile(path), "second");
    EXPECT_EQ(files(), 1);

    // Each failure names the record and leaves nothing behind.
    fs::create_directory(blocked);
    for (const auto &bad : {blocked, folder.path / "missing" / "record"})
        EXPECT_EQ(replace(bad, "content"), "Failed to open file: " + bad.string());
    if (fs::exists("/dev/full")) {
        fs::create_symlink("/dev/full", path.string() + ".new");
        EXPECT_EQ(replace(path, "lost"), "Failed to open file: " + path.string());
    }
    EXPECT_EQ(readFile(path), "second");
    EXPECT_EQ(files(), 2);
}

} // namespace
} // namespace tavu
