#pragma once

#include "lab.h"

namespace tavu {

/// One recorder, and what its storage is tested by.
class StorageLab : public Lab
{
public:
    explicit StorageLab(const std::string &description) { describe("bench", description); }

    /// As if another process began.
    void restart()
    {
        instance.reset();
        recorders.reset();
        start();
    }

    boost::shared_ptr<Quillon::DriveSet> set(uint64_t index = 0) const
    {
        const auto sets = device(0)->storage(0)->driveSets();
        return sets->open(sets->ids()[index]);
    }
    std::filesystem::path setFolder() const { return folder.path / "bench" / "sets" / "1"; }
};

} // namespace tavu
