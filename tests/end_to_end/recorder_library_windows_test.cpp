// What the service does with a recorder library that it has found and that lacks something.

#include "harness/client.h"
#include "harness/service.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/lab.h"

#include <gtest/gtest.h>

namespace tavu::test {
namespace {

/// The simulated library without one of its exports: nobody finds it any more under another name,
/// which stands at the same place in the order of names.
Bytes libraryWithout(const Bytes &function)
{
    Bytes library = readFile(RECORDER_LIBRARY_PATH);
    const size_t at = library.find('\0' + function + '\0');
    EXPECT_NE(at, Bytes::npos) << function;
    library[at + function.size()] += 1;
    return library;
}

TEST(RecorderLibrary, IsToldWhatItLacks)
{
    Lab lab;
    lab.describe("a", "connected = no");
    for (const auto &[function, recorders] :
         {std::pair("_ZN6Common15TimestampHelper13universalTimeEv", 1u),
          {"_ZN7Quillon6VectorIjED1Ev", 0u}}) {
        const TemporaryFolder folder;
        std::filesystem::create_directories(folder.path / "Bin");
        writeFile(folder.path / "Bin" / "quillon.dll", libraryWithout(function));
        Service service({}, lab.path());
        service.kill();
        setVariable("QUILLON_PATH_X64", folder.path.string());
        service.start();
        EXPECT_EQ(Client().result("deviceCount")["count"].number, recorders) << function;
        EXPECT_EQ(service.errors(), concat("quillon.dll lacks ", function, "\n"));
    }
}

} // namespace
} // namespace tavu::test
