// A library that fails at any of its calls costs a request its error reply, and nothing else.

#include "harness/lab.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

constexpr const char *kBench = "device type = 15\nports = 2\ndrives = 2\ncluster size = 64K\n"
                               "drive sets = 1\nrecovery time = 1\n[ports]\nframe rate = 1000\n";

class RecorderFaults : public testing::Test
{
protected:
    RecorderFaults()
    {
        lab.describe("bench", kBench);
        service = std::make_unique<Service>(std::vector<std::string>{"noautoclose"}, lab.path());
        client = std::make_unique<Client>();
        configurePorts(*client, 2, 16, 2);
        recordFrames(*client, 3, 2);
        files = client->result(26, "D").text;
    }

    bool is(uint64_t ordinal, const char *name, const char *value)
    {
        return client->result(ordinal, "D")[name].text == value;
    }
    void restart()
    {
        client.reset();
        service->kill();
        service->start();
        client = std::make_unique<Client>();
    }

    Lab lab;
    std::unique_ptr<Service> service;
    std::unique_ptr<Client> client;
    std::string files;
};

TEST_F(RecorderFaults, InAScanEndItAndAreTold)
{
    const std::pair<const char *, bool> operations[] = {
        {"DriveSet::fileIds", true},        {"DriveSet::incompleteFileId", true},
        {"DriveSet::openFile", true},       {"DriveFile::readMetadata", true},
        {"DriveSet::findFile", false},      {"DriveFile::readBlock", false},
        {"Port::setDataDescriptor", false}, {"Record::attachDriveSet", false},
        {"Port::linkMode", false},          {"Record::detachPort", false}};
    for (const auto &[operation, emptiesList] : operations) {
        SCOPED_TRACE(operation);
        writeFile(lab.file("bench/faults.conf"), concat(operation, " 1 raise broken ", operation));
        restart();
        EXPECT_EQ(client->result(26, "D").text, emptiesList ? R"({"files":[]})" : files);
        EXPECT_NE(service->errors().find(concat("broken ", operation, "\n")), std::string::npos);
        EXPECT_TRUE(is(6, "connected", "true"));
        EXPECT_TRUE(is(24, "count", "2"));
    }
}

TEST_F(RecorderFaults, EmptyHandlesAreErrorReplies)
{
    const Value file = client->result(26, "D")["files"][""];
    const std::string pair =
        concat("D fileId=", file["fileId"].number, " streamId=", file["streamId"].number);
    const Value second = client->result(26, "D")["files"].members.at(1).second;
    const std::string other =
        concat("D fileId=", second["fileId"].number, " streamId=", second["streamId"].number);
    const std::string slot =
        concat("D openFileId=", client->result(27, pair)["openFileId"].number, " frame=0");
    client->result(52, "P");
    const struct
    {
        const char *operation;
        uint64_t ordinal;
        std::string params, text;
    } cases[] = {
        {"FrameSequence::readFrames", 30, slot, "Failed to read file."},
        {"Port::grab", 54, "P", "Failed to grab frame."},

        {"Device::storage", 51, "D", "Device::storage returned nothing."},
        {"Device::port", 52, "P", "Device::port returned nothing."},
        {"Device::hardwareInfo", 57, "D", "Device::hardwareInfo returned nothing."},
        {"DriveSet::openFile", 48, other + " name='x' notify=false",
         "DriveSet::openFile returned nothing."},
        {"DriveFile::readMetadata", 31, concat("D fileId=", file["fileId"].number, " streamId=99"),
         "DriveFile::readMetadata returned nothing."},
        {"DriveFile::driveSet", 37, "P", "DriveFile::driveSet returned nothing."},
        {"DriveSet::drives", 37, "P", "The drive set has no blocks."},
    };
    for (const auto &item : cases) {
        lab.setFaults(*client, "bench", concat(item.operation, " 1 empty"));
        EXPECT_EQ(client->call(item.ordinal, item.params), error(item.text)) << item.operation;
    }
    lab.setFaults(*client, "bench", "DeviceCollection::device 2 empty");
    EXPECT_EQ(client->call(24, "D"), R"({"result":{"count":2}})");
    EXPECT_EQ(client->call(6, "D"), error("DeviceCollection::device returned nothing."));
    lab.setFaults(*client, "bench", "DriveFile::writeBlock * raise worn out");
    EXPECT_EQ(client->call(37, "P"), error("worn out"));
    // The channel that couldn't be had isn't open; one that couldn't be set up is.
    lab.setFaults(*client, "bench", "Port::serial 1 empty\nSerialPort::setParity 1 raise no");
    const std::string open = "P baudRate=1 parity=0 stopBits=1";
    EXPECT_EQ(client->call(14, open), error("failed to get serial port from camera port."));
    EXPECT_EQ(client->call(14, open), error("no"));
    EXPECT_EQ(client->call(14, open), error("Serial port already open."));
    EXPECT_EQ(client->call(20, "P"), "{}");
    EXPECT_EQ(client->call(14, open), "{}");
}

} // namespace
} // namespace tavu::test
