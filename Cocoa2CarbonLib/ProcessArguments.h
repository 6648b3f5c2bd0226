// A process's argument area: its executable path, arguments and environment. Private to this folder and its
// tests.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Reads the area: zero-terminated texts, the executable path, then the arguments, then the environment.
/// False when any of them cannot be read, as of another user's process.
bool readArgumentArea(int pid, std::string& area);

/// Adds the area's texts to the two lists; empty texts do not count. Where the arguments end is told by the
/// texts alone, not by their number.
void splitArgumentArea(
    std::string_view area, std::vector<std::string>& arguments, std::vector<std::string>& environment);
