#include "encoding/mem_stream.h"
#include "platform/clock.h"
#include "records/config_record.h"
#include "records/meta_record.h"
#include "records/record_file.h"
#include "support/error_of.h"
#include "support/files.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace tavu {
namespace {

namespace fs = std::filesystem;
using test::errorOf, test::readFile, test::TemporaryFolder;
using namespace std::string_literals;
using Parts = std::initializer_list<std::string>;

// Records spelled out byte by byte; all lengths and counts fit into the first byte.
std::string list(int head, Parts parts)
{
    std::string all(1, static_cast<char>(head + static_cast<int>(parts.size())));
    for (const std::string &part : parts)
        all += part;
    return all;
}

std::string text(const std::string &value)
{
    return static_cast<char>(0xA0 + value.size()) + value;
}

std::string pair(const std::string &key, const std::string &value)
{
    return text(key) + value;
}

constexpr int kMap = 0x80, kArray = 0x90;

/// A record whose payload is an array.
std::string record(const std::string &type, const std::string &key, Parts elements)
{
    return list(kMap, {pair("orek", "\xC3"), pair("type", text(type)), pair("version", "\0"s),
                       pair(key, list(kArray, elements))});
}

std::string meta(Parts files)
{
    return record("meta", "info", files);
}

/// What \a write puts onto a stream, seen through a buffer that has room to spare.
template <typename Write>
std::string written(Write write)
{
    std::string buffer(40000, '?');
    MemStream stream(buffer.data(), buffer.size());
    write(stream);
    return buffer.erase(buffer.find_last_not_of('?') + 1);
}

/// Reads a record as far as it can be read, and returns the error.
std::string readMeta(std::vector<FileRecord> &files, std::string bytes)
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

const std::string kName = pair("name", text("a")), kWidth = pair("width", "\3"),
                  kHeight = pair("height", "\4"), kFrames = pair("numFrames", "\5"),
                  kUsable = list(kMap, {kName, kWidth, kHeight, kFrames});

TEST(MetaRecord, WritesItsBytes)
{
    FileRecord file = {"n", "Emu", "cam", 1, 2, 3, 0x1234, 5, 6, {}, 200, 9, 10, 11, 1ull << 32};
    const std::string pairs =
        list(kMap, {pair("name", text("n")), pair("port", text("Emu")), pair("camera", text("cam")),
                    pair("fileId", "\1"), pair("streamId", "\2"), kWidth,
                    pair("height", "\xCD\x12\x34"), kFrames, pair("numDroppedFrames", "\6"),
                    pair("size", "\xCC\xC8"), pair("timestamp", "\x09"), pair("startTime", "\x0A"),
                    pair("endTime", "\x0B"), pair("duration", "\xCF\0\0\0\x01\0\0\0\0"s)});
    std::vector<FileRecord> files = {file, file};
    files[1].info = {7, 8};
    const std::string expected =
        meta({pairs, "\x8F" + pairs.substr(1) + pair("info", "\xC4\x02\x07\x08")});
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
    EXPECT_EQ(written(write), meta({}));
}

TEST(MetaRecord, ReadsWhatItCanUse)
{
    const uint64_t before = utcTimestamp();
    const std::string huge = "\xCD\xFF\xFF",
                      unknown = list(kMap, {pair("y", list(kArray, {text("v")}))});
    const std::string incomplete[] = {
        list(kMap, {kWidth, kHeight, kFrames}), list(kMap, {kName, kHeight, kFrames}),
        list(kMap, {kName, kWidth, kFrames}), list(kMap, {kName, kWidth, kHeight})};
    std::vector<FileRecord> files(9);
    for (const std::string &file : incomplete) {
        EXPECT_EQ(readMeta(files, meta({file})), "");
        EXPECT_TRUE(files.empty());
    }
    const std::string odd = list(kMap, {pair("x", unknown), kFrames, kHeight, kWidth,
                                        pair("width", "\xCE\0\x01\x11\x70"s),
                                        pair("info", "\xC4\0"s), pair("timestamp", "\7"), kName}),
                      large =
                          list(kMap, {kName, pair("width", huge), pair("height", huge), kFrames});
    EXPECT_EQ(readMeta(files, meta({kUsable, odd, large})), "");
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
    const std::string orek = pair("orek", "\xC3"), type = pair("type", text("meta")),
                      version = pair("version", "\0"s), info = pair("info", list(kArray, {}));
    const std::pair<std::string, const char *> cases[] = {
        {list(kMap, {orek, type, info}), invalid},
        {list(kMap, {type, orek, version, info}), invalid},
        {list(kMap, {pair("orek", "\xC2"), type, version, info}), invalid},
        {list(kMap, {orek, type, pair("version", "\1"), info}), invalid},
        {list(kMap, {pair("orek", "\1"), type, version, info}), "Expected boolean."},
        {list(kMap, {orek, type, version, info, "never read"}), ""},
        {record("config", "info", {}), invalid},
        {record("meta", "inf", {}), "Map field not found."},
        {meta({list(kMap, {pair("width", text("3"))})}), "Expected pos integer."},
        // Announces 4 GiB, which must neither be believed nor touch as much memory.
        {meta({list(kMap, {pair("info", "\xC6\xFF\xFF\xFF\xFF?")})}), "Failed to read."},
        {meta({kUsable, "\1"}), "Expected map."},
    };
    std::vector<FileRecord> files;
    for (const auto &[bytes, fault] : cases)
        EXPECT_EQ(readMeta(files, bytes), fault);
    EXPECT_EQ(files.size(), 1u) << "what stands before a fault is kept";
}

TEST(ConfigRecord, WritesItsBytes)
{
    PortConfig port = {"A", "cam", 1, 2, 3, 4, 5, {9}};
    const std::string pairs =
        list(kMap, {pair("name", text("A")), pair("pairedTo", text("cam")), pair("width", "\1"),
                    pair("height", "\2"), pair("pixelFormat", "\3"), pair("tapGeometry", "\4"),
                    pair("numFramesPerPacket", "\5"), pair("info", "\xC4\1\x09")});
    uint32_t limit = kNoInfoLimit;
    const PortConfig *const all[] = {&port};
    const auto write = [&](Stream &stream) { writePortConfigs(all, stream, limit); };
    EXPECT_EQ(written(write), record("config", "config", {pairs}));
    port.info.assign(16385, 7);
    std::vector<PortConfig> ports;
    EXPECT_EQ(readConfig(ports, written(write)), "");
    EXPECT_EQ(ports.at(0).info, port.info);
    limit = 16384;
    EXPECT_EQ(readConfig(ports, written(write)), "");
    EXPECT_TRUE(ports.at(0).info.empty());
}

TEST(ConfigRecord, ReadsAnyOrderAndStopsAtAFault)
{
    const std::string x = pair("x", list(kArray, {text("v")}));
    std::vector<PortConfig> ports;
    // A complete port has been handed over when a later one has too few pairs.
    EXPECT_EQ(readConfig(ports, record("config", "config",
                                       {list(kMap, {pair("info", "\xC4\1\x09"), x, kHeight,
                                                    pair("width", "\xCE\x7F\1\x11\x70"), kName}),
                                        list(kMap, {x, x, x, x})})),
              "Inalid config file.");
    ASSERT_EQ(ports.size(), 1u);
    EXPECT_EQ(ports[0].name + ports[0].pairedTo, "a");
    EXPECT_EQ(ports[0].format.width, 70000 - 65536);
    EXPECT_EQ(ports[0].format.height, 4);
    EXPECT_EQ(ports[0].info, ByteBlock{9});
    EXPECT_EQ(readConfig(ports, record("meta", "config", {})), "Inalid config file.");
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
