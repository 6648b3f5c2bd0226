// Where other file systems, or other folders, are mounted in a folder.
#pragma once

#include <string>
#include <string_view>

/// True when something is mounted on the folder at a real path, or on any folder below it, and when that
/// cannot be told.
bool holdsMountPoint(const std::string& folder);
/// The same for the lines of a mount table as proc(5) describes them ("mountinfo").
bool holdsMountPoint(std::string_view mountTable, const std::string& folder);
