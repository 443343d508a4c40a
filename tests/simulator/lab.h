#pragma once

#include "hardware/library/instance.h"
#include "support/environment.h"
#include "support/lab.h"
#include "support/wait.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace tavu {

using test::readFile;

/// Tells the library where its recorders are; an empty path: nowhere.
inline void setSimulatorFolder(const std::filesystem::path &folder)
{
    test::setVariable("QUILLON_SIMULATOR_FOLDER", folder.string());
}

/// A folder with simulated recorders, and the library that runs on it.
class Lab : public test::Lab
{
public:
    Lab() { setSimulatorFolder(folder.path); }

    void start(uint32_t interfaces = 7)
    {
        instance = Quillon::Instance::initialize("test", false, Quillon::Scope(2));
        recorders = instance->deviceCollection(Quillon::HostInterfaceType(interfaces), false);
    }
    /// As if another process began.
    void restart()
    {
        instance.reset();
        recorders.reset();
        start();
    }
    boost::shared_ptr<Quillon::Device> device(uint32_t index) const
    {
        return recorders->device(index);
    }
    boost::shared_ptr<Quillon::Port> port(uint32_t index) const { return device(0)->port(index); }

    boost::shared_ptr<Quillon::Instance> instance;
    boost::shared_ptr<Quillon::DeviceCollection> recorders;
};

/// A lab with one recorder, and what its storage is tested by.
class StorageLab : public Lab
{
public:
    explicit StorageLab(const std::string &description) { describe("bench", description); }

    boost::shared_ptr<Quillon::DriveSet> set(uint64_t index = 0) const
    {
        const auto sets = device(0)->storage(0)->driveSets();
        return sets->open(sets->ids()[index]);
    }
    std::filesystem::path setFolder() const { return folder.path / "bench" / "sets" / "1"; }
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
    return test::waitUntil(condition);
}

} // namespace tavu
