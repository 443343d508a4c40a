#include "hardware/drive_records.h"

#include "encoding/mem_stream.h"
#include "hardware/binding/handles.h"
#include "hardware/quillon_file_stream.h"
#include "records/info_record.h"

namespace tavu {

namespace {

constexpr const char *kPairSuffix = ".pair";
constexpr uint64_t kMiB = 1 << 20;
constexpr uint64_t kPairFileSize = 32 * kMiB;
constexpr uint64_t kPairFileStep = 8 * kMiB;
/// Room for what a record has beside its block.
constexpr uint64_t kEnvelopeSize = 1024;

uint64_t stripesFor(uint64_t bytes, uint64_t stripe)
{
    return (bytes + stripe - 1) / stripe;
}

void writeBlock(const LibraryAccess &library, const std::string &name, const DriveFileSize &size,
                const ByteBlock &block)
{
    QuillonFileStream stream(ensureDriveFile(library, name, size), true);
    writeBlockRecord(stream, block);
    stream.flush();
}

// For a name that isn't there findFile() yields 0; what openFile() does with that is its matter.
boost::shared_ptr<Quillon::DriveFile> openNamedFile(const LibraryAccess &library,
                                                    const std::string &name)
{
    const auto set = library.firstDriveSet();
    return openDriveFile(*set, set->findFile(name.c_str()));
}

void readBlock(const LibraryAccess &library, const std::string &name, ByteBlock &block)
{
    QuillonFileStream stream(openNamedFile(library, name), false);
    readBlockRecord(stream, block);
}

} // namespace

// All file sizes are in stripes. A file that is large enough is overwritten from its start.
boost::shared_ptr<Quillon::DriveFile>
ensureDriveFile(const LibraryAccess &library, const std::string &name, const DriveFileSize &size)
{
    const auto set = library.firstDriveSet();
    const uint64_t clusterBytes = requireHandle(set->info(), "DriveSet::info")->clusterSizeBytes();
    const uint64_t stripe = QuillonFileStream::requireBlocks(clusterBytes * set->drives().size());
    uint64_t wanted = stripesFor(size.initial, stripe);
    while (wanted < stripesFor(size.needed, stripe)) {
        if (size.step == 0)
            MemStream::throwEnd();
        wanted += stripesFor(size.step, stripe);
    }

    uint32_t fileId = set->findFile(name.c_str());
    if (fileId != 0 &&
        requireHandle(set->fileEntry(fileId), "DriveSet::fileEntry")->sizeClusters < wanted) {
        set->removeFile(fileId);
        fileId = 0;
    }
    if (fileId == 0)
        fileId = set->createFile(name.c_str(), wanted, Common::TimestampHelper::universalTime());
    return openDriveFile(*set, fileId);
}

void writePairRecord(const LibraryAccess &library, const PortConfig &port)
{
    writeBlock(library, port.name + kPairSuffix,
               {kPairFileSize, port.info.size() + kEnvelopeSize, kPairFileStep}, port.info);
}

void readPairRecord(const LibraryAccess &library, PortConfig &port)
{
    readBlock(library, port.name + kPairSuffix, port.info);
}

void writeInfoRecord(const LibraryAccess &library, uint32_t fileId, uint32_t streamId,
                     const ByteBlock &block)
{
    const uint64_t needed = block.size() + kEnvelopeSize;
    writeBlock(library, infoRecordName(fileId, streamId), {needed, needed, needed}, block);
}

void readInfoRecord(const LibraryAccess &library, uint32_t fileId, uint32_t streamId,
                    ByteBlock &block)
{
    readBlock(library, infoRecordName(fileId, streamId), block);
}

} // namespace tavu
