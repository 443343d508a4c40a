// Each operation of the recorder library that recording and recovery need raises once, in its first
// call, in the second, or in the third.

#include "harness/recording.h"
#include "harness/scenario.h"
#include "harness/service.h"

#include <gtest/gtest.h>
#include <sstream>

namespace tavu::test {
namespace {

constexpr uint32_t kShares = 4; ///< into which the operations are split, for tests in parallel

constexpr const char *kOperations = R"(
    Device::kind Device::hardwareInfo Device::storage Device::port Device::triggerBank
    Device::record Port::isCameraDetected Port::isGrabbing Port::measuredFrameRate
    Port::setDataDescriptor TriggerBank::element TriggerElement::parameter
    TriggerElement::connectInput Parameter::set Record::addPort Record::start Record::stopPort
    Record::status Storage::driveSets DriveSetCollection::open DriveSetCollection::ids
    DriveSet::capacityInfo DriveSet::openFile DriveSet::findFile DriveSet::incompleteFileId
    DriveSet::recover DriveSet::removeFile DriveFile::readMetadata DriveFile::writeMetadata
    DriveFile::metadataCapacity DriveFile::writeBlock DriveFile::streamCount
    DriveFile::streamByIndex DriveFile::streamIdByIndex DriveFile::streamById
    RecordedStream::portName RecordedStream::frames FrameSequence::frameCount
    FrameSequence::readFrames Recovery::isFinished Recovery::isSuccessful
)";

class RecorderFailingCalls : public testing::TestWithParam<uint32_t>
{
protected:
    RecorderFailingCalls()
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

    void setFaults(const std::string &text) { test::setFaults(lab_, *client_, "bench", text); }

    bool hasIncompleteFile()
    {
        return client_->result("hasIncompleteFile", "D")["hasIncompleteFile"].text == "true";
    }

    void recover()
    {
        client_->call("startRecovery", "D");
        const std::string running = R"({"result":{"status":1}})";
        EXPECT_TRUE(waitUntil([&] { return client_->call("recoveryStatus", "D") != running; }));
        client_->call("finishRecovery", "D");
    }

    /// Kills the service in mid-recording, and salvages that recording while the fault is set.
    void salvage(const std::string &fault)
    {
        startRecording(*client_);
        restart();
        setFaults(fault);
        recover();
        setFaults("");
        // The last step can be repeated; where that doesn't help, all of them.
        if (hasIncompleteFile())
            client_->call("finishRecovery", "D");
        if (hasIncompleteFile())
            recover();
        EXPECT_FALSE(hasIncompleteFile());
    }

    Lab lab_;
    Scenario scenario_{[](uint64_t number) {
        return simulatedFrame(0, number, Scenario::kWidth, Scenario::kHeight);
    }};
    std::optional<Service> service_;
    std::optional<Client> client_;
};

TEST_P(RecorderFailingCalls, LoseNothing)
{
    const uint32_t calls = onWine() ? 1 : 3;
    std::istringstream operations(kOperations);
    uint32_t number = 0;
    for (std::string operation; operations >> operation; number++) {
        for (uint32_t call = 1; number % kShares == GetParam() && call <= calls; call++) {
            const std::string fault = concat(operation, ' ', call, " raise broken\n");
            SCOPED_TRACE(fault);
            setFaults(fault);
            scenario_.tryAll(*client_);
            setFaults("");
            scenario_.doAll(*client_);
            salvage(fault);
            scenario_.doAll(*client_);
            restart();
            scenario_.check(*client_);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Operations, RecorderFailingCalls,
                         testing::Range(0u, onWine() ? 1 : kShares));

} // namespace
} // namespace tavu::test
