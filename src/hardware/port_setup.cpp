#include "hardware/port_setup.h"

#include "encoding/counting_stream.h"
#include "hardware/camera_wake_up.h"
#include "hardware/data_descriptors.h"
#include "hardware/drive_records.h"
#include "hardware/quillon_file_stream.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tavu {

namespace {

constexpr const char *kConfigFile = ".config";
constexpr uint64_t kConfigFileSize = 2 << 20;

} // namespace

void PortSetup::load()
{
    configState_ = ConfigState::Unreadable;
    readConfigRecord();
    for (uint64_t i = 0; i < ports_.size(); ++i) {
        const PortFormat &format = ports_[i].config.format;
        if (format.hasGeometry())
            configurePort(i, format);
    }
}

void PortSetup::configurePort(uint64_t port, PortFormat format)
{
    const auto recorder = library_.device();
    const DeviceType &type = typeOf(*recorder);
    const auto camera = libraryPort(*recorder, port);
    const bool wasGrabbing = camera->isGrabbing();
    camera->setDataDescriptor(describePort(*camera, static_cast<uint32_t>(port), type, format));

    const auto record = libraryRecord(*recorder);
    const auto sets = driveSets(*recorder);
    Quillon::Vector<uint32_t> ids = sets->ids();
    if (ids.size() == 0) {
        library_.createDefaultDriveSet(*sets);
        ids = sets->ids();
    }
    const auto set = openDriveSet(*sets, ids[0]);
    record->detachPort(camera);
    record->attachDriveSet(set, camera);

    PortState &state = ports_[port];
    state.config.format = format;
    state.untold = false;
    if (type.isCxp)
        wakeIfSilent(*camera);
    if (wasGrabbing)
        state.live.needRestart();
}

void PortSetup::wipeDrives()
{
    const auto recorder = library_.device();
    refuseVirtual(*recorder, "Cannot call setup on virtual devices.");
    try {
        ensureConfigRead();
    } catch (...) {
        // What can't be read goes with the drives.
    }
    const auto record = libraryRecord(*recorder);
    const auto sets = driveSets(*recorder);
    const Quillon::Vector<uint32_t> ids = sets->ids();
    for (uint32_t i = 0; i < recorder->portCount(); ++i)
        record->detachPort(libraryPort(*recorder, i));
    for (uint64_t i = 0; i < ids.size(); ++i)
        sets->remove(ids[i]);
    library_.createDefaultDriveSet(*sets);
}

void PortSetup::pair(uint8_t port, const std::string &identity, ByteBlock info,
                     uint16_t numFramesPerPacket)
{
    PortState &state = ports_.at(port);
    ensureConfigRead();
    state.config.pairedTo = identity;
    state.config.info = std::move(info);
    state.config.framesPerPacket = numFramesPerPacket;
    writeConfigRecord();
    if (state.config.info.size() > kInlineBlockLimit)
        writePairRecord(library_, state.config);
}

void PortSetup::repair(uint8_t port, const std::string &identity, ByteBlock info,
                       uint16_t numFramesPerPacket)
{
    const PortState &state = ports_.at(port);
    ensureConfigRead();
    if (state.config.pairedTo != identity)
        throw std::runtime_error("Not paired to this camera.");
    pair(port, identity, std::move(info), numFramesPerPacket);
}

const ByteBlock &PortSetup::identity(uint8_t port)
{
    PortConfig &config = ports_.at(port).config;
    if (config.info.empty())
        readPairRecord(library_, config);
    return config.info;
}

void PortSetup::setFormat(uint8_t port, const PortFormat &format)
{
    const PortState &state = ports_.at(port);
    refuseVirtual(*library_.device(), "Virtual devices cannot be configured.");
    if (!state.untold && state.config.format == format)
        return;
    ensureConfigRead();
    configurePort(port, format);
    writeConfigRecord();
}

void PortSetup::writeConfigRecord()
{
    std::vector<const PortConfig *> configs;
    for (const PortState &state : ports_)
        configs.push_back(&state.config);
    CountingStream size;
    writePortConfigs(configs, size, kInlineBlockLimit);
    QuillonFileStream stream(
        ensureDriveFile(library_, kConfigFile, {kConfigFileSize, size.count(), 0}), true);
    writePortConfigs(configs, stream, kInlineBlockLimit);
    stream.flush();
}

void PortSetup::readConfigRecord()
{
    const auto set = library_.firstDriveSet();
    const uint32_t fileId = set->findFile(kConfigFile);
    if (fileId == 0) {
        configState_ = ConfigState::Read;
        throw std::runtime_error("no config file.");
    }
    QuillonFileStream stream(openDriveFile(*set, fileId), false);
    std::vector<PortConfig> found;
    try {
        readPortConfigs(stream,
                        [&found](PortConfig &config) { found.push_back(std::move(config)); });
    } catch (const std::runtime_error &) {
        // The file could be read, but holds no valid record: reading it again yields no more.
        configState_ = ConfigState::Read;
        adoptConfig(found);
        throw;
    } catch (...) {
        // The library failed. A request then changes nothing; a connection uses what it has got.
        if (configState_ == ConfigState::Unreadable)
            adoptConfig(found);
        throw;
    }
    configState_ = ConfigState::Read;
    adoptConfig(found);
}

void PortSetup::adoptConfig(std::vector<PortConfig> &found)
{
    for (PortConfig &config : found) {
        const auto state = std::find_if(ports_.begin(), ports_.end(), [&](const PortState &port) {
            return port.config.name == config.name;
        });
        if (state == ports_.end())
            continue;
        // A block that isn't in the record lies in its own file, or is in memory already.
        if (config.info.empty())
            config.info = std::move(state->config.info);
        state->config = std::move(config);
    }
}

// A connection that failed in the catalogue hasn't read the configuration. To write it without
// reading it would lose what is stored there for other ports.
void PortSetup::ensureConfigRead()
{
    if (configState_ == ConfigState::Read)
        return;
    // After a second failure the file is given up: else no port could be set up any more.
    const bool lastTry = configState_ == ConfigState::Unreadable;
    try {
        readConfigRecord();
    } catch (const NoDriveSet &) {
        // Nothing is stored.
    } catch (...) {
        if (configState_ != ConfigState::Read && !lastTry)
            throw;
    }
    configState_ = ConfigState::Read;
    for (PortState &state : ports_)
        state.untold = state.config.format.hasGeometry();
}

} // namespace tavu
