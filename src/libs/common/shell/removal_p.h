#pragma once

#include "common/shell/opendirectories_p.h"

namespace common {

/** What became of an entry that was to be removed. */
enum class Removal { Done, Missing, Failed };

/** Removes a file or link from the directory in which it was found. */
Removal RemoveFileFrom(OpenDirectories& directories, const Tree::Entry& file);

/** Removes a directory, empty by now, if it is the one that was found. */
Removal RemoveDirectoryFrom(OpenDirectories& directories, Tree::Directory directory);

} // namespace common
