#include "TandemService/package/FolderTree.h"

#include <algorithm>
#include <cerrno>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

/// One descriptor a level: stays well below the usual limit of 1024.
constexpr int kMaxDepth = 500;
constexpr std::size_t kMaxNamesInFolder = 5'000'000;

bool removeTree(int parent, const std::string& name, int depth)
{
    struct stat status = {};
    if (fstatat(parent, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT;
    if (!S_ISDIR(status.st_mode))
        return unlinkat(parent, name.c_str(), 0) == 0;
    if (depth >= kMaxDepth) {
        errno = ELOOP;
        return false;
    }
    if ((status.st_mode & S_IRWXU) != S_IRWXU)
        (void)fchmodat(parent, name.c_str(), S_IRWXU, 0); // when this fails, the opening below says why
    const Descriptor folder = openFolderAt(parent, name);
    std::vector<std::string> names;
    if (!folder || !listFolder(folder.get(), kMaxNamesInFolder, names))
        return false;
    int firstError = 0;
    for (const std::string& child : names) {
        if (!removeTree(folder.get(), child, depth + 1) && firstError == 0)
            firstError = errno;
    }
    if (unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0)
        return true;
    if (firstError != 0)
        errno = firstError;
    return false;
}

} // namespace

Descriptor openFolderAt(int parent, const std::string& name)
{
    return Descriptor(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool existsAt(int parent, const std::string& name)
{
    struct stat status = {};
    return fstatat(parent, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

bool listFolder(int folder, std::size_t maxNames, std::vector<std::string>& names)
{
    names.clear();
    const int copy = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (copy < 0)
        return false;
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(fdopendir(copy), closedir);
    if (!stream) {
        const int error = errno;
        (void)close(copy); // never written to
        errno = error;
        return false;
    }
    errno = 0;
    while (const dirent* entry = readdir(stream.get())) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        if (names.size() >= maxNames) {
            errno = EOVERFLOW;
            return false;
        }
        names.push_back(name);
        errno = 0;
    }
    if (errno != 0)
        return false;
    std::sort(names.begin(), names.end());
    return true;
}

bool removeTreeAt(int parent, const std::string& name)
{
    return removeTree(parent, name, 0);
}

bool syncFolder(int folder)
{
    // Some file systems cannot sync a folder and say EINVAL: there is nothing more to do then.
    return fsync(folder) == 0 || errno == EINVAL;
}
