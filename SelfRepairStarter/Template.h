// The tool's template in the installed bundle: the only bytes that the starter ever runs.
#pragma once

#include <string>

/// Reads the template. It, and every folder above it, must be root's and writable by nobody else; it must be
/// a regular file of 1 byte to 16 MiB, and no link on the way is followed. Says on standard error why it is
/// not taken.
bool readTemplate(const char* path, std::string& bytes);
