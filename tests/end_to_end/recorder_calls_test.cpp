// Each operation of the recorder library that a recording's start, its stop and a recovery need
// raises once, at its first call and at later ones.

#include "harness/lab.h"
#include "harness/scenario.h"
#include "harness/surroundings.h"

#include <gtest/gtest.h>
#include <iterator>

namespace tavu::test {
namespace {

constexpr const char *kOperations[] = {
    "Device::kind",
    "Device::hardwareInfo",
    "Device::storage",
    "Device::port",
    "Device::triggerBank",
    "Device::record",
    "Port::isCameraDetected",
    "Port::isGrabbing",
    "Port::measuredFrameRate",
    "Port::setDataDescriptor",
    "TriggerBank::element",
    "TriggerElement::parameter",
    "TriggerElement::connectInput",
    "Parameter::set",
    "Record::addPort",
    "Record::start",
    "Record::stopPort",
    "Record::status",
    "Storage::driveSets",
    "DriveSetCollection::open",
    "DriveSetCollection::ids",
    "DriveSet::capacityInfo",
    "DriveSet::openFile",
    "DriveSet::findFile",
    "DriveSet::incompleteFileId",
    "DriveSet::recover",
    "DriveSet::removeFile",
    "DriveFile::readMetadata",
    "DriveFile::writeMetadata",
    "DriveFile::metadataCapacity",
    "DriveFile::writeBlock",
    "DriveFile::streamCount",
    "DriveFile::streamByIndex",
    "DriveFile::streamIdByIndex",
    "DriveFile::streamById",
    "RecordedStream::portName",
    "RecordedStream::frames",
    "FrameSequence::frameCount",
    "FrameSequence::readFrames",
    "Recovery::isFinished",
    "Recovery::isSuccessful",
};

class RecorderCalls : public testing::TestWithParam<size_t>
{
protected:
    RecorderCalls()
    {
        lab_.describe("bench", "device type = 15\nports = 1\ndrives = 2\ncluster size = 64K\n"
                               "drive sets = 1\nrecovery time = 1\n[ports]\nframe rate = 1000\n");
        service_.emplace(std::vector<std::string>{"noautoclose"}, lab_.path());
        scenario_.doAll(client_.emplace());
    }

    void restart()
    {
        client_.reset();
        service_->kill();
        service_->start();
        client_.emplace();
    }

    void setFaults(const std::string &text) { lab_.setFaults(*client_, "bench", text); }

    bool is(uint64_t ordinal, std::string_view reply)
    {
        return client_->call(ordinal, "D") == concat(R"({"result":{)", reply, "}}");
    }

    void recover()
    {
        client_->call(9, "D");
        EXPECT_TRUE(waitUntil([&] { return !is(11, R"("status":1)"); }));
        client_->call(13, "D");
    }

    void cutOff()
    {
        EXPECT_EQ(client_->call(42, recordingOf(1)), "{}");
        EXPECT_TRUE(waitUntil([&] { return client_->result(47, "P")["numFrames"].number > 3; }));
        restart();
    }

    Lab lab_;
    Scenario scenario_{[](uint64_t number) {
        return simulatedFrame(0, number, Scenario::kWidth, Scenario::kHeight);
    }};
    std::optional<Service> service_;
    std::optional<Client> client_;
};

TEST_P(RecorderCalls, LoseNothing)
{
    const uint32_t calls = transfersAreSlow() ? 1 : 3;
    for (size_t i = GetParam(); i < std::size(kOperations); i += 4) {
        for (uint32_t call = 1; call <= calls; call++) {
            const std::string fault = concat(kOperations[i], ' ', call, " raise broken\n");
            SCOPED_TRACE(fault);
            setFaults(fault);
            scenario_.tryAll(*client_);
            setFaults("");
            scenario_.doAll(*client_);

            cutOff();
            setFaults(fault);
            recover();
            setFaults("");
            // A last step that was refused can be taken again; else all of it.
            if (is(7, R"("hasIncompleteFile":true)"))
                client_->call(13, "D");
            if (is(7, R"("hasIncompleteFile":true)"))
                recover();
            EXPECT_TRUE(is(7, R"("hasIncompleteFile":false)"));
            scenario_.doAll(*client_);
            restart();
            scenario_.check(*client_);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Operations, RecorderCalls, testing::Range(size_t(0), size_t(4)));

} // namespace
} // namespace tavu::test
