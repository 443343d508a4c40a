#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace tavu {

/// A lock whose waiters are served in the order in which they joined its line. Its holder can tell
/// those who were in line at some moment that waiting is no use.
class TurnLock
{
public:
    /// A place in the line, and the lock once its turn has come. Belongs to one thread.
    class Turn
    {
    public:
        /// Joins the line, without waiting.
        explicit Turn(TurnLock &lock);
        Turn(Turn &&other) noexcept;
        Turn &operator=(Turn &&) = delete;
        /// Gives the lock up. One that is still in line waits for its turn first.
        ~Turn();

        /// Whether the lock is held; doesn't wait.
        bool hasCome() const;
        /// Waits until the lock is held. False, without the lock, when an earlier holder passed
        /// this place over.
        bool wait();

        /// Where the line ends now.
        uint64_t lineEnd() const;
        /// When the lock is given up, those who stood in the line before \a end are passed over. To
        /// be called with the lock held.
        void passOver(uint64_t end) { nextServed_ = end; }

    private:
        TurnLock *lock_; ///< null when moved from
        const uint64_t number_;
        uint64_t nextServed_;
    };

private:
    mutable std::mutex mutex_; ///< held for moments, never while the lock's holder works
    std::condition_variable moved_;
    uint64_t end_ = 0;    ///< the number of the next place
    uint64_t served_ = 0; ///< the place whose turn it is
};

} // namespace tavu
