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

TEST_F(RecorderFaults, InAStartLeaveTheDeviceUsable)
{
    const char *operations[] = {"Device::kind",
                                "Device::hardwareInfo",
                                "Device::port",
                                "Port::isGrabbing",
                                "Port::isCameraDetected",
                                "Port::measuredFrameRate",
                                "Device::record",
                                "Device::storage",
                                "Storage::driveSets",
                                "DriveSetCollection::ids",
                                "DriveSetCollection::open",
                                "DriveSet::capacityInfo",
                                "Record::addPort",
                                "Device::triggerBank",
                                "TriggerBank::element",
                                "TriggerElement::connectInput",
                                "TriggerElement::parameter",
                                "Parameter::set",
                                "Record::start"};
    for (const char *operation : operations) {
        for (const char *what : {"1 raise broken", "1 empty"}) {
            SCOPED_TRACE(concat(operation, " ", what));
            lab.setFaults(*client, "bench", concat(operation, " ", what));
            const std::string reply =
                client->call(42, recordingOf(3, "usePretrigger=true pretriggerCount=9 type=1 "
                                                "count=2"));
            const std::string_view fault(what);
            if (fault == "1 raise broken")
                EXPECT_EQ(reply, error("broken"));
            else
                EXPECT_TRUE(reply == "{}" || reply.find("error") == 2) << reply;
            client->call(43, "D");
            recordFrames(*client, 3, 2);
        }
    }
}

TEST_F(RecorderFaults, InAStopLeaveItToBeRepeated)
{
    const char *operations[] = {"Device::kind",
                                "Device::record",
                                "Device::storage",
                                "Storage::driveSets",
                                "DriveSetCollection::ids",
                                "DriveSetCollection::open",
                                "Device::port",
                                "Port::isGrabbing",
                                "Record::stopPort",
                                "DriveSet::openFile",
                                "DriveFile::streamById",
                                "RecordedStream::frames",
                                "FrameSequence::frameCount",
                                "DriveFile::metadataCapacity",
                                "DriveFile::writeMetadata"};
    for (const char *operation : operations) {
        SCOPED_TRACE(operation);
        EXPECT_EQ(client->call(42, recordingOf(3, "type=1 count=2")), "{}");
        EXPECT_TRUE(waitUntil([&] { return is(45, "done", "true"); }));
        const size_t count = client->result(26, "D")["files"].members.size();
        lab.setFaults(*client, "bench", concat(operation, " 1 raise broken"));
        EXPECT_EQ(client->call(43, "D"), error("broken"));
        // What was done stays done: a port that was stopped has no recording to stop any more.
        EXPECT_EQ(client->call(43, "D"), "{}");
        const size_t listed = client->result(26, "D")["files"].members.size() - count;
        EXPECT_LE(listed, 2u);
        EXPECT_EQ(client->call(43, "D"), "{}");
        recordFrames(*client, 3, 2);
    }
}

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
    for (const char *operation : {"Device::name", "Device::portCount", "Port::name",
                                  "Device::connectionState", "DeviceCollection::deviceState"}) {
        SCOPED_TRACE(operation);
        writeFile(lab.file("bench/faults.conf"), concat(operation, " 1 raise broken ", operation));
        restart();
        EXPECT_NE(service->output().find(concat("Caught exception: broken ", operation, "\n")),
                  std::string::npos);
        EXPECT_EQ(client->result(4)["count"].number, 1u);
        client->call(6, "D");
        client->call(42, recordingOf(3));
        client->call(25, "P");
    }
}

TEST_F(RecorderFaults, InARecoveryKeepTheIncompleteFile)
{
    EXPECT_EQ(client->call(42, recordingOf(1)), "{}");
    EXPECT_TRUE(waitUntil([&] { return client->result(47, "P")["numFrames"].number > 3; }));
    restart();
    for (const char *operation :
         {"DriveSet::incompleteFileId", "DriveSet::recover", "DriveSetCollection::open"}) {
        lab.setFaults(*client, "bench", concat(operation, " 1 raise broken"));
        EXPECT_EQ(client->call(9, "D"), error("broken")) << operation;
    }
    lab.setFaults(*client, "bench",
                  "Recovery::isFinished 1 raise broken\nDriveSet::recover 2 empty\n"
                  "Recovery::cancel 1 raise stuck\n");
    EXPECT_EQ(client->call(9, "D"), "{}");
    EXPECT_EQ(client->call(11, "D"), error("broken"));
    EXPECT_EQ(client->call(10, "D"), error("stuck"));
    EXPECT_TRUE(waitUntil([&] { return is(11, "status", "3"); }));
    EXPECT_NE(client->call(9, "D").find("error"), std::string::npos);
    for (const char *operation :
         {"DriveSet::openFile", "DriveFile::streamCount", "DriveFile::streamIdByIndex",
          "DriveFile::streamByIndex", "RecordedStream::frames", "RecordedStream::portName",
          "FrameSequence::frameCount", "DriveFile::metadataCapacity", "DriveFile::writeMetadata"}) {
        lab.setFaults(*client, "bench", concat(operation, " 1 raise broken"));
        EXPECT_EQ(client->call(13, "D"), error("broken")) << operation;
        EXPECT_TRUE(is(7, "hasIncompleteFile", "true")) << operation;
    }
    lab.setFaults(*client, "bench", "");
    EXPECT_EQ(client->call(13, "D"), "{}");
    EXPECT_TRUE(is(7, "hasIncompleteFile", "false"));
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
