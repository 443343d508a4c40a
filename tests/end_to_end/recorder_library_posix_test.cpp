// What the service says about a recorder library that it has found and that lacks something.

#include "harness/recording.h"
#include "harness/service.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

TEST(RecorderLibrary, IsToldWhatItLacks)
{
    const struct
    {
        const char *folder;
        std::string errors;
        uint64_t recorders;
    } cases[] = {
        {"no_library", "", 0},
        {"no_function", "libquillon.so lacks _ZN6Common15TimestampHelper13universalTimeEv\n", 1},
        {"no_destructor", "libquillon.so lacks _ZN7Quillon6VectorIjED1Ev\n", 0},
        {"no_dependency",
         LIBRARIES_FOLDER
         "/no_dependency/Bin/libquillon.so: undefined symbol: _Z16functionOfNobodyv\n",
         0},
    };
    Lab lab;
    lab.describe("a", "connected = no");
    for (const auto &each : cases) {
        Service service({}, lab.path());
        service.kill();
        setVariable("QUILLON_PATH_X64", concat(LIBRARIES_FOLDER, "/", each.folder));
        service.start();
        EXPECT_EQ(Client().result("deviceCount")["count"].number, each.recorders) << each.folder;
        EXPECT_EQ(service.errors(), each.errors);
    }
}

} // namespace
} // namespace tavu::test
