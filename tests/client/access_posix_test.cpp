#include "client/connection.h"
#include "service/transport/local_socket.h"
#include "service/transport/shared_region.h"
#include "support/environment.h"
#include "support/error_of.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tavu::client {
namespace {

using test::ScopedVariable;

// In the folder that all users share.
const std::string kName = "tavutest-" + std::to_string(::getpid());
const std::string kAddress = "/tmp/" + kName;

TEST(AccessTest, IsTheServicesUsersUnderAnyUmask)
{
    const ScopedVariable folder("XDG_RUNTIME_DIR", std::nullopt);
    for (const mode_t mask : {0000, 0777}) {
        LocalSocketServer server;
        SharedRegion region;
        const mode_t former = ::umask(mask);
        EXPECT_TRUE(server.listen(kName, false));
        EXPECT_TRUE(region.createUnique("tavu_access_test", 1, false));
        ::umask(former);
        for (const auto &path :
             {kAddress, kAddress + ".lock", "/dev/shm/" + region.mappingName()}) {
            struct stat status = {};
            ::lstat(path.c_str(), &status);
            EXPECT_EQ(0600u, status.st_mode & ALLPERMS) << path << " under " << mask;
        }
        std::filesystem::remove(kAddress + ".lock");
    }
}

/// Lets a service of that user read one byte of a new connection. Returns how many bytes it got,
/// and why the connection failed.
std::string connectToServiceOf(uid_t user)
{
    int ready[2];
    EXPECT_EQ(0, ::pipe(ready));
    char byte = 0;
    const pid_t child = ::fork();
    if (child == 0) {
        test::setVariable("XDG_RUNTIME_DIR", "/tmp");
        LocalSocketServer server;
        if (::setuid(user) != 0 || !server.listen(kName, false) || ::write(ready[1], "r", 1) != 1)
            ::_exit(100);
        ::_exit(static_cast<int>(server.accept().read(&byte, 1)));
    }
    ::close(ready[1]);
    EXPECT_EQ(1, ::read(ready[0], &byte, 1));
    ::close(ready[0]);
    const std::string text = test::errorOf([] { Connection connection(kName); });
    int status = 0;
    ::waitpid(child, &status, 0);
    std::filesystem::remove(kAddress);
    std::filesystem::remove(kAddress + ".lock");
    return std::to_string(WEXITSTATUS(status)) + ": " + text;
}

TEST(AccessTest, AStrangersServiceInTheCommonFolderGetsNoByte)
{
    const ScopedVariable folder("XDG_RUNTIME_DIR", std::nullopt);
    const std::string served = "1: the connection to the service was lost";
    EXPECT_EQ(0u, connectToServiceOf(::geteuid()).find(served));
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    const std::string refused =
        "0: the service at " + kAddress + " runs as another user (id 23456)";
    EXPECT_EQ(0u, connectToServiceOf(23456).find(refused));
    const ScopedVariable empty("XDG_RUNTIME_DIR", "");
    EXPECT_EQ(0u, connectToServiceOf(23456).find(refused));
    // A folder that somebody chose is trusted.
    const ScopedVariable chosen("XDG_RUNTIME_DIR", "/tmp");
    EXPECT_EQ(0u, connectToServiceOf(23456).find(served));
}

} // namespace
} // namespace tavu::client
