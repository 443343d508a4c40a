#pragma once

#include "catalogue.h"

#include <memory>
#include <vector>

namespace tavu::bench {

/// What msgpack-cxx does for the work of our codec. A decoded message, kept for encoding.
class MsgpackTree
{
public:
    explicit MsgpackTree(const std::vector<unsigned char> &message);
    ~MsgpackTree();

    /// Packs the tree into a fresh buffer; returns the bytes that came.
    size_t pack() const;

private:
    struct Content;
    std::unique_ptr<Content> content_;
};

/// Unpacks to an object and drops it.
void unpackWithMsgpack(const std::vector<unsigned char> &message);

/// Packs the reply to listFiles call by call; returns the bytes that came.
size_t packFilesWithMsgpack(const std::vector<FileEntry> &files);

} // namespace tavu::bench
