// Folders by descriptor: opening without following links, listing, and removing whole trees.
#pragma once

#include "Platform/Support/Descriptor.h"

#include <string>
#include <vector>

/// A folder's descriptor for reading; none, with errno set, when `name` is no folder or a symbolic link.
Descriptor openFolderAt(int parent, const std::string& name);

/// True when something is at `name`, a dangling symbolic link included.
bool existsAt(int parent, const std::string& name);

/// The names in the folder in byte order, without "." and "..". False, with errno set, when it cannot be read
/// or holds more than `maxNames`.
bool listFolder(int folder, std::size_t maxNames, std::vector<std::string>& names);

/// Removes `name` with everything in it, whatever its depth, never through a symbolic link nor what is
/// mounted in it (EBUSY); folders without rights for their owner get them first. A missing object is fine.
/// False, with errno set, when something is left.
bool removeTreeAt(int parent, const std::string& name);

/// True when something is mounted on `name` or anywhere in it, as far as this user may look.
bool holdsMountAt(int parent, const std::string& name);

/// Puts a folder's entries on disk. False with errno set.
bool syncFolder(int folder);
