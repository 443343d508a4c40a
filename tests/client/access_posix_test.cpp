#include "client/connection.h"
#include "service/shared_region.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tavu::client {
namespace {

/// Services in the common folder.
class AccessTest : public testing::Test
{
protected:
    AccessTest() { ::unsetenv("XDG_RUNTIME_DIR"); }
    ~AccessTest() override { clear(); }
    void clear() const
    {
        for (const char *suffix : {"", ".lock"})
            std::filesystem::remove(address_ + suffix);
    }
    std::string connectToServiceOf(uid_t user) const;

    const std::string name_ = "tavutest-" + std::to_string(::getpid());
    const std::string address_ = "/tmp/" + name_;
};

TEST_F(AccessTest, IsTheServicesUsersUnderAnyUmask)
{
    for (const mode_t mask : {0000, 0777}) {
        LocalSocketServer server;
        SharedRegion region;
        const mode_t former = ::umask(mask);
        EXPECT_TRUE(server.listen(name_, false));
        EXPECT_TRUE(region.createUnique("tavu_access_test", 1, false));
        ::umask(former);
        for (const auto &path :
             {address_, address_ + ".lock", "/dev/shm/" + region.mappingName()}) {
            struct stat status = {};
            EXPECT_EQ(0, ::lstat(path.c_str(), &status));
            EXPECT_EQ(0600u, status.st_mode & ALLPERMS) << path << " under " << mask;
        }
        clear();
    }
}

/// Returns how many bytes that service gets, of which it reads one at most, and why the connection
/// fails.
std::string AccessTest::connectToServiceOf(uid_t user) const
{
    int ready[2];
    EXPECT_EQ(0, ::pipe(ready));
    char byte = 0;
    const pid_t child = ::fork();
    if (child == 0) {
        ::setenv("XDG_RUNTIME_DIR", "/tmp", 1);
        LocalSocketServer server;
        if (::setuid(user) != 0 || !server.listen(name_, false) || ::write(ready[1], "r", 1) != 1)
            ::_exit(100);
        ::_exit(static_cast<int>(server.accept().read(&byte, 1)));
    }
    ::close(ready[1]);
    EXPECT_EQ(1, ::read(ready[0], &byte, 1));
    ::close(ready[0]);
    std::string text;
    try {
        Connection connection(name_);
    } catch (const ConnectionError &error) {
        text = error.what();
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    clear();
    return std::to_string(WEXITSTATUS(status)) + ": " + text;
}

TEST_F(AccessTest, AStrangersServiceInTheCommonFolderGetsNoByte)
{
    const std::string served = "1: the connection to the service was lost";
    EXPECT_EQ(0u, connectToServiceOf(::geteuid()).find(served));
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    const std::string refused =
        "0: the service at " + address_ + " runs as another user (id 23456)";
    EXPECT_EQ(0u, connectToServiceOf(23456).find(refused));
    ::setenv("XDG_RUNTIME_DIR", "", 1);
    EXPECT_EQ(0u, connectToServiceOf(23456).find(refused));
    // A folder that somebody chose is trusted.
    ::setenv("XDG_RUNTIME_DIR", "/tmp", 1);
    EXPECT_EQ(0u, connectToServiceOf(23456).find(served));
}

} // namespace
} // namespace tavu::client
