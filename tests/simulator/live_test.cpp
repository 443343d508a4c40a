#include "lab.h"

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

namespace tavu {
namespace {

constexpr Quillon::GrabOptions kLive{true, 4};

boost::shared_ptr<Common::Frame> grab(const boost::shared_ptr<Quillon::Port> &port,
                                      uint32_t timeLimit)
{
    boost::shared_ptr<Common::Frame> frame;
    port->grab(frame, timeLimit, true, false, true, false, true);
    return frame;
}

boost::shared_ptr<Common::Buffer> bytes(const std::string &text)
{
    return Common::Buffer::create(text.data(), text.size());
}

std::string textOf(const boost::shared_ptr<Common::Buffer> &buffer)
{
    return std::string(static_cast<const char *>(buffer->data()), buffer->size());
}

TEST(LiveTest, DescriptorAndSettingsShapeTheFrame)
{
    Lab lab;
    lab.describe("r", "ports = 3\n[ports]\nframe rate = 500\nbit depth = 12\n"
                      "[port 2]\nbit depth setting = yes\n[port 3]\npacking setting = yes\n"
                      "bit depth = 8");
    lab.start();
    const auto shape = [&](uint32_t index) {
        lab.port(index)->startGrab(kLive, 0);
        const auto frame = grab(lab.port(index), 10'000);
        if (!frame)
            return std::string("none");
        const auto type = frame->dataType();
        return std::to_string(type->width()) + "x" + std::to_string(type->height()) + "x" +
               std::to_string(type->bitDepth()) + " " + std::to_string(frame->buffer()->size());
    };
    EXPECT_EQ(shape(0), "640x480x12 614400");
    EXPECT_EQ(shape(2), "640x480x8 307200");

    const auto declare = [&](uint32_t index, uint32_t type, auto... fields) {
        const auto descriptor = Quillon::DataDescriptor::Factory::create(type);
        for (const auto &[id, value] : {std::pair<uint32_t, uint32_t>(fields)...})
            descriptor->field(id) = Quillon::ParameterValue::uint32(value);
        lab.port(index)->setDataDescriptor(descriptor);
    };
    using Field = std::pair<uint32_t, uint32_t>;
    declare(1, 4, Field(35, 60), Field(1, 30), Field(2, 20), Field(5, 1));
    declare(2, 0, Field(1, 25), Field(2, 10), Field(5, 4));
    lab.port(1)->setBitDepth(16);
    lab.port(2)->setPacking(0);
    EXPECT_EQ(shape(1), "60x20x16 2400");
    EXPECT_EQ(shape(2), "100x10x16 2000");
    EXPECT_NE(libraryErrorOf([&] { lab.port(0)->setBitDepth(16); }), "");
    EXPECT_NE(libraryErrorOf([&] { lab.port(0)->setPacking(0); }), "");
}

TEST(LiveTest, ASilentCameraIsWokenThroughItsRegister)
{
    Lab lab;
    const std::string description = "[port 1]\nacquisition start = 0x1234\nframe rate = 100\n"
                                    "memory size = 32K\nregister 0x40 = 0x01020304\nsilent = ";
    lab.describe("r", description + "yes");
    lab.start();
    const auto port = lab.port(0);
    port->startGrab(kLive, 0);
    EXPECT_EQ(port->measuredFrameRate(), 0);
    EXPECT_FALSE(grab(port, 50));

    const auto word = bytes("????");
    port->readMemory(word, 0x300C, 0);
    EXPECT_EQ(textOf(word), std::string("\0\0\x12\x34", 4));
    port->readMemory(word, 0x40, 0);
    EXPECT_EQ(textOf(word), "\1\2\3\4");
    std::atomic<bool> gotFrame = false;
    std::thread waiting([&] { gotFrame = bool(grab(port, 600'000)); });
    port->writeMemory(bytes(std::string("\0\0\0\1", 4)), 0x1234, 0);
    waiting.join();
    EXPECT_TRUE(gotFrame);
    EXPECT_EQ(port->measuredFrameRate(), 100);

    port->writeMemory(bytes(std::string(4, '\0')), 0x1234, 0);
    EXPECT_EQ(port->measuredFrameRate(), 0);
    for (const auto &[silent, rate] : {std::pair("no", 100), std::pair("yes", 0)}) {
        lab.describe("r", description + silent);
        EXPECT_TRUE(eventually([&, expected = rate] {
            return port->measuredFrameRate() == expected;
        })) << silent;
    }
    for (const uint32_t address : {0x7ffdu, 0x8000u, 0xffffffffu})
        EXPECT_NE(libraryErrorOf([&] { port->readMemory(word, address, 0); }), "") << address;
    lab.describe("r", "[port 1]\ncamera = no");
    ASSERT_TRUE(eventually([&] { return !port->isCameraDetected(); }));
    EXPECT_EQ(libraryErrorOf([&] { port->readMemory(word, 0, 0); }),
              "There is no camera on the port.");
}

TEST(SerialTest, TheCameraAnswersLines)
{
    Lab lab;
    lab.describe("r", "ports = 2\n[port 1]\nname = Left\nsilent = yes\n[port 2]\nserial = no");
    lab.start();
    const auto port = lab.port(0);
    const auto serial = port->serial();
    EXPECT_FALSE(serial->isEnabled());
    EXPECT_NE(libraryErrorOf([&] { serial->send(bytes("id\r")); }), "");
    serial->setEnabled(true);
    const auto ask = [&](const std::string &line, size_t size) {
        serial->send(bytes(line));
        const auto answer = bytes(std::string(size, '.'));
        return serial->receive(answer, 100, "") ? textOf(answer) : "nothing";
    };
    EXPECT_EQ(ask("id\r", 25), "simulated camera on Left\r");
    EXPECT_EQ(ask("ec", 1), "nothing");                       // half a line
    EXPECT_EQ(ask("ho a b\r\nset gain 3 4\r", 8), "nothing"); // there are 7, and they stay
    EXPECT_EQ(ask("", 7), "a b\rok\r");
    EXPECT_EQ(ask("get gain\rget\rspin\r", 8), "3 4\r?\r?\r");
    serial->send(bytes("id\r"));
    serial->clear(0);
    EXPECT_EQ(ask("", 1), "nothing");
    EXPECT_EQ(port->measuredFrameRate(), 0);
    EXPECT_EQ(ask("start\r", 3), "ok\r");
    EXPECT_EQ(port->measuredFrameRate(), 30);
    serial->setBaudRate(115200);
    EXPECT_EQ(serial->baudRate(), 115200u);
    EXPECT_FALSE(lab.port(1)->hasSerial());
    EXPECT_NE(libraryErrorOf([&] { lab.port(1)->serial(); }), "");
}

} // namespace
} // namespace tavu
