// A file's place: the opened folder that holds it, and its name there.
#pragma once

#include "SelfRepairStarter/OwnedDescriptor.h"

#include <string>
#include <string_view>

struct Place {
    OwnedDescriptor folder; ///< opened with O_PATH
    std::string name;
};

/// Walks an absolute path one component at a time and follows no symbolic link on the way. Each folder, the
/// root folder first, must satisfy `mayPass`. False for a path with an empty component, "." or "..", for one
/// that is too long, and when a folder cannot be opened or may not be passed.
bool openPlace(std::string_view path, bool (*mayPass)(int folder), Place& place);

bool anyFolder(int folder);
/// Whether root alone may change which files lie in the folder: it is root's, and nobody else may write to it
/// or, where it is sticky, nobody else may replace what is root's.
bool isRootsFolder(int folder);
