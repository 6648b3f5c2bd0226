#include "TandemService/package/FolderTree.h"

#include <algorithm>
#include <cerrno>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>

namespace {

/// One descriptor a level: stays well below the usual limit of 1024.
constexpr int kMaxDepth = 200;
constexpr std::size_t kMaxNamesInFolder = 5'000'000;

/// What stands at a name: a link itself, and the root of what is mounted there.
bool look(int parent, const std::string& name, struct statx& status)
{
    return statx(
               parent, name.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_TYPE | STATX_MODE, &status)
        == 0;
}

/// Its device alone does not tell: a folder of the same file system may be mounted as well.
bool isMount(const struct statx& status)
{
    return (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

/// Opens a folder that is to be emptied. It is opened before its mode is changed, so that the change never
/// reaches another object that took its name meanwhile; only a folder that its owner may not even read is
/// changed by name.
Descriptor openToEmpty(int parent, const std::string& name, mode_t mode)
{
    Descriptor folder = openFolderAt(parent, name);
    if (!folder && errno == EACCES && fchmodat(parent, name.c_str(), S_IRWXU, 0) == 0)
        folder = openFolderAt(parent, name);
    if (folder && (mode & S_IRWXU) != S_IRWXU)
        (void)fchmod(folder.get(), S_IRWXU); // when this fails, what cannot be removed says why
    return folder;
}

/// Removes one tree. Folders that lie too deep to be reached step by step are moved up first.
class TreeRemoval {
public:
    TreeRemoval(int parent, const std::string& name)
        : m_parent(parent)
        , m_name(name)
    {
    }

    bool run()
    {
        bool removed = false;
        do {
            m_moved = false;
            removed = remove(m_parent, m_name, 0);
        } while (!removed && m_moved); // ends: each round removes kMaxDepth levels of what was moved before
        return removed;
    }

private:
    bool remove(int parent, const std::string& name, int depth)
    {
        struct statx status = {};
        if (!look(parent, name, status))
            return errno == ENOENT;
        if (isMount(status)) {
            errno = EBUSY;
            return false;
        }
        if (!S_ISDIR(status.stx_mode))
            return unlinkat(parent, name.c_str(), 0) == 0;
        const Descriptor folder = openToEmpty(parent, name, status.stx_mode);
        if (!folder)
            return false;
        if (depth == 0)
            m_top = folder.get();
        const int error = depth < kMaxDepth ? empty(folder.get(), depth) : moveContentsUp(folder.get());
        if (unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0)
            return true;
        if (error != 0)
            errno = error;
        return false;
    }

    /// The first error, or 0.
    int empty(int folder, int depth)
    {
        std::vector<std::string> names;
        if (!listFolder(folder, kMaxNamesInFolder, names))
            return errno;
        int firstError = 0;
        for (const std::string& child : names) {
            if (!remove(folder, child, depth + 1) && firstError == 0)
                firstError = errno;
        }
        return firstError;
    }

    int moveContentsUp(int folder)
    {
        std::vector<std::string> names;
        if (!listFolder(folder, kMaxNamesInFolder, names))
            return errno;
        for (const std::string& child : names) {
            if (!moveUp(folder, child))
                return errno;
            m_moved = true;
        }
        return 0;
    }

    bool moveUp(int folder, const std::string& child)
    {
        while (true) { // ends: an interrupted removal left only so many of these names
            const std::string newName = ".deep-" + std::to_string(m_movedCount++);
            if (renameat2(folder, child.c_str(), m_top, newName.c_str(), RENAME_NOREPLACE) == 0)
                return true;
            if (errno != EEXIST)
                return false;
        }
    }

    int m_parent;
    const std::string& m_name;
    int m_top = -1; ///< the tree's own folder, while it is being emptied
    bool m_moved = false;
    std::size_t m_movedCount = 0;
};

bool holdsMount(int parent, const std::string& name, int depth)
{
    struct statx status = {};
    if (!look(parent, name, status))
        return false;
    if (isMount(status))
        return true;
    if (!S_ISDIR(status.stx_mode) || depth >= kMaxDepth)
        return false;
    const Descriptor folder = openFolderAt(parent, name);
    std::vector<std::string> names;
    if (!folder || !listFolder(folder.get(), kMaxNamesInFolder, names))
        return false;
    return std::any_of(names.begin(), names.end(),
        [&](const std::string& child) { return holdsMount(folder.get(), child, depth + 1); });
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
    return TreeRemoval(parent, name).run();
}

bool holdsMountAt(int parent, const std::string& name)
{
    return holdsMount(parent, name, 0);
}

bool syncFolder(int folder)
{
    // Some file systems cannot sync a folder and say EINVAL: there is nothing more to do then.
    return fsync(folder) == 0 || errno == EINVAL;
}
