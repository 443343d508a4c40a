#include "emulator/emulator_folder.h"

#include "platform/files.h"

namespace tavu {

namespace {

constexpr const char *kRecordSuffix = ".meta";

std::string rootFolder()
{
    return joinPath(joinPath(userDataFolder(), "OREK Systems"), "TAVU");
}

} // namespace

EmulatorFolder::EmulatorFolder(const std::string &deviceName, const std::string &portName)
    : deviceFolder_(joinPath(rootFolder(), deviceName)),
      portFolder_(joinPath(deviceFolder_, portName))
{
}

bool EmulatorFolder::create() const
{
    return createFolders(portFolder_);
}

std::string EmulatorFolder::portConfig() const
{
    return joinPath(deviceFolder_, ".meta");
}

std::string EmulatorFolder::catalogue() const
{
    return joinPath(deviceFolder_, ".files");
}

std::string EmulatorFolder::incompleteFile() const
{
    return joinPath(portFolder_, kIncompleteName);
}

std::string EmulatorFolder::frameFile(const std::string &port, const std::string &stem) const
{
    return joinPath(joinPath(deviceFolder_, port), stem);
}

std::string EmulatorFolder::fileRecord(const std::string &port, const std::string &stem) const
{
    return frameFile(port, stem) + kRecordSuffix;
}

std::string fileStem(uint32_t fileId)
{
    return std::to_string(fileId);
}

} // namespace tavu
