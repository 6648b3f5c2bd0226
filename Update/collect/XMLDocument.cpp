#include "Update/collect/XMLDocument.h"

#include <vector>

namespace {

/// The whole file's bytes, or nothing when it is empty, too large or cannot be read.
std::vector<UInt8> readFile(OpacLumFSRef* ref, SInt64 maxBytes)
{
    std::vector<UInt8> bytes;
    const SInt16 file = LumFileOpenExt(ref, kLumFileOpenRead);
    if (file == -1)
        return bytes;
    const SInt64 size = LumFileGetFileSizeExt(file);
    if (size > 0 && size <= maxBytes) {
        bytes.resize(static_cast<std::size_t>(size));
        if (LumFileReadExt(file, bytes.data(), size) != size)
            bytes.clear();
    }
    (void)LumFileCloseExt(file); // it was only read
    return bytes;
}

} // namespace

XMLDocument readXMLDocument(OpacLumFSRef* file, SInt64 maxBytes)
{
    XMLDocument document;
    const std::vector<UInt8> bytes = readFile(file, maxBytes);
    document.bytes = static_cast<SInt64>(bytes.size());
    if (bytes.empty())
        return document;
    const CFRef data
        = adoptCF(CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
    document.tree = adoptCF(CFXMLTreeCreateFromData(
        kCFAllocatorDefault, data, nullptr, kCFXMLParserSkipWhitespace, kCFXMLNodeCurrentVersion));
    return document;
}
