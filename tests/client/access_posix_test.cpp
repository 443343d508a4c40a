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

unsigned modeOf(const std::string &path)
{
    struct stat status = {};
    ::lstat(path.c_str(), &status);
    return status.st_mode & ALLPERMS;
}

TEST(AccessTest, TheServicesThingsAreItsUsersUnderAnyUmask)
{
    char folder[] = "/tmp/tavu-access-XXXXXX";
    ASSERT_TRUE(::mkdtemp(folder));
    ::setenv("XDG_RUNTIME_DIR", folder, 1);
    const std::string address = localSocketAddress("tavutest");
    for (const mode_t mask : {0000, 0777}) {
        LocalSocketServer server;
        SharedRegion region;
        const mode_t former = ::umask(mask);
        EXPECT_TRUE(server.listen("tavutest", false));
        EXPECT_TRUE(region.createUnique("tavu_access_test", 1, false));
        ::umask(former);
        for (const std::string &path :
             {address, address + ".lock", "/dev/shm/" + region.mappingName()})
            EXPECT_EQ(0600u, modeOf(path)) << path << " under " << mask;
        std::filesystem::remove(address + ".lock");
    }
    std::filesystem::remove_all(folder);
}

/// Connects to a service of this user in the common folder. Returns the failure's text, and in
/// \a received how many bytes the service got, of which it reads one at most.
std::string connectToServiceOf(uid_t user, int &received)
{
    const std::string name = "tavutest-" + std::to_string(::getpid());
    int ready[2];
    EXPECT_EQ(0, ::pipe(ready));
    const pid_t child = ::fork();
    if (child == 0) {
        ::setenv("XDG_RUNTIME_DIR", "/tmp", 1);
        LocalSocketServer server;
        char byte = 0;
        if (::setuid(user) != 0 || !server.listen(name, false) || ::write(ready[1], "r", 1) != 1)
            ::_exit(100);
        ::_exit(static_cast<int>(server.accept().read(&byte, 1)));
    }
    ::close(ready[1]);
    char byte = 0;
    std::string text = "not ready";
    try {
        if (::read(ready[0], &byte, 1) == 1)
            Connection connection(name);
    } catch (const ConnectionError &error) {
        text = error.what();
    }
    ::close(ready[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    received = WEXITSTATUS(status);
    std::filesystem::remove("/tmp/" + name);
    std::filesystem::remove("/tmp/" + name + ".lock");
    return text;
}

TEST(AccessTest, AStrangersServiceInTheCommonFolderGetsNoByte)
{
    constexpr uid_t stranger = 23456;
    int received = 0;
    ::unsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(0u, connectToServiceOf(::geteuid(), received).find("the connection to the service "));
    EXPECT_EQ(1, received);
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    for (const bool isEmpty : {false, true}) {
        if (isEmpty)
            ::setenv("XDG_RUNTIME_DIR", "", 1);
        const std::string text = connectToServiceOf(stranger, received);
        EXPECT_NE(std::string::npos, text.find("runs as another user (id 23456)")) << text;
        EXPECT_NE(std::string::npos, text.find("Set XDG_RUNTIME_DIR to a folder")) << text;
        EXPECT_EQ(0, received);
    }
    // A folder that was chosen is trusted.
    ::setenv("XDG_RUNTIME_DIR", "/tmp", 1);
    EXPECT_EQ(0u, connectToServiceOf(stranger, received).find("the connection to the service "));
    EXPECT_EQ(1, received);
}

} // namespace
} // namespace tavu::client
