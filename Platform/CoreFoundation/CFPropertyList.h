// Property lists, XML and binary, read within bounds: 64 MiB of text, 512 levels, 1,000,000 values.
#pragma once

#include "Platform/CoreFoundation/CFData.h"
#include "Platform/CoreFoundation/CFURL.h"

/// Reads a property list in either form. The caller owns the object, which is a string, number, boolean, date, data, array or
/// dictionary. Null when the bytes are no property list or pass the bounds.
CFTypeRef CFPropertyListCreateFromData(CFDataRef data);
/// The same for a file; null when it cannot be read or is no regular file.
CFTypeRef CFPropertyListCreateFromFile(CFURLRef file);
