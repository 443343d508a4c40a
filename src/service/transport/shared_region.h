#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace tavu {

/// A mapping and what the system wants to have closed with it; each system adds its own.
struct RegionMapping
{
    virtual ~RegionMapping() = default;

    std::string name;
    void *view = nullptr;
    uint64_t viewSize = 0; ///< bytes
};

/// A named block of memory that a device creates and a client maps by its name. Owns its mapping;
/// movable, not copyable, not thread-safe.
class SharedRegion
{
public:
    /// Creates a region of \a size zeroed bytes under a name that nobody uses: the base name and
    /// hexadecimal digits of a number from std::rand(). False when that can't be done; the object
    /// is then closed. A name in use costs one number; memory that can't be had costs all those
    /// that one call may draw, so that the names that follow don't depend on why it failed.
    bool createUnique(const std::string &baseName, uint64_t size, bool global);

    /// Creates a region under exactly this name; false when the name is in use.
    bool createNamed(const std::string &name, uint64_t size, bool global);

    /// Maps an existing region; viewSize() is then rounded up to whole pages.
    bool open(const std::string &name);

    void close() { mapping_.reset(); }

    /// Null when closed.
    void *view() const { return mapping_ ? mapping_->view : nullptr; }
    /// Size of the view in bytes.
    uint64_t viewSize() const { return mapping_ ? mapping_->viewSize : 0; }
    std::string mappingName() const { return mapping_ ? mapping_->name : std::string(); }

private:
    /// The most names that one createUnique() tries.
    static constexpr int kNameAttempts = 10000;

    /// Draws the numbers that the attempts from this one on would have cost.
    static void skipNumbers(int attempt);

    /// Takes over a new mapping; false, and closed, when it has no view.
    bool adopt(std::unique_ptr<RegionMapping> mapping);

    std::unique_ptr<RegionMapping> mapping_; ///< null when closed
};

/// Removes the regions below \a baseName whose creator died without closing them, on systems where
/// such regions stay behind.
void removeStaleRegions(const std::string &baseName);

} // namespace tavu
