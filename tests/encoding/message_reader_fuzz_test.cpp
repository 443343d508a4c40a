#include "support/wire.h"

#include <gtest/gtest.h>
#include <random>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace tavu::test {

// The fuzz target over the same inputs each time: well-formed messages, and what becomes of them.
TEST(MessageReaderFuzz, HoldsForMutatedMessages)
{
    const Bytes seeds[] = {
        fromHex("83 a3616374 a465786563 a36f7264 2a a6706172616d73 82 a86465766963654964 00"
                " a8706f72744d61736b 03"),
        fromHex("93 cc80 cd0100 ce00010000 cf0000000100000000 d080 d18000 d280000000 e0 7f"),
        fromHex("95 c0 c2 c3 ca3fc00000 cb3ff8000000000000"),
        fromHex("dc0003 c40411223344 d90561 00 626300 da000161"),
        fromHex("de0002 b06e756d44726f707065644672616d6573 b4000102030405060708090a0b0c0d0e0f1011"
                "1213 a0 dd00000002 80 90"),
        Bytes(40, '\x91') + '\xC0'};
    const Bytes leads =
        fromHex("00 7f 80 81 90 a0 b1 bf c0 c1 c4 ca cb cc cf d0 d3 d9 db dc dd de df ff");
    std::mt19937 random(20240601);
    const auto below = [&](size_t bound) { return random() % bound; };
    for (const Bytes &seed : seeds) {
        for (int round = 0; round < 1000; ++round) {
            Bytes bytes = seed;
            for (size_t mutations = below(4); mutations > 0 && !bytes.empty(); --mutations) {
                const size_t at = below(bytes.size()), kind = below(5);
                const char lead = leads[below(leads.size())];
                if (kind == 0)
                    bytes.resize(at);
                else if (kind == 1)
                    bytes.erase(at, 1);
                else if (kind == 2)
                    bytes.insert(at, 1, lead);
                else
                    bytes[at] = kind == 3 ? lead : static_cast<char>(random());
            }
            const auto *data = reinterpret_cast<const uint8_t *>(bytes.data());
            ASSERT_EQ(LLVMFuzzerTestOneInput(data, bytes.size()), 0);
        }
    }
}

} // namespace tavu::test
