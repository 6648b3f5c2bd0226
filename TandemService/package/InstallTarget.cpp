#include "TandemService/package/InstallTarget.h"

#include "TandemService/package/FolderTree.h"

#include <cerrno>
#include <cstdlib>
#include <memory>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

constexpr std::size_t kMaxNameBytes = 255;

bool sameFileSystem(int a, int b)
{
    struct stat statusA = {};
    struct stat statusB = {};
    return fstat(a, &statusA) == 0 && fstat(b, &statusB) == 0 && statusA.st_dev == statusB.st_dev;
}

bool mayChange(int folder)
{
    return faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) == 0;
}

} // namespace

InstallResult InstallTarget::open(const std::string& path)
{
    const std::unique_ptr<char, void (*)(void*)> resolved(realpath(path.c_str(), nullptr), std::free);
    if (!resolved)
        return systemFailure("the target " + path + " cannot be used", errno, InstallError::targetMissing);
    m_path = resolved.get();
    m_folder = Descriptor(::open(m_path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!m_folder) {
        const InstallError kind
            = errno == EACCES ? InstallError::targetNotWritable : InstallError::targetMissing;
        return systemFailure("the target " + path + " cannot be opened", errno, kind);
    }
    if (flock(m_folder.get(), LOCK_EX | LOCK_NB) != 0) {
        const InstallError kind = errno == EWOULDBLOCK ? InstallError::targetBusy : InstallError::system;
        return systemFailure("the target " + path + " cannot be locked", errno, kind);
    }
    const std::size_t slash = m_path.rfind('/');
    m_name = m_path.substr(slash + 1);
    if (!m_name.empty())
        m_above = openFolderAt(AT_FDCWD, slash == 0 ? "/" : m_path.substr(0, slash));
    return {};
}

StagingPlace InstallTarget::placeBeside() const
{
    std::string name = "." + m_name + kStagingNameWithin;
    if (!m_above || name.size() > kMaxNameBytes)
        return {};
    return {m_above.get(), std::move(name)};
}

StagingPlace InstallTarget::placeWithin() const
{
    return {m_folder.get(), kStagingNameWithin};
}

StagingPlace InstallTarget::placeForInstall() const
{
    const StagingPlace beside = placeBeside();
    const bool usable
        = beside.parent >= 0 && sameFileSystem(beside.parent, m_folder.get()) && mayChange(beside.parent);
    return usable ? beside : placeWithin();
}

bool InstallTarget::writable() const
{
    return mayChange(m_folder.get());
}
