// The user's copy of the tool, as it is before anything is done for it.
#pragma once

#include "SelfRepairStarter/Place.h"

#include <string>
#include <string_view>

#include <ctime>
#include <sys/types.h>

/// Opens the folder of the tool at `path` without following any link, and compares the tool with the
/// template's bytes. The folder must be `caller`'s, the tool a regular file of `caller`'s or root's. A volume
/// that is served by a program (FUSE) is refused: that program may be the caller's, and its answers may
/// change at any time. Says on standard error why the tool is not taken.
bool checkUserTool(std::string_view path, uid_t caller, const std::string& templateBytes, Place& place,
    timespec& modificationTime);
