// A libFuzzer target: whatever the bytes, decoding in place or ahead must do what decoding through
// the stream does, and what was decoded must survive encoding, copying and skipping.

#include "encoding/test_streams.h"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

using namespace tavu;
using namespace tavu::test;

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "message_reader_fuzz: %s\n", what);
        std::abort();
    }
}

struct Outcome
{
    bool operator==(const Outcome &) const = default;
    /// The same of a stream at whose end nothing is raised, but fewer bytes come.
    bool isLike(const Outcome &ahead) const
    {
        if (raised.empty())
            return *this == ahead;
        return ahead.raised == (raised == "eof" ? "Failed to read." : raised);
    }

    std::string raised;
    uint64_t left;
    std::string lastText{}; ///< this and the next only when nothing was raised
    ObjectType lastType{};
};

/// Decodes a value, or skips it when there is nothing to decode into.
Outcome run(const Bytes &bytes, Way way, ObjectValue *value)
{
    Reading it(bytes, way);
    const std::string raised =
        errorOf([&] { value ? it.reader.readObject(*value) : it.reader.skipValue(); });
    if (!raised.empty())
        return {raised, it.left()};
    return {raised, it.left(), it.reader.stringValue(), it.reader.lastType()};
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const Bytes bytes(data, data + size);
    ObjectValue value, throughStream, ahead, again;
    const Outcome decoded = run(bytes, Way::InPlace, &value),
                  skipped = run(bytes, Way::InPlace, nullptr);
    require(decoded == run(bytes, Way::Apart, &throughStream), "decoding in place ends otherwise");
    require(skipped == run(bytes, Way::Apart, nullptr), "skipping in place ends otherwise");
    // A byte behind it all: only memory refuses to read nothing at its end.
    const Bytes longer = bytes + '\xC1';
    require(run(longer, Way::InPlace, &again).isLike(run(longer, Way::Ahead, &ahead)),
            "decoding ahead ends otherwise");
    require(encoded(again) == encoded(ahead), "decoding ahead gives another value");
    require(run(longer, Way::InPlace, nullptr).isLike(run(longer, Way::Ahead, nullptr)),
            "skipping ahead ends otherwise");
    const Bytes first = encoded(value);
    require(first == encoded(throughStream), "decoding in place gives another value");
    // A key that is no string is a fault to the decoder only.
    if (decoded.raised != "Expected string.")
        require(decoded.raised.empty() == skipped.raised.empty(), "only one of them raises");
    if (!decoded.raised.empty()) {
        require(value.type() == ObjectType::Nil, "a failed decoding leaves a value");
        return 0;
    }
    require(skipped.left == decoded.left, "skipping ends elsewhere");
    require(run(first + '\xC1', Way::InPlace, &again).left == 1,
            "what was encoded can't be decoded");
    require(encoded(again) == first, "encoding isn't stable");
    const ObjectValue copy(value);
    const Bytes copied = encoded(copy);
    require(copied.size() == first.size(), "a copy has another size");
    require(encoded(ObjectValue(copy)) == copied, "a copy of a copy differs");
    return 0;
}
