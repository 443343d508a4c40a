#include "cases.h"
#include "measure.h"
#include "meta_records.h"
#include "service_process.h"

#include <fcntl.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace tavu::bench {

namespace {

constexpr int kRounds = 9;

/// What every reader of a small file must do at the least.
void readFile(const std::filesystem::path &path)
{
    char buffer[65536];
    const int file = ::open(path.c_str(), O_RDONLY);
    while (::read(file, buffer, sizeof buffer) == sizeof buffer) {
    }
    ::close(file);
}

std::filesystem::path metaFile(const std::filesystem::path &folder, uint32_t id)
{
    return folder / "Emu" / (std::to_string(id) + ".meta");
}

void writeCatalogue(const std::filesystem::path &folder, uint32_t count)
{
    writeRecords(folder / ".files", "", 1, count);
    for (uint32_t id = 1; id <= count; ++id)
        writeRecords(metaFile(folder, id), "recording ", id, 1);
}

/// From the start of a process that only reads the files to its end.
double startReader(const std::filesystem::path &folder, uint32_t count)
{
    return secondsOf([&] {
        int status = 0;
        ::waitpid(startProgram({programPath("service_bench"), "--read-records", folder.string(),
                                std::to_string(count)}),
                  &status, 0);
        if (status != 0)
            throw std::runtime_error("the reader of the catalogue failed");
    });
}

void benchCatalogue(uint32_t count)
{
    Workplace workplace;
    writeCatalogue(workplace.emulator(), count);
    {
        ServiceProcess service;
        Client client;
        if (client.listFiles(0).size() != count)
            throw std::runtime_error("the service doesn't list all recordings");
    }
    printRow(
        "start with " + std::to_string(count) + " recordings",
        compare(kRounds, startService, [&] { return startReader(workplace.emulator(), count); }),
        1e3, "ms", "<= 2.00");
}

} // namespace

void readRecords(const std::filesystem::path &folder, uint32_t count)
{
    readFile(folder / ".files");
    for (uint32_t id = 1; id <= count; ++id)
        readFile(metaFile(folder, id));
}

void benchStartUp()
{
    for (const uint32_t count : {1000, 10000})
        benchCatalogue(count);
}

} // namespace tavu::bench
