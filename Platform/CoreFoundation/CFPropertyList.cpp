// Property lists from files, in either form.
#include "Platform/CoreFoundation/CFPropertyList.h"

#include "Platform/CoreFoundation/CFPropertyListReading.h"
#include "Platform/CoreFoundation/XMLReader.h"
#include "Platform/Support/RegularFile.h"
#include "Platform/Support/Unicode.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

/// Reads the whole of a regular file of at most kMaxDocumentBytes.
bool readFile(const char* path, std::vector<UInt8>& bytes)
{
    struct stat status;
    const Descriptor file = openRegularFile(path, status);
    if (!file || status.st_size > static_cast<off_t>(kMaxDocumentBytes))
        return false;
    bytes.resize(static_cast<std::size_t>(status.st_size));
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t got = ::read(file.get(), bytes.data() + filled, bytes.size() - filled);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) // cut short while it was read: half a list is none
            return false;
        filled += static_cast<std::size_t>(got);
    }
    return true;
}

} // namespace

CFRef<CFTypeRef> readPropertyList(std::span<const UInt8> bytes)
{
    if (bytes.size() > kMaxDocumentBytes)
        return nullptr;
    const bool binary = bytes.size() >= kBinaryPropertyListMagic.size()
        && std::equal(kBinaryPropertyListMagic.begin(), kBinaryPropertyListMagic.end(), bytes.begin());
    return binary ? readBinaryPropertyList(bytes) : readXMLPropertyList(bytes);
}

CFTypeRef CFPropertyListCreateFromFile(CFURLRef file)
{
    UInt8 path[kMaxPathBytes + 1];
    std::vector<UInt8> bytes;
    if (!file || !CFURLGetFileSystemRepresentation(file, true, path, sizeof path)
        || !readFile(reinterpret_cast<const char*>(path), bytes))
        return nullptr;
    const CFRef<CFTypeRef> list = readPropertyList(bytes);
    return list ? CFRetain(list) : nullptr;
}
