#include "records/config_record.h"

#include "records/record_fields.h"

#include <stdexcept>

namespace tavu {

namespace {

constexpr RecordKind kConfigRecord = {"config", "config", "Inalid config file."};
constexpr uint32_t kMinimumPairs = 5;

template <auto member>
constexpr RecordField<PortConfig> formatField(std::string_view key)
{
    return {key,
            [](MessageWriter &writer, const PortConfig &port) {
                RecordValue::write(writer, port.format.*member);
            },
            [](MessageReader &reader, PortConfig &port) {
                RecordValue::read(reader, port.format.*member);
            }};
}

constexpr RecordField<PortConfig> kFields[] = {
    field<&PortConfig::name>("name"),
    field<&PortConfig::pairedTo>("pairedTo"),
    formatField<&PortFormat::width>("width"),
    formatField<&PortFormat::height>("height"),
    formatField<&PortFormat::pixelFormat>("pixelFormat"),
    formatField<&PortFormat::tapGeometry>("tapGeometry"),
    field<&PortConfig::framesPerPacket>("numFramesPerPacket"),
    field<&PortConfig::info>("info"),
};

} // namespace

void writePortConfigs(std::span<const PortConfig *const> ports, Stream &stream, uint32_t infoLimit)
{
    MessageWriter writer(stream);
    writeEnvelope(writer, kConfigRecord);
    writer.writeArrayHeader(static_cast<uint32_t>(ports.size()));
    for (const PortConfig *port : ports) {
        const bool hasBlock = !port->info.empty() && port->info.size() <= infoLimit;
        writeFields(writer, kFields, *port, hasBlock);
    }
}

void readPortConfigs(Stream &stream, const std::function<void(PortConfig &)> &found)
{
    MessageReader reader(stream);
    readEnvelope(reader, kConfigRecord);
    for (uint32_t ports = reader.readArrayHeader(); ports > 0; --ports) {
        const uint32_t pairs = reader.readMapHeader();
        if (pairs < kMinimumPairs)
            throw std::runtime_error(kConfigRecord.faultText);
        PortConfig port;
        readFields(reader, kFields, port, pairs);
        found(port);
    }
}

} // namespace tavu
