#include "tests/support/FileTrees.h"

#include "Platform/Support/Descriptor.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

namespace trees {

namespace {

[[noreturn]] void fail(const std::string& what)
{
    std::perror(what.c_str());
    std::abort();
}

bool setFlag(const std::filesystem::path& path, unsigned flag, bool set)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    unsigned flags = 0;
    if (!file || ::ioctl(file.get(), FS_IOC_GETFLAGS, &flags) != 0)
        return false;
    flags = set ? flags | flag : flags & ~flag;
    return ::ioctl(file.get(), FS_IOC_SETFLAGS, &flags) == 0;
}

} // namespace

bool setImmutable(const std::filesystem::path& path, bool immutable)
{
    return setFlag(path, FS_IMMUTABLE_FL, immutable);
}

bool setAppendOnly(const std::filesystem::path& path, bool appendOnly)
{
    return setFlag(path, FS_APPEND_FL, appendOnly);
}

std::string makeChain(const std::filesystem::path& folder, int depth, std::string_view name)
{
    const std::string child(name);
    std::string path = folder.string();
    Descriptor current(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    for (int i = 0; i < depth; ++i) {
        if (::mkdirat(current.get(), child.c_str(), 0700) != 0)
            fail("mkdirat");
        current = Descriptor(::openat(current.get(), child.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        path += "/" + child;
    }
    return path;
}

void makeFiles(const std::filesystem::path& folder, int count)
{
    const Descriptor place(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    for (int i = 0; i < count; ++i) {
        const std::string name = "file" + std::to_string(i);
        if (::mknodat(place.get(), name.c_str(), S_IFREG | 0600, 0) != 0)
            fail(name);
    }
}

bool exists(const std::filesystem::path& path)
{
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0;
}

std::set<std::string> names(const std::filesystem::path& folder)
{
    std::set<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        found.insert(entry.path().filename().string());
    return found;
}

} // namespace trees
