// The file that takes the tool's place: root's from its first byte on.
#pragma once

#include "SelfRepairStarter/Place.h"

#include <string>

#include <ctime>

/// Makes a new file in the tool's folder, fills it with `bytes`, gives it mode 0555 and the modification
/// time, and puts it at the tool's name. `file` is then open for reading, and nothing has it open for
/// writing. Says on standard error why it could not; what was made is removed then.
bool placeFreshTool(
    const Place& place, const std::string& bytes, const timespec& modificationTime, OwnedDescriptor& file);
