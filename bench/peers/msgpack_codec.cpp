#include "msgpack_codec.h"

#include <cstring>
#include <msgpack.hpp>
#include <type_traits>

namespace tavu::bench {

namespace {

msgpack::object_handle unpack(const std::vector<unsigned char> &message)
{
    return msgpack::unpack(reinterpret_cast<const char *>(message.data()), message.size());
}

} // namespace

struct MsgpackTree::Content
{
    msgpack::object_handle handle;
};

MsgpackTree::MsgpackTree(const std::vector<unsigned char> &message)
    : content_(std::make_unique<Content>(Content{unpack(message)}))
{
}

MsgpackTree::~MsgpackTree() = default;

size_t MsgpackTree::pack() const
{
    msgpack::sbuffer buffer;
    msgpack::pack(buffer, content_->handle.get());
    return buffer.size();
}

void unpackWithMsgpack(const std::vector<unsigned char> &message)
{
    const msgpack::object_handle handle = unpack(message);
    static_cast<void>(handle);
}

size_t packFilesWithMsgpack(const std::vector<FileEntry> &files)
{
    msgpack::sbuffer buffer;
    msgpack::packer<msgpack::sbuffer> packer(buffer);
    const auto packText = [&](const char *text, size_t length) {
        packer.pack_str(static_cast<uint32_t>(length));
        packer.pack_str_body(text, static_cast<uint32_t>(length));
    };
    packer.pack_map(1);
    packText("result", 6);
    packer.pack_map(1);
    packText("files", 5);
    packer.pack_array(static_cast<uint32_t>(files.size()));
    for (const FileEntry &file : files) {
        packer.pack_map(kPairsPerFile);
        forEachPair(file, [&](const char *key, const auto &value) {
            packText(key, std::strlen(key));
            if constexpr (std::is_same_v<decltype(value), const std::string &>)
                packText(value.data(), value.size());
            else
                packer.pack_uint64(value);
        });
    }
    return buffer.size();
}

} // namespace tavu::bench
