// Documents in files: a bundle's section list, a product's descriptor.
#pragma once

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFXMLNode.h"
#include "Platform/Lumen/LumFile.h"

/// A document and the size, in bytes, of the file that it was read from.
struct XMLDocument {
    CFRef<CFXMLTreeRef> tree; ///< null when the file could not be read or parsed
    SInt64 bytes = 0;         ///< 0 when the file could not be read
};

/// Reads and parses a file of 1 to `maxBytes` bytes; `file` stays the caller's and may be null.
XMLDocument readXMLDocument(OpacLumFSRef* file, SInt64 maxBytes);
