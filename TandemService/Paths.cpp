#include "TandemService/Paths.h"

#include "Platform/Support/Unicode.h"

CFRef<CFURLRef> urlFromPath(const std::string& path, bool isFolder)
{
    return adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), isFolder));
}

std::string pathFromURL(CFURLRef url)
{
    UInt8 path[kMaxPathBytes + 1] = {};
    if (!url || !CFURLGetFileSystemRepresentation(url, 1, path, sizeof path))
        return {};
    return reinterpret_cast<const char*>(path);
}

std::string mainBundleFolder()
{
    const CFBundleRef bundle = CFBundleGetMainBundle();
    return bundle ? pathFromURL(adoptCF(CFBundleCopyBundleURL(bundle))) : std::string();
}
