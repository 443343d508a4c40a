#include "records/config_record.h"

#include "records/record_envelope.h"

#include <stdexcept>

namespace tavu {

namespace {

constexpr RecordKind kConfigRecord = {"config", "config", "Inalid config file."};
constexpr uint32_t kPlainPairs = 7;
constexpr uint32_t kMinimumPairs = 5;

void writePort(MessageWriter &writer, const PortConfig &port, uint32_t infoLimit)
{
    const bool hasBlock = !port.info.empty() && port.info.size() <= infoLimit;
    writer.writeMapHeader(kPlainPairs + hasBlock);
    writer.writeString("name");
    writer.writeString(port.name);
    writer.writeString("pairedTo");
    writer.writeString(port.pairedTo);
    writer.writeString("width");
    writer.writeUint(port.format.width);
    writer.writeString("height");
    writer.writeUint(port.format.height);
    writer.writeString("pixelFormat");
    writer.writeUint(port.format.pixelFormat);
    writer.writeString("tapGeometry");
    writer.writeUint(port.format.tapGeometry);
    writer.writeString("numFramesPerPacket");
    writer.writeUint(port.framesPerPacket);
    if (hasBlock) {
        writer.writeString("info");
        writer.writeBlob(port.info.data(), static_cast<uint32_t>(port.info.size()));
    }
}

void readValue(MessageReader &reader, const std::string &key, PortConfig &port)
{
    if (key == "name")
        reader.readString(port.name);
    else if (key == "pairedTo")
        reader.readString(port.pairedTo);
    else if (key == "width")
        port.format.width = static_cast<uint16_t>(reader.readPosInt());
    else if (key == "height")
        port.format.height = static_cast<uint16_t>(reader.readPosInt());
    else if (key == "pixelFormat")
        port.format.pixelFormat = static_cast<uint32_t>(reader.readPosInt());
    else if (key == "tapGeometry")
        port.format.tapGeometry = static_cast<uint32_t>(reader.readPosInt());
    else if (key == "numFramesPerPacket")
        port.framesPerPacket = static_cast<uint16_t>(reader.readPosInt());
    else if (key == "info")
        readBlock(reader, port.info);
    else
        reader.skipValue();
}

} // namespace

void writePortConfigs(std::span<const PortConfig *const> ports, Stream &stream, uint32_t infoLimit)
{
    MessageWriter writer(stream);
    writeEnvelope(writer, kConfigRecord);
    writer.writeArrayHeader(static_cast<uint32_t>(ports.size()));
    for (const PortConfig *port : ports)
        writePort(writer, *port, infoLimit);
}

void readPortConfigs(Stream &stream, const std::function<void(PortConfig &)> &found)
{
    MessageReader reader(stream);
    readEnvelope(reader, kConfigRecord);
    std::string key;
    for (uint32_t ports = reader.readArrayHeader(); ports > 0; --ports) {
        uint32_t pairs = reader.readMapHeader();
        if (pairs < kMinimumPairs)
            throw std::runtime_error(kConfigRecord.faultText);
        PortConfig port;
        for (; pairs > 0; --pairs) {
            reader.readString(key);
            readValue(reader, key, port);
        }
        found(port);
    }
}

} // namespace tavu
