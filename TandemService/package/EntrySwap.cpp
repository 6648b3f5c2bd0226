#include "TandemService/package/EntrySwap.h"

#include "TandemService/package/FolderTree.h"
#include "TandemService/package/InstallTarget.h"

#include <cerrno>

#include <fcntl.h>
#include <stdio.h>

namespace {

/// Moves without ever replacing what stands at the new place.
bool moveEntry(int from, int to, const std::string& name)
{
    if (renameat2(from, name.c_str(), to, name.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    // A file system without that flag: look first. The target is locked against other installs.
    if (existsAt(to, name)) {
        errno = EEXIST;
        return false;
    }
    return renameat(from, name.c_str(), to, name.c_str()) == 0;
}

bool syncAll(const SwapFolders& folders)
{
    return syncFolder(folders.target) && syncFolder(folders.fresh) && syncFolder(folders.old);
}

/// Missing rights are told apart: somebody with more rights may try again. A folder of somebody else cannot
/// be moved even out of a folder that this user may change.
InstallResult swapFailure(const std::string& text)
{
    const bool denied = errno == EACCES || errno == EPERM;
    return systemFailure(text, errno, denied ? InstallError::targetNotWritable : InstallError::swapFailed);
}

/// One entry's way back; the places where old and new stand tell how far it had come.
bool putEntryBack(const SwapFolders& folders, const SwapEntry& entry)
{
    const bool freshWaits = existsAt(folders.fresh, entry.name);
    if (entry.replaces && !existsAt(folders.old, entry.name))
        return true; // never set aside, or back already
    if (!freshWaits && existsAt(folders.target, entry.name)
        && !moveEntry(folders.target, folders.fresh, entry.name))
        return false;
    return !entry.replaces || moveEntry(folders.old, folders.target, entry.name);
}

} // namespace

InstallResult listSwap(const SwapFolders& folders, std::size_t maxEntries, SwapList& entries)
{
    std::vector<std::string> names;
    if (!listFolder(folders.fresh, maxEntries, names))
        return systemFailure("the new contents cannot be listed", errno);
    if (names.empty())
        return {InstallError::packageEmpty, "the package holds nothing to install"};
    entries.clear();
    for (const std::string& name : names) {
        if (name == kStagingNameWithin)
            return {InstallError::packageUnsafe, "a member has a reserved name: " + name};
        // It would move away with the old entry.
        if (holdsMountAt(folders.target, name))
            return {InstallError::swapFailed, "something is mounted in \"" + name + "\""};
        entries.push_back({name, existsAt(folders.target, name)});
    }
    return {};
}

InstallResult swapEntries(const SwapFolders& folders, const SwapList& entries, const InstallOptions& options)
{
    for (const SwapEntry& entry : entries) {
        if (entry.replaces && !moveEntry(folders.target, folders.old, entry.name))
            return swapFailure("\"" + entry.name + "\" cannot be set aside");
        options.step("aside " + entry.name);
        if (!moveEntry(folders.fresh, folders.target, entry.name))
            return swapFailure("\"" + entry.name + "\" cannot be put in place");
        options.step("placed " + entry.name);
    }
    if (!syncAll(folders))
        return systemFailure("the target cannot be put on disk", errno, InstallError::swapFailed);
    return {};
}

InstallResult putEntriesBack(
    const SwapFolders& folders, const SwapList& entries, const InstallOptions& options)
{
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        if (!putEntryBack(folders, *entry))
            return systemFailure(
                "\"" + entry->name + "\" cannot be put back", errno, InstallError::recoveryFailed);
        options.step("back " + entry->name);
    }
    if (!syncAll(folders))
        return systemFailure("the target cannot be put on disk", errno, InstallError::recoveryFailed);
    return {};
}
