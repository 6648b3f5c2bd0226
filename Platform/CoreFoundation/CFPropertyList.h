// Property lists, XML and binary, read within bounds: 64 MiB of text, 512 levels, 1,000,000 values.
#pragma once

#include "Platform/CoreFoundation/CFURL.h"

/// Reads a property list in either form from a file. The caller owns the object, which is a string, number,
/// boolean, date, data, array or dictionary; a UID of the binary form is a dictionary of its number under
/// "CF$UID". Integers above 2^63-1 are held as floating point. Null when the file cannot be read, is no
/// regular file, holds no property list or passes the bounds; each key is a value, and a value that a binary
/// list shares counts, with all below it, wherever it stands.
CFTypeRef CFPropertyListCreateFromFile(CFURLRef file);
