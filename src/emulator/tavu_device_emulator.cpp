#include "emulator/tavu_device_emulator.h"

#include "records/meta_record.h"

#include <iterator>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace tavu {

namespace {

constexpr const char *kDeviceName = "Emulator";

/// A step of the construction: what fails in it ends this step alone.
template <typename Step>
void attempt(Step step)
{
    try {
        step();
    } catch (...) {
    }
}

[[noreturn]] void refuse()
{
    throw std::runtime_error("not supported");
}

} // namespace

TavuDeviceEmulator::TavuDeviceEmulator() : folder_(kDeviceName, kPortName)
{
    port_.name = kPortName;
    RecordFileReader::Buffer buffer;
    attempt([&] { folder_.create(); });
    attempt([&] { loadCatalogue(buffer); });
    loadVisibleFiles(buffer);
    attempt([&] { loadPortConfig(buffer); });
}

TavuDeviceEmulator::~TavuDeviceEmulator()
{
    recording_.stop.exchange(1);
    if (recordThread_.joinable())
        recordThread_.join();
}

void TavuDeviceEmulator::loadCatalogue(RecordFileReader::Buffer &buffer)
{
    RecordFileReader stream(folder_.catalogue(), buffer);
    FileList entries;
    readMetaList(entries, stream);
    catalogue_ = std::move(entries);
}

void TavuDeviceEmulator::loadVisibleFiles(RecordFileReader::Buffer &buffer)
{
    FileList records;
    attempt([&] { visibleFiles_.reserve(catalogue_.size()); });
    for (const FileRecord &entry : catalogue_) {
        attempt([&] {
            RecordFileReader stream(folder_.fileRecord(entry.port, entry.name), buffer);
            readMetaList(records, stream);
            std::move(records.begin(), records.end(), std::back_inserter(visibleFiles_));
        });
    }
}

void TavuDeviceEmulator::loadPortConfig(RecordFileReader::Buffer &buffer)
{
    RecordFileReader stream(folder_.portConfig(), buffer);
    readConfigRecord(stream, [this](PortConfig &found) {
        if (found.name != kPortName)
            return;
        port_ = std::move(found);
        recording_.width = port_.width;
    });
}

void TavuDeviceEmulator::writePortConfig()
{
    replaceRecordFile(folder_.portConfig(), [this](Stream &stream) {
        writeConfigRecord({&port_, 1}, stream);
    });
}

void TavuDeviceEmulator::writeCatalogue()
{
    replaceRecordFile(folder_.catalogue(),
                      [this](Stream &stream) { writeMetaList(catalogue_, stream); });
}

void TavuDeviceEmulator::writeFileRecord(const std::string &stem, const FileRecord &record)
{
    replaceRecordFile(folder_.fileRecord(record.port, stem), [&record](Stream &stream) {
        writeMetaList({&record, 1}, stream);
    });
}

std::string TavuDeviceEmulator::name()
{
    return kDeviceName;
}

bool TavuDeviceEmulator::isConnected()
{
    return true;
}

uint8_t TavuDeviceEmulator::portCount()
{
    return 1;
}

std::string TavuDeviceEmulator::portName(uint8_t)
{
    return kPortName;
}

bool TavuDeviceEmulator::isCxp()
{
    return false;
}

uint8_t TavuDeviceEmulator::percentUsed()
{
    return 5;
}

uint8_t TavuDeviceEmulator::hardwareType()
{
    return 1;
}

void TavuDeviceEmulator::serialOpen(uint8_t, uint32_t, uint8_t, uint8_t)
{
    refuse();
}

uint32_t TavuDeviceEmulator::serialGetBaudRate(uint8_t)
{
    refuse();
}

void TavuDeviceEmulator::serialSetBaudRate(uint8_t, uint32_t)
{
    refuse();
}

uint32_t TavuDeviceEmulator::serialRead(uint8_t, void *, uint32_t)
{
    refuse();
}

uint32_t TavuDeviceEmulator::serialWrite(uint8_t, const void *, uint32_t)
{
    refuse();
}

void TavuDeviceEmulator::serialClear(uint8_t)
{
    refuse();
}

void TavuDeviceEmulator::serialClose(uint8_t)
{
    refuse();
}

void TavuDeviceEmulator::registerRead(uint8_t, uint32_t, void *, uint32_t)
{
    refuse();
}

void TavuDeviceEmulator::registerWrite(uint8_t, uint32_t, const void *, uint32_t)
{
    refuse();
}

} // namespace tavu
