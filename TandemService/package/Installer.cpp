#include "TandemService/package/Installer.h"

#include "TandemService/package/FolderTree.h"
#include "TandemService/package/Package.h"
#include "TandemService/package/PayloadExtractor.h"
#include "TandemService/package/Staging.h"

#include <cerrno>
#include <cstdlib>
#include <memory>

#include <fcntl.h>

namespace {

/// Fills the staging folder with the payload and puts it on disk.
InstallResult stage(const std::string& package, const Staging& staging, const InstallOptions& options)
{
    PayloadExtractor extractor(staging.swapFolders().fresh, options.limits);
    const auto extract = [&extractor](archive* payload) { return extractor.extractAll(payload); };
    if (InstallResult result = readPackage(package, options.limits, extract); !result.ok())
        return result;
    options.step("unpacked");
    if (options.durable && syncfs(staging.folder()) != 0)
        return systemFailure("the new contents cannot be put on disk", errno);
    return {};
}

/// Swaps under the protection of the journal; after a failure everything is back.
InstallResult swapIn(const Staging& staging, const InstallOptions& options)
{
    const SwapFolders folders = staging.swapFolders();
    SwapList entries;
    if (InstallResult result = listSwap(folders, options.limits.entries, entries); !result.ok())
        return result;
    if (!writeJournal(staging.folder(), entries))
        return systemFailure("the journal cannot be written", errno);
    options.step("journal");
    InstallResult result = swapEntries(folders, entries, options);
    if (result.ok() && !commitJournal(staging.folder()))
        result = systemFailure("the install cannot be completed", errno, InstallError::swapFailed);
    if (result.ok())
        return result;
    if (const InstallResult back = putEntriesBack(folders, entries, options); !back.ok())
        return back;
    if (unlinkat(staging.folder(), kJournalName, 0) != 0 && errno != ENOENT)
        return systemFailure("the journal cannot be removed", errno, InstallError::recoveryFailed);
    return result;
}

InstallResult notWritable(const std::string& target)
{
    return {InstallError::targetNotWritable, "the target " + target + " may not be changed by this user"};
}

} // namespace

InstallResult installPackage(
    const std::string& package, const std::string& targetPath, const InstallOptions& options)
{
    InstallTarget target;
    if (InstallResult result = target.open(targetPath); !result.ok())
        return result;
    if (!target.writable())
        return notWritable(targetPath);
    if (InstallResult result = recoverTarget(target, options); !result.ok())
        return result;

    Staging staging;
    InstallResult result = staging.create(target, target.placeForInstall());
    options.step("staged");
    if (result.ok())
        result = stage(package, staging, options);
    if (result.ok())
        result = swapIn(staging, options);
    if (result.ok())
        options.step("committed");
    // What cannot be put back stays in the staging folder, with its journal, for another try.
    if (result.error != InstallError::recoveryFailed)
        (void)staging.remove(); // the next install on the target removes what is left
    options.step("done");
    return result;
}

InstallResult recoverInstall(const std::string& targetPath, const InstallOptions& options)
{
    InstallTarget target;
    if (InstallResult result = target.open(targetPath); !result.ok())
        return result;
    if (!target.writable() && hasInterruptedInstall(target.path()))
        return notWritable(targetPath);
    return recoverTarget(target, options);
}

bool hasInterruptedInstall(const std::string& targetPath)
{
    const std::unique_ptr<char, void (*)(void*)> resolved(realpath(targetPath.c_str(), nullptr), std::free);
    if (!resolved)
        return false;
    const std::string path = resolved.get();
    const std::size_t slash = path.rfind('/');
    const std::string beside = path.substr(0, slash + 1) + "." + path.substr(slash + 1) + kStagingNameWithin;
    return existsAt(AT_FDCWD, path + "/" + kStagingNameWithin) || existsAt(AT_FDCWD, beside);
}
