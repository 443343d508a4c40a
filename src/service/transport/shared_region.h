#pragma once

#include <cstdint>
#include <string>

namespace tavu {

/// A named block of memory that a device creates and a client maps by its name. Owns its mapping;
/// movable, not copyable, not thread-safe.
class SharedRegion
{
public:
    SharedRegion() = default;
    SharedRegion(SharedRegion &&other) noexcept;
    SharedRegion &operator=(SharedRegion &&other) noexcept;
    ~SharedRegion();

    /// Creates a region of \a size zeroed bytes under a name that nobody uses: the base name and
    /// hexadecimal digits of a number from std::rand(). False when that can't be done; the object
    /// is then closed. A name in use costs one number; memory that can't be had costs all those
    /// that one call may draw, so that the names that follow don't depend on why it failed.
    bool createUnique(const std::string &baseName, uint64_t size, bool global);

    /// Creates a region under exactly this name; false when the name is in use.
    bool createNamed(const std::string &name, uint64_t size, bool global);

    /// Maps an existing region; viewSize() is then rounded up to whole pages.
    bool open(const std::string &name);

    void close();

    /// Null when closed.
    void *view() const { return view_; }
    /// Size of the view in bytes.
    uint64_t viewSize() const { return viewSize_; }
    std::string mappingName() const { return mappingName_; }

private:
    /// The most names that one createUnique() tries.
    static constexpr int kNameAttempts = 10000;

    /// Draws the numbers that the attempts from this one on would have cost.
    static void skipNumbers(int attempt);

    /// Takes over a new mapping; false, and closed, when \a view is null.
    bool adopt(const std::string &name, intptr_t handle, void *view, uint64_t viewSize);

    std::string mappingName_;
    intptr_t mappingHandle_ = 0; ///< 0 when closed
    void *view_ = nullptr;
    uint64_t viewSize_ = 0;
};

/// Removes the regions below \a baseName whose creator died without closing them, on systems where
/// such regions stay behind.
void removeStaleRegions(const std::string &baseName);

} // namespace tavu
