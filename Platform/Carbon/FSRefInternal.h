// What the files of this folder share about references: opening the folder behind one, and making one from
// its status.
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Platform/Support/Descriptor.h"

#include <sys/stat.h>

/// Opens the folder that `ref` was made of, for look-ups only. errFSBadFSRef when another object has taken
/// its place since, so that no link swapped in for it or above it leads elsewhere.
OSStatus openReferencedFolder(const FSRef& ref, Descriptor& folder);

/// The reference to the object at `path` whose status is `status`.
FSRef refFromStatus(const struct stat& status, std::string path);

/// The path of the child `name` of the folder at `folderPath`.
std::string childPath(const std::string& folderPath, std::string_view name);
