// Property lists from memory.
#include "Platform/CoreFoundation/CFPropertyList.h"

#include "Platform/CoreFoundation/CFPropertyListReading.h"
#include "Platform/CoreFoundation/XMLReader.h"

#include <algorithm>

CFTypeRef createPropertyList(std::span<const UInt8> bytes)
{
    if (bytes.size() > kMaxDocumentBytes)
        return nullptr;
    const bool binary = bytes.size() >= kBinaryPropertyListMagic.size()
        && std::equal(kBinaryPropertyListMagic.begin(), kBinaryPropertyListMagic.end(), bytes.begin());
    const CFRef<CFTypeRef> value = binary ? readBinaryPropertyList(bytes) : readXMLPropertyList(bytes);
    return value ? CFRetain(value) : nullptr;
}

CFTypeRef CFPropertyListCreateFromData(CFDataRef data)
{
    if (!data)
        return nullptr;
    return createPropertyList({CFDataGetBytePtr(data), static_cast<std::size_t>(CFDataGetLength(data))});
}
