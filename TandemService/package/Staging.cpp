#include "TandemService/package/Staging.h"

#include "TandemService/package/FolderTree.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr const char* kFreshName = "new";
constexpr const char* kOldName = "old";

/// Missing rights are told apart: somebody with more rights may try again.
InstallResult recoveryFailure(const std::string& text)
{
    const bool denied = errno == EACCES || errno == EPERM;
    return systemFailure(
        text, errno, denied ? InstallError::targetNotWritable : InstallError::recoveryFailed);
}

InstallResult recoverPlace(
    const InstallTarget& target, const StagingPlace& place, const InstallOptions& options)
{
    if (place.parent < 0 || !existsAt(place.parent, place.name))
        return {};
    Staging left;
    if (InstallResult result = left.openLeft(target, place); !result.ok())
        return result;
    if (existsAt(left.folder(), kJournalName)) {
        SwapList entries;
        if (!readJournal(left.folder(), entries))
            return {InstallError::recoveryFailed,
                "the journal of an interrupted install is damaged: " + place.name};
        if (InstallResult result = putEntriesBack(left.swapFolders(), entries, options); !result.ok())
            return result;
        // From here on the folder is litter, whatever happens.
        if (unlinkat(left.folder(), kJournalName, 0) != 0 || !syncFolder(left.folder()))
            return recoveryFailure("the journal cannot be removed");
        options.step("journal removed");
    }
    if (!left.remove())
        return recoveryFailure("an interrupted install cannot be removed");
    options.step("recovered");
    return {};
}

} // namespace

InstallResult Staging::create(const InstallTarget& target, const StagingPlace& place)
{
    m_place = place;
    m_target = target.folder();
    if (mkdirat(place.parent, place.name.c_str(), 0700) != 0) {
        const bool denied = errno == EACCES || errno == EPERM || errno == EROFS;
        return systemFailure("the staging folder cannot be made", errno,
            denied ? InstallError::targetNotWritable : InstallError::system);
    }
    m_folder = openFolderAt(place.parent, place.name);
    if (!m_folder || mkdirat(m_folder.get(), kFreshName, 0700) != 0
        || mkdirat(m_folder.get(), kOldName, 0700) != 0)
        return systemFailure("the staging folder cannot be filled", errno);
    m_fresh = openFolderAt(m_folder.get(), kFreshName);
    m_old = openFolderAt(m_folder.get(), kOldName);
    if (!m_fresh || !m_old)
        return systemFailure("the staging folder cannot be opened", errno);
    return {};
}

InstallResult Staging::openLeft(const InstallTarget& target, const StagingPlace& place)
{
    m_place = place;
    m_target = target.folder();
    m_folder = openFolderAt(place.parent, place.name);
    struct stat mine = {};
    struct stat targets = {};
    if (!m_folder || fstat(m_folder.get(), &mine) != 0 || fstat(m_target, &targets) != 0)
        return recoveryFailure("an interrupted install cannot be opened");
    // Somebody else's folder could make this user move what he likes.
    if (mine.st_uid != geteuid() && mine.st_uid != targets.st_uid)
        return {
            InstallError::recoveryFailed, "an interrupted install belongs to another user: " + place.name};
    m_fresh = openFolderAt(m_folder.get(), kFreshName);
    m_old = openFolderAt(m_folder.get(), kOldName);
    if ((!m_fresh || !m_old) && existsAt(m_folder.get(), kJournalName))
        return {InstallError::recoveryFailed, "an interrupted install is incomplete: " + place.name};
    return {};
}

bool Staging::remove()
{
    // Only the folder that was worked in: whoever may write beside the target could have put another in its
    // place.
    struct stat mine = {};
    struct stat there = {};
    if (!m_folder || fstat(m_folder.get(), &mine) != 0
        || fstatat(m_place.parent, m_place.name.c_str(), &there, AT_SYMLINK_NOFOLLOW) != 0
        || mine.st_dev != there.st_dev || mine.st_ino != there.st_ino)
        return false;
    return removeTreeAt(m_place.parent, m_place.name);
}

InstallResult recoverTarget(const InstallTarget& target, const InstallOptions& options)
{
    if (InstallResult result = recoverPlace(target, target.placeBeside(), options); !result.ok())
        return result;
    return recoverPlace(target, target.placeWithin(), options);
}
