#include "hardware/stavu_device.h"

#include "encoding/counting_stream.h"
#include "encoding/mem_stream.h"
#include "hardware/binding/handles.h"
#include "records/config_record.h"
#include "records/info_record.h"
#include "records/quillon_file_stream.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tavu {

namespace {

constexpr const char *kConfigFile = ".config";
constexpr uint64_t kMiB = 1 << 20;
constexpr uint64_t kConfigFileSize = 2 * kMiB;
constexpr uint64_t kPairFileSize = 32 * kMiB;
constexpr uint64_t kPairFileStep = 8 * kMiB;
/// Room for what a record has beside its block.
constexpr uint64_t kEnvelopeSize = 1024;

std::string pairFile(const std::string &portName)
{
    return portName + ".pair";
}

uint64_t stripesFor(uint64_t bytes, uint64_t stripe)
{
    return (bytes + stripe - 1) / stripe;
}

} // namespace

// All file sizes are in stripes. A file that is large enough is overwritten from its start.
boost::shared_ptr<Quillon::DriveFile> STavuDevice::ensureDriveFile(const std::string &name,
                                                                   const RecordFileSize &size)
{
    const auto set = firstDriveSet();
    const uint64_t clusterBytes = given(set->info(), "DriveSet::info")->clusterSizeBytes();
    const uint64_t stripe = clusterBytes * set->drives().size();
    if (stripe == 0)
        throw std::runtime_error("The drive set has no blocks.");
    uint64_t wanted = stripesFor(size.initial, stripe);
    while (wanted < stripesFor(size.needed, stripe)) {
        if (size.step == 0)
            MemStream::throwEnd();
        wanted += stripesFor(size.step, stripe);
    }

    uint32_t fileId = set->findFile(name.c_str());
    if (fileId != 0 &&
        given(set->fileEntry(fileId), "DriveSet::fileEntry")->sizeClusters < wanted) {
        set->removeFile(fileId);
        fileId = 0;
    }
    if (fileId == 0)
        fileId = set->createFile(name.c_str(), wanted, Common::TimestampHelper::universalTime());
    return given(set->openFile(fileId), "DriveSet::openFile");
}

// What the library says to a file id of 0 is what the caller gets.
boost::shared_ptr<Quillon::DriveFile> STavuDevice::openNamedFile(const std::string &name)
{
    const auto set = firstDriveSet();
    return given(set->openFile(set->findFile(name.c_str())), "DriveSet::openFile");
}

void STavuDevice::writeConfigRecord()
{
    std::vector<PortConfig> ports(portCount_);
    for (uint64_t i = 0; i < portCount_; ++i) {
        const PortState &state = ports_[i];
        ports[i] = {state.name,        state.pairedTo,    state.width,           state.height,
                    state.pixelFormat, state.tapGeometry, state.framesPerPacket, ByteBlock()};
        if (state.pairInfo.size() <= kInlineBlockLimit)
            ports[i].info = state.pairInfo;
    }
    CountingStream size;
    tavu::writeConfigRecord(ports, size, kInlineBlockLimit);
    QuillonFileStream stream(ensureDriveFile(kConfigFile, {kConfigFileSize, size.count(), 0}),
                             true);
    tavu::writeConfigRecord(ports, stream, kInlineBlockLimit);
    stream.flush();
}

void STavuDevice::readConfigRecord()
{
    const auto set = firstDriveSet();
    const uint32_t fileId = set->findFile(kConfigFile);
    if (fileId == 0) {
        configState_ = ConfigState::Read;
        throw std::runtime_error("no config file.");
    }
    QuillonFileStream stream(given(set->openFile(fileId), "DriveSet::openFile"), false);
    std::vector<PortConfig> found;
    try {
        tavu::readConfigRecord(
            stream, [&found](PortConfig &config) { found.push_back(std::move(config)); });
    } catch (const std::runtime_error &) {
        // It could be read, and is no record: there is nothing more to be had from it.
        configState_ = ConfigState::Read;
        adoptConfig(found);
        throw;
    } catch (...) {
        // A request that fails by this changes nothing; a connection takes what it can get.
        if (configState_ == ConfigState::Unreadable)
            adoptConfig(found);
        throw;
    }
    configState_ = ConfigState::Read;
    adoptConfig(found);
}

void STavuDevice::adoptConfig(std::vector<PortConfig> &found)
{
    for (PortConfig &config : found) {
        PortState *const end = ports_.get() + portCount_;
        PortState *const state = std::find_if(
            ports_.get(), end, [&](const PortState &port) { return port.name == config.name; });
        if (state == end)
            continue;
        state->pairedTo = config.pairedTo;
        state->width = config.width;
        state->height = config.height;
        state->pixelFormat = config.pixelFormat;
        state->tapGeometry = config.tapGeometry;
        state->framesPerPacket = config.framesPerPacket;
        if (!config.info.empty())
            state->pairInfo = std::move(config.info);
    }
}

// A drive file that can't be read keeps the connection from getting to the configuration. What
// other ports have stored there must outlive the next writing all the same.
void STavuDevice::ensureConfigRead()
{
    if (configState_ == ConfigState::Read)
        return;
    // One that can't be read for the second time is given up: no port could be set up any more.
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
    for (uint64_t i = 0; i < portCount_; ++i)
        ports_[i].untold = ports_[i].width != 0 && ports_[i].height != 0;
}

void STavuDevice::writePairRecord(const PortState &port)
{
    QuillonFileStream stream(
        ensureDriveFile(pairFile(port.name),
                        {kPairFileSize, port.pairInfo.size() + kEnvelopeSize, kPairFileStep}),
        true);
    tavu::writeInfoRecord(stream, port.pairInfo);
    stream.flush();
}

void STavuDevice::readPairRecord(PortState &port)
{
    QuillonFileStream stream(openNamedFile(pairFile(port.name)), false);
    tavu::readInfoRecord(stream, port.pairInfo);
}

void STavuDevice::writeInfoRecord(uint32_t fileId, uint32_t streamId, const ByteBlock &block)
{
    const uint64_t needed = block.size() + kEnvelopeSize;
    QuillonFileStream stream(
        ensureDriveFile(infoRecordName(fileId, streamId), {needed, needed, needed}), true);
    tavu::writeInfoRecord(stream, block);
    stream.flush();
}

void STavuDevice::readInfoRecord(uint32_t fileId, uint32_t streamId, ByteBlock &block)
{
    QuillonFileStream stream(openNamedFile(infoRecordName(fileId, streamId)), false);
    tavu::readInfoRecord(stream, block);
}

} // namespace tavu
