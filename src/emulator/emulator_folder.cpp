#include "emulator/emulator_folder.h"

#include "platform/files.h"

namespace tavu {

namespace {

std::string rootFolder()
{
    return joinPath(joinPath(userDataFolder(), "OREK Systems"), "TAVU");
}

} // namespace

EmulatorFolder::EmulatorFolder(const std::string &deviceName, const std::string &portName)
    : deviceFolder(joinPath(rootFolder(), deviceName)),
      portFolder(joinPath(deviceFolder, portName)), portConfig(joinPath(deviceFolder, ".meta")),
      catalogue(joinPath(deviceFolder, ".files")),
      incompleteFile(joinPath(portFolder, kIncompleteName))
{
}

bool EmulatorFolder::create() const
{
    return createFolders(portFolder);
}

std::string EmulatorFolder::frameFile(const std::string &port, const std::string &stem) const
{
    return joinPath(joinPath(deviceFolder, port), stem);
}

std::string EmulatorFolder::fileRecord(const std::string &port, const std::string &stem) const
{
    return frameFile(port, stem) + ".meta";
}

} // namespace tavu
