#include "client/tavuview/board.h"

#include <utility>

namespace tavu::view {

void Board::put(const std::string &topic, std::string text)
{
    std::vector<std::shared_ptr<Reader>> readers;
    {
        const std::lock_guard lock(mutex_);
        auto &place = topics_[topic];
        if (place ? *place == text : text.empty())
            return;
        place = text.empty() ? nullptr : std::make_shared<const std::string>(std::move(text));
        std::erase_if(readers_, [](const auto &reader) { return reader.expired(); });
        for (const auto &weak : readers_)
            readers.push_back(weak.lock());
    }
    for (const auto &reader : readers) {
        if (reader)
            reader->changed(topic);
    }
}

std::shared_ptr<const std::string> Board::text(const std::string &topic) const
{
    const std::lock_guard lock(mutex_);
    const auto found = topics_.find(topic);
    return found == topics_.end() ? nullptr : found->second;
}

void Board::add(const std::shared_ptr<Reader> &reader)
{
    std::vector<std::string> known;
    {
        const std::lock_guard lock(mutex_);
        readers_.push_back(reader);
        for (const auto &[topic, text] : topics_) {
            if (text)
                known.push_back(topic);
        }
    }
    for (const std::string &topic : known)
        reader->changed(topic);
}

} // namespace tavu::view
