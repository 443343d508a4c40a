// Each of the service's calls for files, regions and threads fails once, fails together with all
// later ones, or kills the process.

#include "failing_calls.h"
#include "harness/scenario.h"
#include "harness/service.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/mman.h>
#include <tuple>
#include <unistd.h>

namespace tavu::test {
namespace {

constexpr uint64_t kShares = 4; ///< into which the calls are split, for tests that run in parallel
constexpr const char *kFailures[] = {"None", "Once", "Onwards", "Kill"};

/// Preloads the library into the services that are started meanwhile, and shares memory with it.
class PreloadedCalls
{
public:
    PreloadedCalls()
    {
        const std::string path = (folder_.path / "calls").string();
        const int fd = open(path.c_str(), O_RDWR | O_CREAT, 0600);
        EXPECT_EQ(ftruncate(fd, sizeof *calls_), 0);
        calls_ = static_cast<FailingCalls *>(
            mmap(nullptr, sizeof *calls_, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
        close(fd);
        setVariable("FAILING_CALLS", path);
        setVariable("LD_PRELOAD", FAILING_CALLS_PATH);
    }
    PreloadedCalls(const PreloadedCalls &) = delete;
    PreloadedCalls &operator=(const PreloadedCalls &) = delete;
    ~PreloadedCalls()
    {
        setVariable("LD_PRELOAD", std::nullopt);
        munmap(calls_, sizeof *calls_);
    }

    FailingCalls *operator->() { return calls_; }

private:
    TemporaryFolder folder_;
    FailingCalls *calls_ = nullptr;
};

class FailingCallsTest : public testing::TestWithParam<std::tuple<Failure, uint64_t>>
{
protected:
    void arm(Failure failure, uint64_t at)
    {
        calls_->calls = 0;
        calls_->at = at;
        calls_->name[0] = 0;
        calls_->acceptFailed = false;
        calls_->failure = failure;
    }

    /// Starts a service in which calls fail, in an empty folder or in one with recordings.
    void begin(Failure failure, uint64_t at, bool isFresh)
    {
        arm(isFresh ? failure : Failure::None, at);
        scenario_.emplace([](uint64_t number) {
            return expectedFrame(number, Scenario::kWidth, Scenario::kHeight);
        });
        scenario_->losesFrames = [this] { return calls_->name == std::string("fwrite"); };
        service_.emplace(std::vector<std::string>{"noautoclose"});
        if (isFresh)
            return;
        scenario_->doAll(client_.emplace());
        restart(failure, at);
    }

    void restart(Failure failure = Failure::None, uint64_t at = 0)
    {
        client_.reset();
        service_->kill();
        arm(failure, at);
        service_->start();
    }

    /// How many calls there are when none fails.
    uint64_t count()
    {
        begin(Failure::None, 0, false);
        scenario_->doAll(client_.emplace());
        return calls_->calls;
    }

    void letFail(Failure failure, uint64_t at, bool isFresh)
    {
        begin(failure, at, isFresh);
        uint64_t callsUntilConnected = ~uint64_t(0);
        try {
            client_.emplace(true, [&] { return service_->hasEnded(); });
            callsUntilConnected = calls_->calls;
            scenario_->tryAll(*client_);
        } catch (const std::runtime_error &) {
            client_.reset();
        }
        calls_->failure = Failure::None;
        SCOPED_TRACE(concat(kFailures[int(failure)], " at ", at, ", ", calls_->name));
        if (!client_) {
            // It may have ended only because it couldn't start or couldn't accept the client.
            EXPECT_EQ(service_->waitForExit(), failure == Failure::Kill ? -SIGKILL : 0);
            EXPECT_TRUE(failure == Failure::Kill || at <= callsUntilConnected ||
                        calls_->acceptFailed);
            restart();
            scenario_->check(client_.emplace());
        }
        scenario_->doAll(*client_);
        restart();
        scenario_->check(client_.emplace());
    }

private:
    PreloadedCalls calls_;
    std::optional<Scenario> scenario_;
    std::optional<Service> service_;
    std::optional<Client> client_;
};

TEST_P(FailingCallsTest, LoseNothing)
{
    const auto [failure, share] = GetParam();
    const uint64_t total = count();
    ASSERT_GT(total, 100u);
    // In an empty folder only the calls of the start differ.
    constexpr uint64_t kFresh = 32;
    for (uint64_t at = 1 + share; at <= kFresh; at += kShares)
        letFail(failure, at, true);
    for (uint64_t at = 1 + share; at <= total; at += kShares)
        letFail(failure, at, false);
}

TEST(CountedCalls, ARequestIsOneReceiveAndItsReplyOneSend)
{
    PreloadedCalls calls;
    Service service;
    Client client;
    client.does("setPortConfig", "P width=4 height=4 pixelFormat=0 tapGeometry=0");
    const uint64_t receives = calls->receives, sends = calls->sends;
    constexpr uint64_t kRequests = 100;
    for (uint64_t i = 0; i < kRequests; ++i) {
        client.result("deviceCount");
        client.result("getPortConfig", "P");
        client.fails("deviceName", "deviceId=7", "Invalid device index.");
    }
    EXPECT_EQ(calls->receives - receives, 3 * kRequests);
    EXPECT_EQ(calls->sends - sends, 3 * kRequests);
}

INSTANTIATE_TEST_SUITE_P(Calls, FailingCallsTest,
                         testing::Combine(testing::Values(Failure::Once, Failure::Onwards,
                                                          Failure::Kill),
                                          testing::Range(uint64_t(0), kShares)),
                         [](const auto &test) {
                             return concat(kFailures[int(std::get<0>(test.param))],
                                           std::get<1>(test.param));
                         });

} // namespace
} // namespace tavu::test
