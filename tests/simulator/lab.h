#pragma once

#include "hardware/library/instance.h"
#include "temporary_folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>

namespace tavu {

/// Tells the library where its recorders are; an empty path: nowhere.
void setSimulatorFolder(const std::filesystem::path &folder);

/// A folder with simulated recorders, and the library that runs on it.
class Lab
{
public:
    Lab() { setSimulatorFolder(folder.path); }

    /// Writes a file of a recorder's folder, or of the main one.
    void write(const std::string &place, const std::string &file, const std::string &content) const
    {
        const std::filesystem::path path = folder.path / std::filesystem::path(place);
        std::filesystem::create_directories(path);
        writeFile(path / file, content);
    }
    void describe(const std::string &recorder, const std::string &content) const
    {
        write(recorder, "recorder.conf", content);
    }

    void start(uint32_t interfaces = 7)
    {
        instance = Quillon::Instance::initialize("test", false, Quillon::Scope(2));
        recorders = instance->deviceCollection(Quillon::HostInterfaceType(interfaces), false);
    }
    boost::shared_ptr<Quillon::Device> device(uint32_t index) const
    {
        return recorders->device(index);
    }
    boost::shared_ptr<Quillon::Port> port(uint32_t index) const { return device(0)->port(index); }

    TemporaryFolder folder;
    boost::shared_ptr<Quillon::Instance> instance;
    boost::shared_ptr<Quillon::DeviceCollection> recorders;
};

/// The text of the exception that the library raises; empty when it raises none.
template <typename Operation>
std::string libraryErrorOf(Operation operation)
{
    try {
        operation();
    } catch (const Common::GeneralException &error) {
        return error.what();
    }
    return std::string();
}

/// Waits for something that happens soon.
inline bool eventually(const std::function<bool()> &condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace tavu
