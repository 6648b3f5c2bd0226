#include "Platform/Carbon/FSRef.h"

#include "Platform/Carbon/FSRefInternal.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <system_error>

namespace {

/// `path` made absolute, without empty and "." components. ".." stays: only the file system knows where it
/// leads.
bool tidyPath(std::string_view path, std::string& tidy)
{
    tidy.clear();
    if (path.front() != '/') {
        std::error_code error;
        tidy = std::filesystem::current_path(error).string();
        if (error)
            return false;
        if (tidy == "/")
            tidy.clear();
    }
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        const std::string_view component = path.substr(at, end - at);
        if (!component.empty() && component != ".")
            tidy.append("/").append(component);
        at = end + 1;
    }
    if (tidy.empty())
        tidy.push_back('/');
    return true;
}

} // namespace

OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory)
{
    if (!path || !*path || !ref)
        return paramErr;
    const char* const given = reinterpret_cast<const char*>(path);
    // The path is looked up as it was given: a trailing "/" asks for a folder.
    struct stat status;
    if (::stat(given, &status) != 0)
        return errorFromErrno(errno);
    std::string tidy;
    if (!tidyPath(given, tidy))
        return fnfErr;
    *ref = refFromStatus(status, std::move(tidy));
    if (isDirectory)
        *isDirectory = S_ISDIR(status.st_mode);
    return noErr;
}

bool makeRefFromWidePath(std::u16string_view path, FSRef& ref)
{
    std::string bytes;
    return pathFromWide(path, bytes)
        && FSPathMakeRef(reinterpret_cast<const UInt8*>(bytes.c_str()), &ref, nullptr) == noErr;
}

OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 maxBytes)
{
    if (!ref || !path)
        return paramErr;
    if (ref->path.empty())
        return errFSBadFSRef;
    if (ref->path.size() >= maxBytes)
        return errFSNameTooLong;
    std::memcpy(path, ref->path.c_str(), ref->path.size() + 1);
    return noErr;
}

OSStatus FSCompareFSRefs(const FSRef* a, const FSRef* b)
{
    const bool same = a && b && a->device == b->device && a->inode == b->inode;
    return same ? noErr : paramErr;
}

OSStatus openReferencedFolder(const FSRef& ref, Descriptor& folder)
{
    Descriptor opened(::open(ref.path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat status;
    if (!opened || ::fstat(opened.get(), &status) != 0)
        return errorFromErrno(errno);
    if (status.st_dev != ref.device || status.st_ino != ref.inode)
        return errFSBadFSRef;
    folder = std::move(opened);
    return noErr;
}

FSRef refFromStatus(const struct stat& status, std::string path)
{
    return {status.st_dev, status.st_ino, std::move(path)};
}

std::string childPath(const std::string& folderPath, std::string_view name)
{
    std::string path = folderPath == "/" ? std::string() : folderPath;
    return path.append("/").append(name);
}
