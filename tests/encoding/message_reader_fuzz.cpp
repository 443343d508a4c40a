// A libFuzzer target: whatever the bytes, decoding in place must do what decoding through the
// stream does, and what was decoded must survive encoding, copying and skipping.

#include "encoding/message_reader.h"
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

/// A MemStream that the codec can't look into.
class Opaque final : public Stream
{
public:
    explicit Opaque(MemStream &inner) : inner_(inner) {}
    uint64_t read(void *buffer, uint64_t n) override { return inner_.read(buffer, n); }
    uint64_t write(const void *buffer, uint64_t n) override { return inner_.write(buffer, n); }

private:
    MemStream &inner_;
};

struct Outcome
{
    std::string raised;
    uint64_t left = 0;
    ObjectValue value;
    std::string lastText;
    ObjectType lastType = ObjectType::Nil;
};

Outcome run(Bytes &bytes, bool inPlace, void (*work)(MessageReader &, Outcome &))
{
    MemStream memory(bytes.data(), bytes.size());
    Opaque opaque(memory);
    MessageReader reader(inPlace ? static_cast<Stream &>(memory) : opaque);
    Outcome outcome;
    outcome.raised = errorOf([&] {
        work(reader, outcome);
        outcome.lastText = reader.stringValue();
        outcome.lastType = reader.lastType();
    });
    outcome.left = memory.remaining();
    return outcome;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Bytes bytes(data, data + size);
    const auto decode = [](MessageReader &reader, Outcome &it) { reader.readObject(it.value); };
    const auto skip = [](MessageReader &reader, Outcome &) { reader.skipValue(); };
    const Outcome there = run(bytes, true, decode), apart = run(bytes, false, decode);
    require(there.raised == apart.raised && there.left == apart.left, "decoding ends elsewhere");
    require(there.lastText == apart.lastText && there.lastType == apart.lastType,
            "decoding leaves another state");
    const Bytes first = encoded(there.value);
    require(first == encoded(apart.value), "decoding in place gives another value");
    const Outcome skipped = run(bytes, true, skip);
    if (skipped.raised.empty() && there.raised != "Expected string.")
        require(there.raised.empty() && skipped.left == there.left, "skipping ends elsewhere");
    if (!there.raised.empty()) {
        require(there.value.type() == ObjectType::Nil, "a failed decoding leaves a value");
        return 0;
    }
    require(skipped.raised.empty(), "a good value can't be skipped");

    Bytes again = first + Bytes(1, 0xC1);
    const Outcome second = run(again, true, decode);
    require(second.raised.empty() && second.left == 1, "what was encoded can't be decoded");
    require(encoded(second.value) == first, "encoding isn't stable");
    const ObjectValue copy(there.value);
    const Bytes copied = encoded(copy);
    require(copied.size() == first.size(), "a copy has another size");
    require(encoded(ObjectValue(copy)) == copied, "a copy of a copy differs");
    return 0;
}
