#pragma once

#include <cstdio>

namespace tavu::ctl {

/// Size of a terminal in characters.
struct ConsoleSize
{
    unsigned columns = 80;
    unsigned rows = 24;
};

bool isConsole(std::FILE *stream);

/// Of the terminal behind \a stream; 80 by 24 when it doesn't tell.
ConsoleSize consoleSize(std::FILE *stream);

/// \a stream is a terminal that takes escape sequences: on every system one that isn't called
/// "dumb" by TERM, elsewhere than on Windows one that has a name at all.
bool obeysEscapes(std::FILE *stream);
/// obeysEscapes(), and nobody has asked for no colours by setting NO_COLOR to something
/// (https://no-color.org).
bool showsColours(std::FILE *stream);
/// Terminals of these surroundings show UTF-8; others are given ASCII.
bool consolesShowUtf8();

/// Lets standard output take bytes as they are; a write to a reader that is gone then fails and
/// doesn't end the process.
void prepareStandardStreams();

/// From now on Ctrl-C and the other ways of asking a program to end only show in interrupted().
void catchInterrupts();
bool interrupted();

/// Waits, but not past an interrupt.
void pauseFor(unsigned milliseconds);

} // namespace tavu::ctl
