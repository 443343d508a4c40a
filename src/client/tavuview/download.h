#pragma once

#include "client/tavuview/player.h"

namespace tavu::view {

/// Frames of a recording as a file: one as a PNG picture, several as a zip of pictures, or any
/// number as raw pixels. The query names recording, "first" and "last", and "format", png or raw.
/// Waits for the service. Raises BadRequest, and what Playback raises.
WebReply makeDownload(Service &service, const WebRequest &request);

} // namespace tavu::view
