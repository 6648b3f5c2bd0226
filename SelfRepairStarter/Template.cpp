#include "SelfRepairStarter/Template.h"

#include "SelfRepairStarter/Failure.h"
#include "SelfRepairStarter/Place.h"
#include "SelfRepairStarter/ReadFile.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr off_t kMaxTemplateBytes = 16 * 1024 * 1024;

bool isRootsFile(const struct stat& info)
{
    constexpr uid_t kRootUser = 0;
    return S_ISREG(info.st_mode) && info.st_uid == kRootUser && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

} // namespace

bool readTemplate(const char* path, std::string& bytes)
{
    Place place;
    if (!openPlace(path, isRootsFolder, place))
        return notStarted("the installed tool does not lie where root alone can change it");
    const OwnedDescriptor file(
        openat(place.folder.get(), place.name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat info { };
    if (!file || fstat(file.get(), &info) != 0 || !isRootsFile(info))
        return notStarted("the installed tool is not a file that root alone can change");
    if (info.st_size < 1 || info.st_size > kMaxTemplateBytes)
        return notStarted("the installed tool is of no size that a tool has");
    bytes.resize(static_cast<std::size_t>(info.st_size));
    return readExactly(file.get(), bytes) || notStarted("the installed tool cannot be read");
}
