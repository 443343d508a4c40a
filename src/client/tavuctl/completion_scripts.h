#pragma once

namespace tavu::ctl {

// What a shell reads to complete tavuctl's command line: the files in the folder completion.
extern const char *const kBashCompletion;
extern const char *const kZshCompletion;
extern const char *const kFishCompletion;

} // namespace tavu::ctl
