// The check, after archives were opened, that each of their folders holds what they expanded to.
#pragma once

#include "Platform/Carbon/FSRef.h"

#include <vector>

/// A folder, and how many of the opened archives lie in it.
struct tagFSRefCount {
    FSRef folder;
    SInt32 count;
};

/// The archives' folders, each once, in the order of the first archive in it. An archive whose folder cannot
/// be looked up is left out.
std::vector<tagFSRefCount> countArchivesByFolder(const std::vector<FSRef>& archives);
/// True when each folder holds at least twice as many entries as archives: the archive, and one expanded item
/// for each. A folder that cannot be opened or read to its end has the verdict of the folder before it, the
/// first one false; that is meant. The first folder without success ends the check.
bool holdExpandedItems(const std::vector<tagFSRefCount>& folders);
