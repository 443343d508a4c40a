#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace tavu::view {

/// What all browsers shall know, by topic: the newest text of each. From any thread.
class Board
{
public:
    /// Hears of topics that have changed. Called by the thread that has changed them; must not
    /// wait.
    class Reader
    {
    public:
        virtual ~Reader() = default;
        virtual void changed(const std::string &topic) = 0;
    };

    /// Tells the readers, unless the text is the same as before. An empty one removes the topic.
    void put(const std::string &topic, std::string text);
    /// Null when there is no such topic.
    std::shared_ptr<const std::string> text(const std::string &topic) const;

    /// Adds a reader, who hears of everything that is there at once.
    void add(const std::shared_ptr<Reader> &reader);

private:
    mutable std::mutex mutex_;
    std::map<std::string, std::shared_ptr<const std::string>> topics_;
    std::vector<std::weak_ptr<Reader>> readers_;
};

} // namespace tavu::view
