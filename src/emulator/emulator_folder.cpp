#include "emulator/emulator_folder.h"

namespace tavu {

EmulatorFolder::EmulatorFolder(const std::string &deviceName, const std::string &portName)
    : deviceFolder(
          joinPath(joinPath(joinPath(userDataFolder(), "OREK Systems"), "TAVU"), deviceName)),
      portFolder(joinPath(deviceFolder, portName)), portConfig(joinPath(deviceFolder, ".meta")),
      catalogue(joinPath(deviceFolder, ".files")),
      incompleteFile(joinPath(portFolder, kIncompleteName))
{
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
