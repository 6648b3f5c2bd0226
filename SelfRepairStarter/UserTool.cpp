#include "SelfRepairStarter/UserTool.h"

#include "SelfRepairStarter/Failure.h"
#include "SelfRepairStarter/ReadFile.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace {

constexpr uid_t kRootUser = 0;

bool isServedByAProgram(int fd)
{
    struct statfs volume { };
    return fstatfs(fd, &volume) != 0 || volume.f_type == FUSE_SUPER_MAGIC;
}

bool checkFolder(int folder, uid_t caller)
{
    struct stat info { };
    // Where the caller may not change a file, root does not do it for him.
    if (fstat(folder, &info) != 0 || info.st_uid != caller)
        return notStarted("the tool's folder does not belong to the caller");
    return !isServedByAProgram(folder) || notStarted("the tool's volume is served by a program");
}

} // namespace

bool checkUserTool(std::string_view path, uid_t caller, const std::string& templateBytes, Place& place,
    timespec& modificationTime)
{
    if (!openPlace(path, anyFolder, place))
        return notStarted("the tool's folder cannot be reached without following a link");
    if (!checkFolder(place.folder.get(), caller))
        return false;
    // Without blocking: neither a pipe nor a lease that the caller holds may keep the starter waiting.
    const OwnedDescriptor file(openat(
        place.folder.get(), place.name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat info { };
    if (!file || fstat(file.get(), &info) != 0)
        return notStarted("the tool cannot be opened");
    const bool hasRightOwner = info.st_uid == caller || info.st_uid == kRootUser;
    if (!S_ISREG(info.st_mode) || !hasRightOwner)
        return notStarted("the tool is not a regular file of the caller or of root");
    std::string bytes(templateBytes.size(), '\0');
    if (!readExactly(file.get(), bytes) || bytes != templateBytes)
        return notStarted("the tool differs from the installed one");
    modificationTime = info.st_mtim;
    return true;
}
