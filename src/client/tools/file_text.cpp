#include "client/tools/file_text.h"

#include "client/tools/text.h"

namespace tavu::tools {

std::string fileNumber(const client::FileEntry &file)
{
    const std::string number = std::to_string(file.fileId);
    return file.streamId == 0 ? number : number + ":" + std::to_string(file.streamId);
}

std::string fileSummary(const client::FileEntry &file)
{
    const std::string port = file.port.empty() ? "" : " (" + printable(file.port) + ")";
    const std::string dropped =
        file.numDroppedFrames ? ", " + std::to_string(file.numDroppedFrames) + " dropped," : "";
    return "file " + fileNumber(file) + port + ": " + counted(file.numFrames, "frame") + dropped +
           " of " + frameSizeText(file.width, file.height) + ", " + sizeText(file.size);
}

} // namespace tavu::tools
