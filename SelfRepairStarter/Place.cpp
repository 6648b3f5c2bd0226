#include "SelfRepairStarter/Place.h"

#include <climits>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr int kFolderFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

bool isName(std::string_view component)
{
    return !component.empty() && component != "." && component != "..";
}

} // namespace

bool openPlace(std::string_view path, bool (*mayPass)(int folder), Place& place)
{
    if (path.empty() || path.front() != '/' || path.size() >= PATH_MAX)
        return false;
    path.remove_prefix(1);
    OwnedDescriptor folder(open("/", kFolderFlags));
    // Each round takes a component off a path of bounded length.
    for (;;) {
        if (!folder || !mayPass(folder.get()))
            return false;
        const std::size_t length = path.find('/');
        const std::string name(path.substr(0, length));
        if (!isName(name))
            return false;
        if (length == std::string_view::npos) {
            place = {std::move(folder), name};
            return true;
        }
        folder = OwnedDescriptor(openat(folder.get(), name.c_str(), kFolderFlags));
        path.remove_prefix(length + 1);
    }
}

bool anyFolder(int)
{
    return true;
}

bool isRootsFolder(int folder)
{
    constexpr uid_t kRootUser = 0;
    struct stat info { };
    if (fstat(folder, &info) != 0 || info.st_uid != kRootUser)
        return false;
    return (info.st_mode & (S_IWGRP | S_IWOTH)) == 0 || (info.st_mode & S_ISVTX) != 0;
}
