// What the engine may open. Every reader of a file the user controls asks here first: opening a FIFO
// blocks until someone writes to it, a device never ends, and a directory is no file at all.
#pragma once

#include <string>

// True when path names a regular file, following symbolic links. False for anything else, for a
// missing file and when the path cannot be examined.
bool IsRegularFile(const std::string& path);

// True when something is at path that cannot be read as a regular file (a directory, a FIFO, a
// device, a file without read permission). False when nothing is there, or a readable file is.
bool ExistsButUnreadable(const std::string& path);
