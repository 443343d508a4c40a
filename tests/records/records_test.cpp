#include "encoding/mem_stream.h"
#include "platform/clock.h"
#include "records/config_record.h"
#include "records/meta_record.h"
#include "records/record_file.h"
#include "records/temporary_folder.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace tavu {
namespace {

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

std::string number(int value)
{
    return std::string(1, static_cast<char>(value));
}

std::string map(Parts pairs)
{
    return list(0x80, pairs);
}

std::string array(Parts elements)
{
    return list(0x90, elements);
}

std::string record(const std::string &type, const std::string &key, const std::string &payload)
{
    return map({pair("orek", "\xC3"), pair("type", text(type)), pair("version", number(0)),
                pair(key, payload)});
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

std::vector<FileRecord> readMeta(std::string bytes)
{
    std::vector<FileRecord> files(1);
    readMetaList(files, bytes.data(), bytes.size());
    return files;
}

std::vector<PortConfig> readConfig(std::string bytes)
{
    std::vector<PortConfig> ports;
    MemStream stream(bytes.data(), bytes.size());
    readConfigRecord(stream, [&](PortConfig &port) { ports.push_back(port); });
    return ports;
}

const std::string kName = pair("name", text("a")), kWidth = pair("width", number(3)),
                  kHeight = pair("height", number(4)), kFrames = pair("numFrames", number(5));

TEST(MetaRecord, WritesItsBytes)
{
    FileRecord file = {"n", "Emu", "cam", 1, 2, 3, 0x1234, 5, 6, {}, 200, 9, 10, 11, 1ull << 32};
    const std::string pairs =
        map({pair("name", text("n")), pair("port", text("Emu")), pair("camera", text("cam")),
             pair("fileId", number(1)), pair("streamId", number(2)), kWidth,
             pair("height", "\xCD\x12\x34"), kFrames, pair("numDroppedFrames", number(6)),
             pair("size", "\xCC\xC8"), pair("timestamp", number(9)), pair("startTime", number(10)),
             pair("endTime", number(11)), pair("duration", "\xCF\0\0\0\x01\0\0\0\0"s)});
    std::vector<FileRecord> files = {file, file};
    files[1].info = {7, 8};
    const std::string expected =
        record("meta", "info",
               array({pairs, "\x8F" + pairs.substr(1) + pair("info", "\xC4\x02\x07\x08")}));
    const auto write = [&](Stream &stream) { writeMetaList(files, stream); };
    EXPECT_EQ(written(write), expected);
    files = readMeta(expected);
    EXPECT_EQ(written(write), expected);
    files.clear();
    EXPECT_EQ(written(write), record("meta", "info", array({})));
}

TEST(MetaRecord, ReadsWhatItCanUse)
{
    const uint64_t before = utcTimestamp();
    const auto files = readMeta(record(
        "meta", "info",
        array({
            map({}),
            map({kWidth, kHeight, kFrames}),
            map({kName, kHeight, kFrames}),
            map({kName, kWidth, kFrames}),
            map({kName, kWidth, kHeight}),
            map({kName, kWidth, kHeight, kFrames}),
            map({pair("x", map({pair("y", array({"\xC3", number(1)}))})), kFrames, kHeight, kWidth,
                 pair("width", "\xCE\0\x01\x11\x70"s), pair("info", "\xC4\0"s),
                 pair("timestamp", number(7)), kName}),
            map({kName, pair("width", "\xCD\xFF\xFF"), pair("height", "\xCD\xFF\xFF"), kFrames}),
        })));
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
    const std::string invalid = "Invalid file metadata.", orek = pair("orek", "\xC3"),
                      type = pair("type", text("meta")), version = pair("version", number(0)),
                      info = pair("info", array({}));
    const struct
    {
        std::string bytes, text;
    } cases[] = {
        {map({orek, type, info}), invalid},
        {map({type, orek, version, info}), invalid},
        {map({pair("orek", "\xC2"), type, version, info}), invalid},
        {map({orek, type, pair("version", number(1)), info}), invalid},
        {map({pair("orek", number(1)), type, version, info}), "Expected boolean."},
        {map({orek, type, version, info, "never read"}), ""},
        {record("config", "info", array({})), invalid},
        {record("meta", "inf", array({})), "Map field not found."},
        {record("meta", "info", number(1)), "Expected array."},
        {record("meta", "info", array({map({pair("width", text("3"))})})), "Expected pos integer."},
        // Announces 4 GiB, which must neither be believed nor touch as much memory.
        {record("meta", "info", array({map({pair("info", "\xC6\xFF\xFF\xFF\xFF?")})})),
         "Failed to read."},
    };
    for (const auto &c : cases)
        EXPECT_EQ(errorOf([&] { readMeta(c.bytes); }), c.text) << testing::PrintToString(c.bytes);

    // What stands before a fault is kept.
    std::string bytes =
        record("meta", "info", array({map({kName, kWidth, kHeight, kFrames}), number(1)}));
    std::vector<FileRecord> files(3);
    EXPECT_EQ(errorOf([&] { readMetaList(files, bytes.data(), bytes.size()); }), "Expected map.");
    EXPECT_EQ(files.size(), 1u);
}

TEST(ConfigRecord, WritesItsBytes)
{
    PortConfig ports[] = {{"A", "cam", 1, 2, 3, 4, 5, {}}, {"B", "", 0, 0, 0, 0, 0, {9}}};
    const std::string expected =
        record("config", "config",
               array({map({pair("name", text("A")), pair("pairedTo", text("cam")),
                           pair("width", number(1)), pair("height", number(2)),
                           pair("pixelFormat", number(3)), pair("tapGeometry", number(4)),
                           pair("numFramesPerPacket", number(5))}),
                      map({pair("name", text("B")), pair("pairedTo", text("")),
                           pair("width", number(0)), pair("height", number(0)),
                           pair("pixelFormat", number(0)), pair("tapGeometry", number(0)),
                           pair("numFramesPerPacket", number(0)), pair("info", "\xC4\x01\x09")})}));
    uint32_t limit = kNoInfoLimit;
    const auto write = [&](Stream &stream) { writeConfigRecord(ports, stream, limit); };
    EXPECT_EQ(written(write), expected);

    ports[0].info.assign(16385, 7);
    EXPECT_EQ(readConfig(written(write))[0].info, ports[0].info);
    limit = 16384;
    EXPECT_TRUE(readConfig(written(write))[0].info.empty());
}

TEST(ConfigRecord, ReadsAnyOrderAndStopsAtAFault)
{
    const std::string x = pair("x", array({number(1)}));
    auto ports = readConfig(record(
        "config", "config",
        array({map({pair("info", "\xC4\x01\x09"), pair("numFramesPerPacket", number(5)), x, kHeight,
                    pair("width", "\xCE\x7F\x01\x11\x70"), pair("name", text("A"))})})));
    ASSERT_EQ(ports.size(), 1u);
    EXPECT_EQ(ports[0].name, "A");
    EXPECT_EQ(ports[0].pairedTo, "");
    EXPECT_EQ(ports[0].width, 70000 - 65536);
    EXPECT_EQ(ports[0].height, 4);
    EXPECT_EQ(ports[0].framesPerPacket, 5);
    EXPECT_EQ(ports[0].info, ByteBlock{9});

    // A complete port has been handed over when a later one has too few pairs.
    std::string bytes =
        record("config", "config", array({map({x, x, x, x, x}), map({x, x, x, x})}));
    MemStream stream(bytes.data(), bytes.size());
    int found = 0;
    EXPECT_EQ(errorOf([&] { readConfigRecord(stream, [&](PortConfig &) { ++found; }); }),
              "Inalid config file.");
    EXPECT_EQ(found, 1);
    EXPECT_EQ(errorOf([&] { readConfig(record("meta", "config", array({}))); }),
              "Inalid config file.");
}

TEST(RecordFile, IsReplacedWholeOrNotAtAll)
{
    const TemporaryFolder folder;
    const auto files = [&] {
        return std::distance(std::filesystem::directory_iterator(folder.path), {});
    };
    const auto replace = [](const std::filesystem::path &path, const std::string &content) {
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
    std::filesystem::create_directory(blocked);
    for (const auto &bad : {blocked, folder.path / "missing" / "record"})
        EXPECT_EQ(replace(bad, "content"), "Failed to open file: " + bad.string());
    if (std::filesystem::exists("/dev/full")) {
        std::filesystem::create_symlink("/dev/full", path.string() + ".new");
        EXPECT_EQ(replace(path, "lost"), "Failed to open file: " + path.string());
    }
    EXPECT_EQ(readFile(path), "second");
    EXPECT_EQ(files(), 2);
}

} // namespace
} // namespace tavu
