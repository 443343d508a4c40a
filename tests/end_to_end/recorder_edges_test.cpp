// Recorders at their edges: metadata blocks that are too small, drive files that can't be read, and
// what fails once at a connection.

#include "harness/lab.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

constexpr const char *kRate = "drives = 2\ndrive sets = 1\n[ports]\nframe rate = 500\n";

/// A pairing block of the largest size that stands inside other records; each port has its own.
std::string blockOf(uint32_t port)
{
    std::string hex;
    for (int i = 0; i < 16384; i++)
        hex += concat(port, i % 10);
    return hex;
}

class RecorderEdges : public testing::Test
{
protected:
    void start(const std::string &description)
    {
        client.reset();
        service.reset();
        lab = std::make_unique<Lab>();
        lab->describe("bench", description + kRate);
        service = std::make_unique<Service>(std::vector<std::string>{"noautoclose"}, lab->path());
        client = std::make_unique<Client>();
    }
    void restart()
    {
        client.reset();
        service->kill();
        service->start();
        client = std::make_unique<Client>();
    }
    std::string pair(uint32_t port, const std::string &identity, const std::string &block)
    {
        return client->call(34, concat("D port=", port, " identity='", identity, "' info=#", block,
                                       " numFramesPerPacket=3"));
    }
    void expectIdentities(size_t count)
    {
        const Value list = client->result(26, "D");
        ASSERT_EQ(list["files"].members.size(), count);
        for (const auto &[key, file] : list["files"].members) {
            const auto port = static_cast<uint32_t>(file["port"].string.back() - '1');
            const std::string params =
                concat("D fileId=", file["fileId"].number, " streamId=", file["streamId"].number);
            EXPECT_TRUE(client->result(32, params).text ==
                        concat("{\"data\":#", blockOf(port), "}"))
                << port;
        }
    }

    std::unique_ptr<Lab> lab;
    std::unique_ptr<Service> service;
    std::unique_ptr<Client> client;
};

TEST_F(RecorderEdges, BlocksThatDontFitInTheMetadataHaveFiles)
{
    for (const auto &[capacity, ports] :
         {std::pair("64K", 4u), std::pair("64K", 5u), std::pair("4K", 2u)}) {
        SCOPED_TRACE(concat(capacity, ", ", ports, " ports"));
        start(concat("shared file = yes\nrecovery time = 1\nmetadata size = ", capacity,
                     "\nports = ", ports, "\n"));
        configurePorts(*client, ports, 16, 2);
        for (uint32_t port = 0; port < ports; port++)
            EXPECT_EQ(pair(port, concat("Cam ", port), blockOf(port)), "{}");
        const uint32_t mask = (1u << ports) - 1;
        recordFrames(*client, mask, 2);
        expectIdentities(ports);
        // A name for which there is no room changes nothing.
        const Value before = client->result(26, "D");
        const Value file = before["files"].members.back().second;
        const std::string rename =
            concat("D fileId=", file["fileId"].number, " streamId=", file["streamId"].number,
                   " notify=false name='", std::string(70000, 'n'), "'");
        EXPECT_EQ(client->call(48, rename), error("eof"));
        EXPECT_EQ(client->call(49, rename + " width=1 height=1 numImages=1 numDroppedFrames=0 "
                                            "duration=0"),
                  error("eof"));
        EXPECT_EQ(client->result(26, "D").text, before.text);

        EXPECT_EQ(client->call(42, recordingOf(mask)), "{}");
        EXPECT_TRUE(waitUntil([&] { return client->result(47, "P")["numFrames"].number > 2; }));
        restart();
        EXPECT_EQ(client->result(26, "D").text, before.text);
        EXPECT_EQ(client->call(9, "D"), "{}");
        EXPECT_TRUE(waitUntil([&] { return client->result(11, "D")["status"].number == 3; }));
        EXPECT_EQ(client->call(13, "D"), "{}");
        expectIdentities(2 * ports);
        restart();
        expectIdentities(2 * ports);
        EXPECT_EQ(client->result(35, "P")["pairedTo"].string, "Cam 0");
    }
}

TEST_F(RecorderEdges, AListThatDoesntFitAtAllLeavesTheOtherFilesReadable)
{
    start("metadata size = 512\nports = 3\n");
    configurePorts(*client, 3, 16, 2);
    EXPECT_EQ(pair(1, std::string(400, 'c'), ""), "{}");
    EXPECT_EQ(client->call(42, recordingOf(7, "type=1 count=2")), "{}");
    EXPECT_TRUE(waitUntil([&] { return client->result(45, "D")["done"].text == "true"; }));
    EXPECT_EQ(client->call(43, "D"), error("eof"));
    EXPECT_EQ(client->call(43, "D"), "{}");
    for (int i = 0; i < 2; i++) {
        const Value list = client->result(26, "D");
        ASSERT_EQ(list["files"].members.size(), 2u);
        EXPECT_EQ(list["files"].members[1].second["port"].string, "Port 3");
        EXPECT_EQ(client->result(35, "D port=1")["pairedTo"].string.size(), 400u);
        restart();
    }
}

TEST_F(RecorderEdges, AFileThatCantBeReadCostsNoPairing)
{
    start("ports = 2\n");
    configurePorts(*client, 2, 16, 2);
    recordFrames(*client, 1, 2);
    const uint64_t file = client->result(46, "P")["fileId"].number;
    const std::string meta = lab->file(concat("bench/sets/1/", file, ".meta"));
    const Bytes good = readFile(meta);
    writeFile(meta, Bytes(good.size(), '\x7F'));
    restart();
    EXPECT_EQ(client->result(35, "D port=1")["pairedTo"].string, "");
    // Reading fails once more: nothing is changed.
    lab->setFaults(*client, "bench", "DriveFile::readBlock 1 raise broken");
    EXPECT_EQ(pair(0, "New", ""), error("broken"));
    const std::string repair = "P info=#01 numFramesPerPacket=4 identity=";
    EXPECT_EQ(client->call(36, repair + "'Other'"), error("Not paired to this camera."));
    EXPECT_EQ(client->call(36, repair + "'Cam 0'"), "{}");
    // What is stored is the configuration now, but the recorder doesn't know of it yet.
    const std::string config = R"({"width":16,"height":2,"pixelFormat":5,"tapGeometry":0})";
    EXPECT_EQ(client->result(40, "D port=1").text, config);
    EXPECT_EQ(client->call(41, "D port=1 width=16 height=2 pixelFormat=5 tapGeometry=0"), "{}");
    recordFrames(*client, 2, 2);
    writeFile(meta, good);
    // The fault is still planned, so this time it is the configuration that can't be read at first.
    restart();
    EXPECT_EQ(client->result(35, "D port=1")["pairedTo"].string, "");
    EXPECT_EQ(client->call(36, repair + "'Cam 0'"), "{}");
    for (int port = 0; port < 2; port++) {
        EXPECT_EQ(client->result(35, concat("D port=", port))["pairedTo"].string,
                  concat("Cam ", port));
        EXPECT_EQ(client->result(40, concat("D port=", port)).text, config);
    }
    EXPECT_EQ(client->result(38, "P").text, R"({"data":#01})");
}

TEST_F(RecorderEdges, WhatFailsOnceAtAConnectionIsTriedAgain)
{
    start("ports = 2\n");
    configurePorts(*client, 2, 16, 2);
    recordFrames(*client, 3, 2);
    int change = 0;
    for (const char *operation :
         {"DeviceCollection::deviceName", "DeviceCollection::deviceState", "Device::name",
          "Device::portCount", "Port::name", "Device::connectionState"}) {
        SCOPED_TRACE(operation);
        const std::string files = client->call(26, "D");
        writeFile(lab->file("faults.conf"), concat(operation, " 1 raise broken\n"));
        restart();
        EXPECT_TRUE(waitUntil([&] {
            return service->output().find("Caught exception: broken") != std::string::npos;
        }));
        lab->describe("bench", concat("ports = 2\nalternative name = ", ++change, "\n", kRate));
        EXPECT_TRUE(waitUntil([&] { return client->call(26, "D") == files; }));
        EXPECT_EQ(client->result(35, "D port=1")["pairedTo"].string, "Cam 1");
        recordFrames(*client, 3, 2);
    }
    writeFile(lab->file("faults.conf"),
              "DeviceCollection::registerChangeCallback 1 raise broken\n");
    restart();
    EXPECT_EQ(client->result(4)["count"].number, 0u);
    EXPECT_NE(service->errors().find("changes can't be followed: broken"), std::string::npos);
}

} // namespace
} // namespace tavu::test
