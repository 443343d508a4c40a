#include "emulator/tavu_device_emulator.h"

#include "emulator/attempt.h"
#include "records/meta_record.h"

#include <iterator>
#include <utility>

namespace tavu {

TavuDeviceEmulator::TavuDeviceEmulator() : folder_(kDeviceName, kPortName)
{
    port_.name = kPortName;
    attempt([this] { needFolder(); });
    attempt([this] { needFiles(); });
    attempt([this] { needPortConfig(); });
}

TavuDeviceEmulator::~TavuDeviceEmulator()
{
    endWorker();
}

void TavuDeviceEmulator::needFolder()
{
    folderMade_ = folderMade_ || folder_.create();
}

void TavuDeviceEmulator::needFiles()
{
    if (filesKnown_)
        return;
    RecordBuffer buffer;
    readRecordFile(folder_.catalogue, buffer, [this](Stream &stream) {
        FileList entries;
        readMetaList(entries, stream);
        catalogue_ = std::move(entries);
    });
    filesKnown_ = true;
    loadVisibleFiles(buffer);
}

void TavuDeviceEmulator::loadVisibleFiles(RecordBuffer &buffer)
{
    FileList records;
    attempt([&] { visibleFiles_.reserve(catalogue_.size()); });
    const OpenFolder root(folder_.deviceFolder);
    const std::function<void(Stream &)> read = [&](Stream &stream) {
        readMetaList(records, stream);
        std::move(records.begin(), records.end(), std::back_inserter(visibleFiles_));
    };
    for (const FileRecord &entry : catalogue_) {
        attempt([&] {
            readRecordFile(folder_.fileRecord(entry.port, entry.name), buffer, read, &root);
        });
    }
}

void TavuDeviceEmulator::needPortConfig()
{
    if (portConfigKnown_)
        return;
    RecordBuffer buffer;
    readRecordFile(folder_.portConfig, buffer, [this](Stream &stream) {
        readPortConfigs(stream, [this](PortConfig &found) {
            if (found.name != kPortName)
                return;
            port_ = std::move(found);
            recording_.width = port_.format.width;
        });
    });
    portConfigKnown_ = true;
}

void TavuDeviceEmulator::writePortConfig()
{
    needFolder();
    replaceRecordFile(folder_.portConfig, [this](Stream &stream) {
        const PortConfig *const port = &port_;
        writePortConfigs({&port, 1}, stream);
    });
}

void TavuDeviceEmulator::checkCatalogueLength(size_t length)
{
    if (length > kMostMetaRecords)
        throw std::runtime_error("Too many recordings.");
}

void TavuDeviceEmulator::writeCatalogue()
{
    checkCatalogueLength(catalogue_.size());
    replaceRecordFile(folder_.catalogue,
                      [this](Stream &stream) { writeMetaList(catalogue_, stream); });
}

void TavuDeviceEmulator::writeFileRecord(const std::string &stem, const FileRecord &record)
{
    replaceRecordFile(folder_.fileRecord(record.port, stem), [&record](Stream &stream) {
        writeMetaList({&record, 1}, stream);
    });
}

} // namespace tavu
